// SPDX-License-Identifier: Apache-2.0
// One screen of the essentials.
#ifndef TVUREV_ORTINV_SUMMARY_COMMAND_H_
#define TVUREV_ORTINV_SUMMARY_COMMAND_H_

#include "ortinv/report.h"
#include "ortinv/request.h"

// Adds product, serial number, BIOS, processors, memory modules, drives, PCI
// devices, the BMC's address and the host's version; of a dump what it tells. As
// text, what cannot be had says so in its place, and is no error.
void report_summary(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_SUMMARY_COMMAND_H_
