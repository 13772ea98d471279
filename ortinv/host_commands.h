// SPDX-License-Identifier: Apache-2.0
// What the hypervisor answers: the host's identity and memory, its software.
#ifndef TVUREV_ORTINV_HOST_COMMANDS_H_
#define TVUREV_ORTINV_HOST_COMMANDS_H_

#include <string>

#include "ortinv/report.h"

void report_host(Report& report);

// Adds the package of that name, or all for an empty name.
void report_software(const std::string& name, Report& report);

#endif  // TVUREV_ORTINV_HOST_COMMANDS_H_
