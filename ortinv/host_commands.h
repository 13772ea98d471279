// SPDX-License-Identifier: Apache-2.0
// What the hypervisor answers: the host's identity and memory, its software.
#ifndef TVUREV_ORTINV_HOST_COMMANDS_H_
#define TVUREV_ORTINV_HOST_COMMANDS_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Adds only the host's version, as text; null where it cannot be had.
void report_host_version(const Request& request, Report& report);

void report_host(const Request& request, Report& report);

// Adds the package that the request names, or all.
void report_software(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_HOST_COMMANDS_H_
