// SPDX-License-Identifier: Apache-2.0
#include "daemon/bmc_loop.h"

#include <poll.h>
#include <syslog.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <new>

#include "bmc/channel.h"
#include "daemon/bmc_dispatch.h"
#include "daemon/children.h"
#include "daemon/control_files.h"
#include "daemon/handshake.h"
#include "daemon/pacing.h"
#include "daemon/reverse_proxy.h"
#include "daemon/signals.h"
#include "daemon/state_file.h"
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
constexpr int kExitSignalled = 0;

void leave_bmc() {
  say_all_held_complaints();
  note_bmc_state(BmcState::kUnconnected);
  go_bye(bmc_fd, kLongForm);
  bmc_fd = -1;
}

// The channel is polled from its connect on; before that, nobody is there to say
// goodbye to.
bool connected() {
  return numfds > 0 && bmc_fd != -1;
}

// Within a second: the socket proxy ends while the BMC is told.
void end_if_signalled() {
  if (!end_signalled()) {
    return;
  }
  log_signalled_end("BMC loop");
  end_socket_proxy();
  if (connected()) {
    leave_bmc();
  }
  await_socket_proxy();
  exit(kExitSignalled);
}

void pause_or_end(unsigned seconds) {
  pause_seconds(seconds);
  end_if_signalled();
}

void open_bmc() {
  DaemonDebug(" main BMC reverse proxy loop\n");
  numfds = 0;
  DaemonDebug("reverse mode: call bmc_init()\n");
  bmc_fd = -1;
  note_bmc_state(BmcState::kUnconnected);
  bmc_init();
  connect_param = 0;
}

// Says hello up to three times. Giving up closes the channel but leaves its
// number in bmc_fd: the connect that follows fails on it, which brings the longer
// pause before the next open (docs/oddities.md: connect-on-closed-channel).
void greet_bmc() {
  for (int failures = 0; do_hello_rev(bmc_fd) < 0;) {
    end_if_signalled();
    DaemonDebug("no Reverse mode Mox hello,  retries [%d]\n", failures);
    ++failures;
    if (failures == kHellos) {
      close_channel(bmc_fd);
      DaemonDebug("Max hello_rev retries. Close BMC.\n");
      pause_or_end(kHelloPauseSeconds);
      return;
    }
    pause_or_end(kHelloPauseSeconds);
  }
}

// Also called after three failed hellos, with the same first line.
bool connect_bmc() {
  DaemonDebug("reverse mode: Successful with reverse Mox Hello.\n");
  if (do_connect_rev(bmc_fd, connect_param) < 0) {
    close_channel(bmc_fd);
    pause_or_end(kConnectPauseSeconds);
    return false;
  }
  DaemonDebug("reverse mode: BMC Reverse Proxy Connected. Starting proxy loop\n");
  Log(LOG_INFO, "[tvud]: BMC Reverse Proxy Connected.\n");
  Log(LOG_INFO, "[tvud]: BMC Reverse channel is [%d].\n", bmc_fd);
  note_bmc_state(BmcState::kConnected);
  return true;
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
    pause_or_end(kResetPauseSeconds);
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
  end_if_signalled();
  exit(kExitStopped);
}

// What one round came to: 0, or the errno of what failed and would fail again at
// once.
int relay_round(pollfd& entry) {
  entry.revents = 0;  // a failing poll may leave them alone, and its result is not looked at
  const int ready = wait_for(entry, kPollTimeoutMs);
  int error = ready < 0 && errno != EINTR ? errno : 0;
  if (ready == 0) {
    reap_ended_children();
  }
  if ((entry.revents & POLLNVAL) != 0) {
    error = EBADF;
  }
  if ((entry.revents & POLLIN) != 0) {
    receive_from_bmc();
    error = bmc_read_error;
  }
  return error;
}

// True when the BMC hung up.
bool relay_until_closed() {
  add_poll_entry(bmc_fd, kEvents);
  DaemonDebug("tvud: BMC Reverse Proxy: numfds [%d].\n", numfds);
  Retries retries;
  pollfd& entry = poll_fds[0];
  bool hung_up = false;
  while (bmc_fd != -1) {
    const int error = relay_round(entry);
    // The events are still those of the poll when a reset has closed the channel:
    // a second goodbye then fails at its write, no more (docs/oddities.md:
    // goodbye-on-no-channel).
    if ((entry.revents & (POLLERR | POLLHUP)) != 0) {
      hung_up = bmc_fd != -1;
      DaemonDebug("reverse mode: main tvurev: HUP exit. bmc_fd exit\n");
      leave_bmc();
    }
    stop_if_requested();
    end_if_signalled();
    if (bmc_fd != -1) {
      pace_retry(retries, "reading from the BMC channel", error);
    }
  }
  return hung_up;
}

}  // namespace

int run_bmc_loop() {
  using std::chrono::steady_clock;
  Sessions sessions;
  while (proxy_running != 0) {
    end_if_signalled();
    reap_ended_children();
    open_bmc();
    if (bmc_fd == -1) {
      DaemonDebug("reverse mode: bmc_init() Failed. Sleeping then retrying...\n");
      pause_or_end(kOpenPauseSeconds);
      continue;
    }
    note_bmc_state(BmcState::kGreeting);
    greet_bmc();
    if (!connect_bmc()) {
      continue;
    }
    const steady_clock::time_point connected_at = steady_clock::now();
    const bool hung_up = relay_until_closed();
    if (must_pause_after_session(sessions, hung_up, steady_clock::now() - connected_at)) {
      pause_or_end(kSessionPauseSeconds);
    }
  }
  return 0;
}
