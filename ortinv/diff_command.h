// SPDX-License-Identifier: Apache-2.0
// Compares two saved inventories.
#ifndef TVUREV_ORTINV_DIFF_COMMAND_H_
#define TVUREV_ORTINV_DIFF_COMMAND_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Adds what was added, removed and changed from the request's first document to
// its second one. The report's status is 0 without differences, 1 with some, and
// 2 when a file is no such document.
void report_diff(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_DIFF_COMMAND_H_
