// SPDX-License-Identifier: Apache-2.0
// What the BMC answers: its addresses and variables; and its registration with
// the host's SNMP agent.
#ifndef TVUREV_ORTINV_BMC_COMMANDS_H_
#define TVUREV_ORTINV_BMC_COMMANDS_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "ortinv/report.h"

// The selectors of the interval variables, ascending.
std::vector<int> interval_selectors();

void report_bmc_address(Report& report);

// Read the variable, or set it when there is a value. Reading never creates one.
void report_bmc_mode(std::optional<bool> enabled, Report& report);
void report_bmc_interval(int selector, std::optional<uint32_t> value, Report& report);

// All of the above, read.
void report_bmc(Report& report);

// Shows the registration file, after writing it anew when asked to.
void report_entity_mib(bool write, Report& report);

#endif  // TVUREV_ORTINV_BMC_COMMANDS_H_
