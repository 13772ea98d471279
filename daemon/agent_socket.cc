// SPDX-License-Identifier: Apache-2.0
#include "daemon/agent_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <span>
#include <string_view>

#include "daemon/agent_framing.h"
#include "daemon/control_files.h"
#include "daemon/packet_dump.h"
#include "daemon/reverse_proxy.h"
#include "log/complaints.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "trap/host_address.h"
#include "trap/trap_sender.h"
#include "wire/chif.h"

namespace {

constexpr std::string_view kSocketPath = "/opt/ortdv/sockets/agentx/tvud";
constexpr int kBacklog = 5;
constexpr int kPollTimeoutMs = 1'000;
constexpr unsigned kHangupPauseSeconds = 30;
constexpr int kExit = 1;

void detach() {
  setsid();
  for (int fd = 0; fd <= 2; ++fd) {
    close(fd);
  }
  open("/dev/null", O_RDWR);  // becomes descriptor 0
}

int bind_socket(int listener) {
  sockaddr_un address = {};
  static_assert(kSocketPath.size() < sizeof address.sun_path);
  address.sun_family = AF_UNIX;
  kSocketPath.copy(address.sun_path, kSocketPath.size());
  unlink(kSocketPath.data());  // an earlier run's: bind would refuse it
  // Without the terminating zero, which a path needs not.
  constexpr auto kAddressLength =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + kSocketPath.size());
  return bind(listener, reinterpret_cast<const sockaddr*>(&address), kAddressLength);
}

// Exits the process on failure.
int open_listener() {
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (listener == -1) {
    DaemonDebug("reverse_mode open socket failed.\n");
    exit(kExit);
  }
  if (bind_socket(listener) != 0) {
    DaemonDebug("reverse_mode socket bind failed.\n");
    close(listener);
    exit(kExit);
  }
  if (listen(listener, kBacklog) != 0) {
    DaemonDebug("reverse_mode socket listen failed.\n");
    close(listener);
    exit(kExit);
  }
  return listener;
}

// Exits the process on failure. The stop file is not looked at meanwhile
// (docs/oddities.md: stop-unseen-without-a-client).
int accept_client(int listener) {
  DaemonDebug(" main TVUD reverse_mode loop\n");
  create_running_file();
  numfds = 0;
  DaemonDebug(" reverse mode:  Waiting for a connection with forward mode ORT...\n");
  sockaddr_un address = {};
  socklen_t address_length = sizeof address;  // 110
  const int client = accept(listener, reinterpret_cast<sockaddr*>(&address), &address_length);
  if (client == -1) {
    DaemonDebug("reverse_mode socket accept failed.\n");
    close(listener);
    exit(kExit);
  }
  Log(LOG_INFO, "[tvud]: TVU Reverse Proxy Connected.\n");
  add_poll_entry(client, POLLIN);
  DaemonDebug("tvud: TVU Reverse Proxy: numfds [%d].\n", numfds);
  return client;
}

void stop_if_requested() {
  say_held_complaints();  // here, where the loop comes round
  if (ortstop_requested() == 0) {
    return;
  }
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

// Relays what the client sends until it hangs up.
void serve(int client) {
  pollfd& entry = poll_fds[0];
  while (true) {
    entry.revents = 0;  // a failing poll may leave them alone, and its result is not looked at
    poll(&entry, 1, kPollTimeoutMs);
    if ((entry.revents & POLLIN) != 0 && receive_notification(client) == -1) {
      DaemonDebug("reverse mode: proxy_ortd_trap exit\n");
    }
    // POLLERR alone does not say that the agent has gone.
    if ((entry.revents & POLLHUP) != 0) {
      return;
    }
    stop_if_requested();
  }
}

[[noreturn]] void run_socket_proxy() {
  detach();
  const int listener = open_listener();
  get_host_ipaddress();
  while (proxy_running != 0) {
    const int client = accept_client(listener);
    serve(client);
    DaemonDebug("reverse mode: tvu_rev_proxy_ort: HUP exit. socket exit\n");
    close(client);
    // Agents look for the file before they connect: it comes back with the next
    // accept, after the pause.
    remove_running_file();
    sleep(kHangupPauseSeconds);
    stop_if_requested();
  }
  close(listener);
  exit(0);
}

}  // namespace

void start_socket_proxy() {
  if (fork() == 0) {
    run_socket_proxy();
  }
}

int proxy_ortd_trap(int client) {
  DaemonDebug(" proxy_ortd_trap\n");
  std::array<uint8_t, chif::kPacketMax> buffer = {};
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
