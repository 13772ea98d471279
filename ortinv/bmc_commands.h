// SPDX-License-Identifier: Apache-2.0
// What the BMC answers: its addresses and variables; and its registration with
// the host's SNMP agent.
#ifndef TVUREV_ORTINV_BMC_COMMANDS_H_
#define TVUREV_ORTINV_BMC_COMMANDS_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Each family of addresses answers for itself.
void report_bmc_address(const Request& request, Report& report);

// Read the variable, or set it when the request has a value. Reading never
// creates one.
void report_bmc_mode(const Request& request, Report& report);
void report_bmc_interval(const Request& request, Report& report);

// All of the above, read.
void report_bmc(Report& report);

// Shows the registration file, after writing it anew when asked to.
void report_entity_mib(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_BMC_COMMANDS_H_
