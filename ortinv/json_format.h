// SPDX-License-Identifier: Apache-2.0
// Prints a report as JSON.
#ifndef TVUREV_ORTINV_JSON_FORMAT_H_
#define TVUREV_ORTINV_JSON_FORMAT_H_

#include "ortinv/output.h"
#include "ortinv/report.h"

// The name of the schema, and how often something was added to it.
inline constexpr const char* kSchema = "ortinv/1";
inline constexpr int kSchemaRevision = 2;

// Prints the document that ortinv.schema.json describes, indented, with a line
// end. Bytes that are no UTF-8 become U+FFFD. The report's own document is empty
// afterwards: it may be large, and copying it would cost as much as printing it.
void print_json(Report& report, Output& output);

// Prints the same as JSON Lines: an object for each element of a section that is
// a list, and for each other section; at last one of the section "end".
void print_json_lines(const Report& report, Output& output);

#endif  // TVUREV_ORTINV_JSON_FORMAT_H_
