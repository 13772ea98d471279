// SPDX-License-Identifier: Apache-2.0
#include "ortinv/all_command.h"

#include "ortinv/bmc_commands.h"
#include "ortinv/device_commands.h"
#include "ortinv/host_commands.h"
#include "ortinv/smbios_commands.h"

void report_all(const Request& request, Report& report) {
  report_smbios(request, report);
  report_all_pci(request, report);
  report_all_drives(request, report);
  if (!request.is_about_dump()) {
    report_host(request, report);
    report_software(request, report);
    report_bmc(report);
    report_entity_mib(request, report);
  }
  report.missing.clear();  // nothing was asked for by name
}
