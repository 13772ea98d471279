// SPDX-License-Identifier: Apache-2.0
// Prints a report for people.
#ifndef TVUREV_ORTINV_TEXT_FORMAT_H_
#define TVUREV_ORTINV_TEXT_FORMAT_H_

#include <string>

#include "ortinv/report.h"

// Returns what a command has printed itself, and the report's sections in aligned
// columns: one object as a list of its fields, several as a table. What is absent
// reads "-"; every text passes terminal_text.
std::string human_text(const Report& report);

#endif  // TVUREV_ORTINV_TEXT_FORMAT_H_
