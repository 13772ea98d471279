// SPDX-License-Identifier: Apache-2.0
#include "ortinv/table_source.h"

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_table.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

#include "ortinv/sources.h"

namespace {

constexpr const char* kDevice = "/vmfs/devices/char/mem/smbios";
constexpr const char* kHostFolder = "/vmfs";  // every host has it
constexpr const char* kLinuxTables = "/sys/firmware/dmi/tables";

std::string reason_of_device() {
  const std::string reason = why_unreadable(kDevice);
  if (reason.empty()) {
    return "holds no SMBIOS table; ortinv needs a server whose firmware has one";
  }
  return reason +
         (access(kHostFolder, F_OK) == 0
              ? std::string("; run ortinv as root on the host itself")
              : std::string("; on a Linux machine its own table is read with --from-dump ") +
                    kLinuxTables);
}

// The library's reason, without the file's name where that stands before it, and
// with a way out where there is a usual one.
std::string reason_of_dump(std::string_view reason, const std::string& dump) {
  const std::string prefix = "Cannot read " + dump + ": ";
  reason.remove_prefix(reason.starts_with(prefix) ? prefix.size() : 0);
  const bool is_forbidden = reason.ends_with(strerror(EACCES));
  return std::string(reason) + (is_forbidden ? "; run ortinv as root" : "");
}

void add_warning(Report& report) {
  SmbTableStatus status = {};
  if (SmbGetTableStatus(&status) != 0 || status.text[0] == '\0') {
    return;
  }
  const std::string warning = std::string("the SMBIOS table is broken: ") + status.text;
  if (std::find(report.warnings.begin(), report.warnings.end(), warning) == report.warnings.end()) {
    report.warnings.push_back(warning);
  }
}

}  // namespace

bool open_table(const Request& request, Report& report) {
  SmbTableStatus status = {};
  const bool is_open = SmbGetTableStatus(&status) == 0;
  std::array<char, SMB_REASON_SIZE> reason = {};
  if (!is_open && request.is_about_dump() &&
      SmBiosLoadFile(request.dump.c_str(), reason.data(), reason.size()) != 0) {
    report.add_problem(request.dump, reason_of_dump(reason.data(), request.dump));
    return false;
  }
  // The host's device as it always was, and what that does not take (a 64-bit
  // entry point) as any other table.
  if (!is_open && !request.is_about_dump() && SmBiosInit() != 0 &&
      SmBiosLoadFile(kDevice, reason.data(), reason.size()) != 0) {
    report.add_problem(kDevice, reason_of_device());
    return false;
  }
  add_warning(report);
  return true;
}
