// SPDX-License-Identifier: Apache-2.0
#include "daemon/startup.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "base/file.h"
#include "daemon/control_files.h"
#include "daemon/reverse_proxy.h"
#include "daemon/shell_command.h"
#include "daemon/signals.h"
#include "daemon/state_file.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "ortinv/rev_mode.h"
#include "ortinv/support_check.h"
#include "trap/host_snmp.h"
#include "wire/host_files.h"

// An older C library has none: looked up when the program is started.
// NOLINTNEXTLINE(readability-redundant-declaration): nor does its header declare it
extern "C" int close_range(unsigned first, unsigned last, int flags) noexcept __attribute__((weak));

namespace {

constexpr const char* kSocketDirectory = host_files::kSocketFolder;
// For the other tools of the host; nothing here reads the file.
constexpr const char* kListInterfaces =
    "/sbin/localcli network ip interface ipv4 get > /opt/ortdv/tmp/ipv4.txt 2>/dev/null";
constexpr mode_t kOwnerOnly = 0700;
constexpr mode_t kWritableByOwnerOnly = 022;
constexpr int kFirstInherited = 3;
constexpr int kExitSignalled = 0;
constexpr int kExitCannotRun = 0;  // a supervisor restarts on 1: nothing would change here

// Prints a line now: the process may wait for long, and a forked child must not
// inherit it unwritten.
void print_line(const char* text) {
  puts(text);
  fflush(stdout);
}

void list_interfaces() {
  if (run_shell_command(kListInterfaces) == -1) {
    DaemonDebug("localcli cmd to get network ipv4 address failed.\n");
  }
}

// A gate's query of the BMC, which a signal need not wait for.
int ask(int (*query)()) {
  const OpenToSignals open;
  return query();
}

}  // namespace

void prepare_process() {
  umask(kWritableByOwnerOnly);
  const char* path = getenv("PATH");
  if (path == nullptr || *path == '\0') {
    setenv("PATH", host_files::kSystemPath, 1);
  }
  watch_signals();
}

std::optional<int> check_gates() {
  if (!exists(host_files::kDriverNode)) {
    Log(LOG_INFO, "tvurev: ERROR: Missing mox driver.\n");
    return kExitCannotRun;
  }
  InitDebugFlag();
  // One failed query ends the daemon (docs/oddities.md: one-failed-query-ends-it).
  const int supported = ask(SystemSupported);
  if (end_signalled()) {
    return kExitSignalled;
  }
  if (supported == 0) {
    Log(LOG_INFO, "ryn11 tvurev: Server not supported.\n");
    // Two blanks here, one in the log (docs/oddities.md: blanks-of-not-supported).
    print_line("ryn11 tvurev:  Server not supported.");
    return kExitCannotRun;
  }
  Log(LOG_INFO, "tvurev:  Supported Ryn11 server detected.\n");
  const int rev_mode = ask(getRevModeConfig);
  if (end_signalled()) {
    return kExitSignalled;
  }
  if (rev_mode == 0) {
    Log(LOG_INFO, "tvurev:  Reverse TVU disabled.\n");
    note_bmc_state(BmcState::kWaitsForMode);
    return wait_for_restart();
  }
  host_snmp_enabled = 0;
  host_snmp_enabled = snmpEnabled();
  if (host_snmp_enabled == 0) {
    print_line("ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.");
    Log(LOG_INFO, "ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.\n");
    note_bmc_state(BmcState::kWaitsForSnmp);
    return wait_for_restart();
  }
  Log(LOG_INFO, "tvurev:  Reverse TVU enabled and Host SNMP enabled.\n");
  return std::nullopt;
}

void prepare_host() {
  InitDaemonDebugFlags();
  close_inherited_descriptors();
  clear_ortstop();
  clear_bmcstop();
  list_interfaces();
  proxy_running = 1;
  ensure_socket_directory();
}

void ensure_socket_directory() {
  if (exists(kSocketDirectory)) {
    return;
  }
  std::array<char, 4096> target = {};
  const ssize_t length = readlink(kSocketDirectory, target.data(), target.size());
  if (length <= 0) {
    mkdir(kSocketDirectory, kOwnerOnly);
    return;
  }
  // Cuts the target's last character; only a slash there is no loss
  // (docs/oddities.md: socket-directory-loses-a-character).
  target[static_cast<size_t>(length) - 1] = '\0';
  if (!exists(target.data())) {
    mkdir(target.data(), kOwnerOnly);
  }
}

void close_inherited_descriptors() {
  const int last = getdtablesize() - 1;
  // One call instead of as many as the descriptor limit, which may be a billion.
  if (last < kFirstInherited ||
      (close_range != nullptr &&
       close_range(kFirstInherited, static_cast<unsigned>(last), 0) == 0)) {
    return;
  }
  for (int fd = last; fd >= kFirstInherited; --fd) {
    close(fd);
  }
}
