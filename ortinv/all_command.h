// SPDX-License-Identifier: Apache-2.0
// Everything at once.
#ifndef TVUREV_ORTINV_ALL_COMMAND_H_
#define TVUREV_ORTINV_ALL_COMMAND_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Adds every section that can be had: of a dump only what it tells, since the rest
// would be of another machine.
void report_all(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_ALL_COMMAND_H_
