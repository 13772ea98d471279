// SPDX-License-Identifier: Apache-2.0
#include "lab/capture/agent_capture.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "lab/shim/agent_copy.h"

namespace {

// More than a receive of the daemon can give.
constexpr size_t kCopyMax = 65536;

struct Copy {
  timespec when = {};
  size_t size = 0;
};

// The kernel's own time of the sending, so that a notification is never recorded
// later than the trap that it became.
timespec time_of(msghdr* message) {
  timespec when = {};
  const cmsghdr* control = CMSG_FIRSTHDR(message);
  if (control != nullptr && control->cmsg_level == SOL_SOCKET &&
      control->cmsg_type == SCM_TIMESTAMPNS) {
    std::memcpy(&when, CMSG_DATA(control), sizeof when);
  } else {
    clock_gettime(CLOCK_REALTIME, &when);
  }
  return when;
}

std::optional<Copy> take_copy(int fd, std::array<uint8_t, kCopyMax>* bytes) {
  iovec part = {.iov_base = bytes->data(), .iov_len = bytes->size()};
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(timespec))> control = {};
  msghdr message = {};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  const ssize_t length = recvmsg(fd, &message, MSG_DONTWAIT);
  if (length < 0) {
    return std::nullopt;
  }
  return Copy{.when = time_of(&message), .size = static_cast<size_t>(length)};
}

}  // namespace

std::string AgentCapture::open(const std::string& path) {
  const CopyAddress address = copy_address();
  const int on = 1;
  copies_ = Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (setsockopt(copies_.get(), SOL_SOCKET, SO_TIMESTAMPNS, &on, sizeof on) != 0 ||
      bind(copies_.get(), reinterpret_cast<const sockaddr*>(&address.name), address.size) != 0) {
    copies_.reset();
    return std::string("cannot record the agents' socket: ") + std::strerror(errno);
  }
  return file_.open(path, LinkType::kAgent);
}

void AgentCapture::add_descriptors(std::vector<pollfd>* descriptors) const {
  descriptors->push_back({copies_.get(), POLLIN, 0});
}

std::string AgentCapture::pump() {
  std::array<uint8_t, kCopyMax> bytes;
  std::string trouble;
  while (trouble.empty() && copies_.valid()) {
    const auto copy = take_copy(copies_.get(), &bytes);
    if (!copy) {
      break;
    }
    trouble = file_.record(copy->when, std::span(bytes).first(copy->size), copy->size);
  }
  return trouble;
}
