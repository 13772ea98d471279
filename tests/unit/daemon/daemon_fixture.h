// SPDX-License-Identifier: Apache-2.0
// The fixture of the daemon's tests: a call script, and all globals as they are
// in a fresh process.
#ifndef TVUREV_TESTS_UNIT_DAEMON_DAEMON_FIXTURE_H_
#define TVUREV_TESTS_UNIT_DAEMON_DAEMON_FIXTURE_H_

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "daemon/children.h"
#include "daemon/reverse_proxy.h"
#include "daemon/shutdown_action.h"
#include "log/debug_flags.h"
#include "tests/support/call_script.h"
#include "tests/support/packets.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"

// The descriptor of the channel to the BMC.
inline constexpr int kFd = 5;

class Daemon : public testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }

  static void reset() {
    bmc_fd = -1;
    proxy_running = 0;
    host_snmp_enabled = 0;
    numfds = 0;
    poll_fds = {};
    connect_param = 0;
    chif_retry_count = 30;
    chif_seqno = 0;
    shutdown_timer_pid = 0;
    shutdown_aborted = 0;
    socket_proxy_pid = 0;
    g_utilities_debug_flag = 0;
    g_daemon_debug_flag = 0;
    g_chif_dump_flag = 0;
    g_agentx_dump_flag = 0;
    trap_destinations.clear();
    trap_communities.clear();
    snmp_enabled_flag = 0;
    trap_target_count = 0;
    host_ipaddress.fill('\0');
    errno = 0;
  }
};

// A notification that announces a fan failure, and one that announces the BMC's
// own reset.
inline Bytes fan_failure() {
  return NotifyBuilder().uptime(100).trap_oid("1.3.6.1.4.1.32473.1.0.7").bytes();
}
inline Bytes bmc_reset() {
  return NotifyBuilder().uptime(100).trap_oid("1.3.6.1.4.1.32473.1.0.6061").bytes();
}

#endif  // TVUREV_TESTS_UNIT_DAEMON_DAEMON_FIXTURE_H_
