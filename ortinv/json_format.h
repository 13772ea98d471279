// SPDX-License-Identifier: Apache-2.0
// Prints a report as JSON.
#ifndef TVUREV_ORTINV_JSON_FORMAT_H_
#define TVUREV_ORTINV_JSON_FORMAT_H_

#include <string>

#include "ortinv/report.h"

// The name of the schema, and how often something was added to it.
inline constexpr const char* kSchema = "ortinv/1";
inline constexpr int kSchemaRevision = 2;

// Returns the document that ortinv.schema.json describes, indented, with a
// line end. Bytes that are no UTF-8 become U+FFFD. The report's own document is
// empty afterwards: it may be large, and copying it would cost as much as
// printing it.
std::string json_text(Report& report);

// Returns the same as JSON Lines: an object for each element of a section that is
// a list, and for each other section; at last one of the section "end".
std::string json_lines_text(const Report& report);

#endif  // TVUREV_ORTINV_JSON_FORMAT_H_
