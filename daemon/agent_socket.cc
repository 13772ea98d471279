// SPDX-License-Identifier: Apache-2.0
#include "daemon/agent_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>

#include "daemon/agent_framing.h"
#include "daemon/agent_listener.h"
#include "daemon/children.h"
#include "daemon/control_files.h"
#include "daemon/pacing.h"
#include "daemon/packet_dump.h"
#include "daemon/reverse_proxy.h"
#include "daemon/signals.h"
#include "daemon/state_file.h"
#include "log/complaints.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "trap/host_address.h"
#include "trap/trap_sender.h"
#include "wire/chif.h"

namespace {

constexpr int kPollTimeoutMs = 1'000;
constexpr unsigned kHangupPauseSeconds = 30;
constexpr int kExit = 1;
constexpr int kExitSignalled = 0;
constexpr int kExitReplaced = 0;

void detach() {
  setsid();
  for (int fd = 0; fd <= 2; ++fd) {
    close(fd);
  }
  open("/dev/null", O_RDWR);  // becomes descriptor 0
}

// Also called in a signal handler.
void forget_running_file() {
  if (listener_is_reachable()) {
    remove_running_file();
  }
}

constexpr int kNoClient = -1;

void leave_if_signalled(int client) {
  if (!end_signalled()) {
    return;
  }
  say_all_held_complaints();
  log_signalled_end("agent socket's relay");
  if (client != kNoClient) {
    close(client);
  }
  forget_running_file();
  exit(kExitSignalled);
}

// Nobody can reach this process any more, and what it does to the marker files
// would be done to those of the process that took its place.
void leave_if_replaced() {
  if (listener_is_reachable()) {
    return;
  }
  Log(LOG_INFO, "tvurev: the agent socket is another process's now. This relay leaves.\n");
  exit(kExitReplaced);
}

void find_host_address() {
  const OpenToSignals open;  // it asks a command
  get_host_ipaddress();
}

// The stop file is not looked at meanwhile (docs/oddities.md:
// stop-unseen-without-a-client).
void wait_for_client(int listener) {
  Retries retries;
  while (true) {
    leave_if_signalled(kNoClient);
    pollfd entry = {.fd = listener, .events = POLLIN, .revents = 0};
    const int ready = wait_for(entry, kPollTimeoutMs);
    if (ready > 0) {
      return;
    }
    const int error = ready < 0 && errno != EINTR ? errno : 0;
    leave_if_replaced();
    pace_retry(retries, "poll() of the agent socket", error);
  }
}

// Exits the process on failure.
int accept_client(int listener) {
  DaemonDebug(" main TVUD reverse_mode loop\n");
  if (!create_running_file()) {
    Log(LOG_ERR,
        "tvurev: %s could not be made. Host agents that look for it send no notifications.\n",
        g_running_file);
  }
  numfds = 0;
  DaemonDebug(" reverse mode:  Waiting for a connection with forward mode ORT...\n");
  note_agent_state(AgentState::kListening);
  wait_for_client(listener);
  const int client = accept_from(listener);
  Log(LOG_INFO, "[tvud]: TVU Reverse Proxy Connected.\n");
  note_agent_state(AgentState::kServing);
  add_poll_entry(client, POLLIN);
  DaemonDebug("tvud: TVU Reverse Proxy: numfds [%d].\n", numfds);
  return client;
}

void stop_if_requested() {
  say_held_complaints();  // here, where the loop comes round
  if (ortstop_requested() == 0) {
    return;
  }
  say_all_held_complaints();
  Log(LOG_INFO, "tvu_rev_proxy: Detected request to disable and stop TVU Reverse mode for ORT.\n");
  Log(LOG_INFO, "[tvud]: TVU Reverse Proxy Service shutting down...\n");
  clear_ortstop();
  exit(kExit);
}

// Out of memory costs the notification at hand, not the process.
int receive_notification(int client) {
  try {
    return proxy_ortd_trap(client);
  } catch (const std::bad_alloc&) {
    static Complaint lost = {.about = "proxy_ortd_trap(): out of memory"};
    complain(lost, "proxy_ortd_trap(): out of memory. The notification at hand is lost.\n");
    return 0;
  }
}

// What one round came to: 0, or the errno of what failed and would fail again at
// once.
int serve_round(int client, pollfd& entry) {
  entry.revents = 0;  // a failing poll may leave them alone, and its result is not looked at
  const int ready = wait_for(entry, kPollTimeoutMs);
  int error = ready < 0 && errno != EINTR ? errno : 0;
  if ((entry.revents & POLLIN) != 0) {
    if (receive_notification(client) == -1) {
      error = errno;
      DaemonDebug("reverse mode: proxy_ortd_trap exit\n");
    }
  } else if (ready > 0) {
    error = EIO;  // nothing to receive, and yet no poll waits
  }
  return error;
}

// Relays what the client sends until it hangs up.
void serve(int client) {
  Retries retries;
  pollfd& entry = poll_fds[0];
  while (true) {
    const int error = serve_round(client, entry);
    // POLLERR alone does not say that the agent has gone.
    if ((entry.revents & POLLHUP) != 0) {
      return;
    }
    stop_if_requested();
    leave_if_signalled(client);
    pace_retry(retries, "receiving from the host agent", error);
  }
}

// Agents look for the running file before they connect: it comes back with the
// next accept, after the pause.
void pause_after_client() {
  say_all_held_complaints();
  leave_if_replaced();
  note_agent_state(AgentState::kPausing);
  remove_running_file();
  pause_seconds(kHangupPauseSeconds);
  leave_if_signalled(kNoClient);
  leave_if_replaced();
  stop_if_requested();
}

[[noreturn]] void run_socket_proxy() {
  socket_proxy_pid = 0;
  detach();
  const int listener = open_listener();
  set_last_act(forget_running_file);
  find_host_address();
  while (proxy_running != 0) {
    leave_if_signalled(kNoClient);
    const int client = accept_client(listener);
    serve(client);
    DaemonDebug("reverse mode: tvu_rev_proxy_ort: HUP exit. socket exit\n");
    close(client);
    pause_after_client();
  }
  close(listener);
  exit(0);
}

}  // namespace

void start_socket_proxy() {
  const pid_t pid = fork();
  if (pid == 0) {
    run_socket_proxy();
  }
  if (pid == -1) {
    Log(LOG_ERR,
        "tvurev: no process for the agent socket: %s. Notifications of host agents are lost until "
        "tvurev is started again.\n",
        strerror(errno));
    return;
  }
  socket_proxy_pid = pid;
  set_last_act(end_socket_proxy);
}

int proxy_ortd_trap(int client) {
  DaemonDebug(" proxy_ortd_trap\n");
  std::array<uint8_t, chif::kPacketMax> buffer;  // NOLINT(*-member-init): received into
  // One receive is taken for one notification, however the agent wrote it
  // (docs/oddities.md: one-receive-one-notification).
  const ssize_t received = recv(client, buffer.data(), chif::notification::kPduMax, 0);
  if (received == 0) {
    // The end of the stream stays readable. A client that only closed its
    // sending side must not keep the loop spinning until it hangs up.
    poll_fds[0].events = 0;
    return 0;
  }
  if (received < 0) {
    DaemonDebug(" proxy_ortd_trap socket recv() error.  Return -1.\n");
    return -1;
  }
  DaemonDebug("proxy_ortd_trap: received %d bytes . . .\n", static_cast<int>(received));
  if (g_agentx_dump_flag != 0) {
    DaemonDebug("BMC_RECV AgentX packet\n");
    std::fill(buffer.begin() + received, buffer.end(), uint8_t{0});
    dump_agentx(buffer);
  }
  DaemonDebug("sending %d bytes\n", static_cast<int>(received));
  const std::span<const uint8_t> packet(buffer.data(), static_cast<size_t>(received));
  check_framing(packet);
  // A BMC's reset that the agent passes on is no concern of this process.
  if (send_trap_to_host(packet) < 0) {
    DaemonDebug(" proxy_ortd_trap send trap() error.  Return -1.\n");
    return -1;
  }
  return 0;
}
