// SPDX-License-Identifier: Apache-2.0
#include "lab/shim/agent_copy.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "lab/capture/record_header.h"

namespace {

uint32_t process_at_other_end(int fd) {
  ucred credentials = {};
  socklen_t size = sizeof credentials;
  getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size);
  return static_cast<uint32_t>(credentials.pid);
}

}  // namespace

bool is_agent_socket(int fd) {
  const int errno_before = errno;
  sockaddr_un address = {};
  socklen_t size = sizeof address - 1;
  const bool is = getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                  address.sun_family == AF_UNIX && kAgentSocket == address.sun_path;
  errno = errno_before;
  return is;
}

void send_copy(int fd, const void* bytes, size_t length) {
  const int errno_before = errno;
  auto header = make_record_header(record_header::kRead, process_at_other_end(fd));
  std::array<iovec, 2> parts = {{{.iov_base = header.data(), .iov_len = header.size()},
                                 {.iov_base = const_cast<void*>(bytes), .iov_len = length}}};
  CopyAddress address = copy_address();
  msghdr message = {};
  message.msg_name = &address.name;
  message.msg_namelen = address.size;
  message.msg_iov = parts.data();
  message.msg_iovlen = parts.size();
  // Not by the C library's names: another preload may count or fail those calls,
  // and these are none of the program's.
  const auto copies = syscall(SYS_socket, AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (copies >= 0) {
    syscall(SYS_sendmsg, copies, &message, MSG_NOSIGNAL);
    syscall(SYS_close, copies);
  }
  errno = errno_before;
}
