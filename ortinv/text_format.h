// SPDX-License-Identifier: Apache-2.0
// Prints a report for people.
#ifndef TVUREV_ORTINV_TEXT_FORMAT_H_
#define TVUREV_ORTINV_TEXT_FORMAT_H_

#include "ortinv/output.h"
#include "ortinv/report.h"

// Prints what a command says itself, the SMBIOS structures, and the report's
// sections in aligned columns: one object as a list of its fields, several as a
// table. What is absent reads "-"; every text passes terminal_text.
void print_text(const Report& report, Output& output);

#endif  // TVUREV_ORTINV_TEXT_FORMAT_H_
