// SPDX-License-Identifier: Apache-2.0
#include "daemon/agent_listener.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "log/log.h"
#include "wire/host_files.h"

namespace {

constexpr std::string_view kSocketPath = host_files::kAgentSocket;
constexpr int kBacklog = 5;
constexpr int kExit = 1;
constexpr int kNone = -1;

// What the path leads to; a path that leads nowhere has an identity too.
struct Identity {
  bool exists = false;
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const Identity&) const = default;
};

std::optional<Identity> g_bound;

// Nothing where nobody can say: a look that fails is no proof of anything.
std::optional<Identity> identity_of_path() {
  struct stat status = {};
  if (stat(kSocketPath.data(), &status) != 0) {
    return errno == ENOENT ? std::optional(Identity{}) : std::nullopt;
  }
  return Identity{.exists = true, .device = status.st_dev, .inode = status.st_ino};
}

// Called right behind the line for debugging, which leaves errno alone.
[[noreturn]] void give_up(const char* call, int listener) {
  Log(LOG_ERR,
      "tvurev: %s of the agent socket %s failed: %s. Notifications of host agents are lost until "
      "tvurev is started again.\n",
      call, kSocketPath.data(), strerror(errno));
  if (listener != kNone) {
    close(listener);
  }
  exit(kExit);
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

}  // namespace

int open_listener() {
  const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listener == -1) {
    DaemonDebug("reverse_mode open socket failed.\n");
    give_up("socket()", kNone);
  }
  if (bind_socket(listener) != 0) {
    DaemonDebug("reverse_mode socket bind failed.\n");
    give_up("bind()", listener);
  }
  g_bound = identity_of_path();
  if (listen(listener, kBacklog) != 0) {
    DaemonDebug("reverse_mode socket listen failed.\n");
    give_up("listen()", listener);
  }
  return listener;
}

bool listener_is_reachable() {
  const std::optional<Identity> current = identity_of_path();
  if (!current) {
    return true;
  }
  if (!g_bound) {
    g_bound = current;  // it could not be had when the path was bound
  }
  return current == g_bound;
}

int accept_from(int listener) {
  sockaddr_un address = {};
  socklen_t address_length = sizeof address;  // 110
  const int client =
      accept4(listener, reinterpret_cast<sockaddr*>(&address), &address_length, SOCK_CLOEXEC);
  if (client == -1) {
    DaemonDebug("reverse_mode socket accept failed.\n");
    give_up("accept()", listener);
  }
  return client;
}
