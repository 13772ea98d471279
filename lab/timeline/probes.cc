#include "lab/timeline/probes.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <sstream>

#include "lab/sim/channel_server.h"

namespace {

OwnedFd connect_local(int type, const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  OwnedFd fd(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
  if (!fd || connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    return {};
  }
  return fd;
}

std::string read_file(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

bool syslog_is_ready() {
  return static_cast<bool>(connect_local(SOCK_DGRAM, "/dev/log"));
}

void send_syslog(const std::string& text) {
  const OwnedFd fd = connect_local(SOCK_DGRAM, "/dev/log");
  if (fd) {
    send(fd.get(), text.data(), text.size(), MSG_NOSIGNAL);
  }
}

bool trap_ports_are_empty(std::string_view socket_table) {
  std::istringstream lines{std::string(socket_table)};
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string slot;
    std::string local;
    std::string remote;
    std::string state;
    std::string queues;
    words >> slot >> local >> remote >> state >> queues;
    // "address:port" and "sent:received", in hexadecimal.
    if (local.ends_with(":00A2") && !queues.ends_with(":00000000")) {
      return false;
    }
  }
  return true;
}

bool trap_ports_are_empty() {
  return trap_ports_are_empty(read_file("/proc/net/udp")) &&
         trap_ports_are_empty(read_file("/proc/net/udp6"));
}

int connect_as_agent() {
  return connect_local(SOCK_STREAM, "/opt/ortdv/sockets/agentx/tvud").release();
}

bool is_all_read(int fd) {
  int unread = 0;
  return ioctl(fd, SIOCOUTQ, &unread) == 0 && unread == 0;
}

bool is_closed_by_peer(int fd) {
  pollfd entry = {fd, POLLRDHUP, 0};
  return poll(&entry, 1, 0) > 0;
}
