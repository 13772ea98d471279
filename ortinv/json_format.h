// SPDX-License-Identifier: Apache-2.0
// Prints a report as one JSON document.
#ifndef TVUREV_ORTINV_JSON_FORMAT_H_
#define TVUREV_ORTINV_JSON_FORMAT_H_

#include <string>

#include "ortinv/report.h"

// Returns the document that ortinv.schema.json describes, indented, with a
// line end. Bytes that are no UTF-8 become U+FFFD. The report's own document is
// empty afterwards: it may be large, and copying it would cost as much as
// printing it.
std::string json_text(Report& report);

#endif  // TVUREV_ORTINV_JSON_FORMAT_H_
