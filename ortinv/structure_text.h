// SPDX-License-Identifier: Apache-2.0
// SMBIOS structures for people: a heading, and a line for each field.
#ifndef TVUREV_ORTINV_STRUCTURE_TEXT_H_
#define TVUREV_ORTINV_STRUCTURE_TEXT_H_

#include <ortinv/smbios_load.h>

#include <string>

#include "ortinv/report.h"

// Appends a structure as text that may go to a terminal: with its fields - one of
// a type that nobody knows with its bytes and strings; with bytes and strings
// only; or on one line. is_first: of those that are printed.
void append_structure_text(std::string& out, const SmbStructure& structure, Detail detail,
                           bool is_first);

#endif  // TVUREV_ORTINV_STRUCTURE_TEXT_H_
