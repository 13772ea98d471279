// SPDX-License-Identifier: Apache-2.0
#include "daemon/bmc_loop.h"

#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdlib>
#include <new>

#include "bmc/channel.h"
#include "daemon/bmc_dispatch.h"
#include "daemon/control_files.h"
#include "daemon/handshake.h"
#include "daemon/reverse_proxy.h"
#include "log/complaints.h"
#include "log/log.h"

namespace {

constexpr unsigned kOpenPauseSeconds = 10;
constexpr unsigned kHelloPauseSeconds = 10;
constexpr unsigned kConnectPauseSeconds = 15;
constexpr unsigned kResetPauseSeconds = 10;
constexpr int kHellos = 3;
constexpr int kPollTimeoutMs = 1'000;
// POLLERR and POLLHUP would come unasked; asking for them changes nothing but
// what a trace of the calls shows.
constexpr short kEvents = POLLIN | POLLERR | POLLHUP;
constexpr int kLongForm = 1;
constexpr int kExitStopped = 1;

void open_bmc() {
  DaemonDebug(" main BMC reverse proxy loop\n");
  numfds = 0;
  DaemonDebug("reverse mode: call bmc_init()\n");
  bmc_fd = -1;
  bmc_init();
  connect_param = 0;
}

// Says hello up to three times. Giving up closes the channel but leaves its
// number in bmc_fd: the connect that follows fails on it, which brings the longer
// pause before the next open (docs/oddities.md: connect-on-closed-channel).
void greet_bmc() {
  for (int failures = 0; do_hello_rev(bmc_fd) < 0;) {
    DaemonDebug("no Reverse mode Mox hello,  retries [%d]\n", failures);
    ++failures;
    if (failures == kHellos) {
      close_channel(bmc_fd);
      DaemonDebug("Max hello_rev retries. Close BMC.\n");
      sleep(kHelloPauseSeconds);
      return;
    }
    sleep(kHelloPauseSeconds);
  }
}

// Also called after three failed hellos, with the same first line.
bool connect_bmc() {
  DaemonDebug("reverse mode: Successful with reverse Mox Hello.\n");
  if (do_connect_rev(bmc_fd, connect_param) < 0) {
    close_channel(bmc_fd);
    sleep(kConnectPauseSeconds);
    return false;
  }
  DaemonDebug("reverse mode: BMC Reverse Proxy Connected. Starting proxy loop\n");
  Log(LOG_INFO, "[tvud]: BMC Reverse Proxy Connected.\n");
  Log(LOG_INFO, "[tvud]: BMC Reverse channel is [%d].\n", bmc_fd);
  return true;
}

void leave_bmc() {
  go_bye(bmc_fd, kLongForm);
  bmc_fd = -1;
}

// Out of memory costs the packet at hand, not the process.
int receive_packet() {
  try {
    return bmc_recv(bmc_fd);
  } catch (const std::bad_alloc&) {
    static Complaint lost = {.about = "bmc_recv(): out of memory"};
    complain(lost, "bmc_recv(): out of memory. The packet at hand is lost.\n");
    return 0;
  }
}

void receive_from_bmc() {
  const int result = receive_packet();
  // The trap that announced the reset has gone out already; the session ends with
  // the BMC's, so it is renewed.
  if (result == 1) {
    DaemonDebug("reverse mode: proxy_bmc_trap returns recvd Mox reset trap\n");
    DaemonDebug("reverse mode: performing disconnect and reconnect to Mox\n");
    leave_bmc();
    sleep(kResetPauseSeconds);
  } else if (result == -1) {
    DaemonDebug("reverse mode: proxy_bmc_trap exit\n");
  }
}

void stop_if_requested() {
  say_held_complaints();  // here, where the loop comes round
  if (bmcstop_requested() == 0) {
    return;
  }
  Log(LOG_INFO, "proxy_bmc_rev: Detected request to disable and stop TVU Reverse mode for Mox.\n");
  // Removed before the goodbye, which may take long: a request made meanwhile is
  // for the next run, and that forgets it at its start.
  clear_bmcstop();
  Log(LOG_INFO, "tvud: BMC Reverse Proxy Service shutting down...\n");
  if (bmc_fd != -1) {
    leave_bmc();
  }
  exit(kExitStopped);
}

void relay_until_closed() {
  add_poll_entry(bmc_fd, kEvents);
  DaemonDebug("tvud: BMC Reverse Proxy: numfds [%d].\n", numfds);
  pollfd& entry = poll_fds[0];
  while (bmc_fd != -1) {
    entry.revents = 0;  // a failing poll may leave them alone, and its result is not looked at
    poll(&entry, 1, kPollTimeoutMs);
    if ((entry.revents & POLLIN) != 0) {
      receive_from_bmc();
    }
    // The events are still those of the poll when a reset has closed the channel:
    // a second goodbye then fails at its write, no more (docs/oddities.md:
    // goodbye-on-no-channel).
    if ((entry.revents & (POLLERR | POLLHUP)) != 0) {
      DaemonDebug("reverse mode: main tvurev: HUP exit. bmc_fd exit\n");
      leave_bmc();
    }
    stop_if_requested();
  }
}

}  // namespace

int run_bmc_loop() {
  while (proxy_running != 0) {
    open_bmc();
    if (bmc_fd == -1) {
      DaemonDebug("reverse mode: bmc_init() Failed. Sleeping then retrying...\n");
      sleep(kOpenPauseSeconds);
      continue;
    }
    greet_bmc();
    if (connect_bmc()) {
      relay_until_closed();
    }
  }
  return 0;
}
