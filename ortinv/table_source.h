// SPDX-License-Identifier: Apache-2.0
// Where the SMBIOS table comes from: the host's own device, or a file.
#ifndef TVUREV_ORTINV_TABLE_SOURCE_H_
#define TVUREV_ORTINV_TABLE_SOURCE_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Loads the table that the request names, once for all commands of a run.
// Returns false, after adding a problem, when there is none; what is wrong with
// one that there is becomes a warning.
bool open_table(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_TABLE_SOURCE_H_
