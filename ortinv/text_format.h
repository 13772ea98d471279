// SPDX-License-Identifier: Apache-2.0
// Prints a report for people.
#ifndef TVUREV_ORTINV_TEXT_FORMAT_H_
#define TVUREV_ORTINV_TEXT_FORMAT_H_

#include <string>

#include "ortinv/report.h"

// Returns the report's sections as text in aligned columns: one object as a list
// of its fields, several as a table. What is absent reads "-"; a control character
// of ASCII reads ".", those from 0x80 to 0x9f still pass. SMBIOS records are left
// out: they have dumps.
std::string human_text(const Report& report);

#endif  // TVUREV_ORTINV_TEXT_FORMAT_H_
