// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/host_log.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "lab/supervisor/local_socket.h"
#include "tests/soak/paths.h"

namespace {

constexpr size_t kLinesKept = 60;
constexpr size_t kLineShown = 300;

// "<27>...": facility daemon, 3 and below in the low three bits.
bool is_error(const std::string& line) {
  int code = 0;
  for (size_t i = 1; i < line.size() && line[i] >= '0' && line[i] <= '9'; ++i) {
    code = code * 10 + (line[i] - '0');
  }
  return (code & 7) <= 3;
}

}  // namespace

void HostLog::open() {
  unlink(kLogSocket);
  fd_ = serve_local(SOCK_DGRAM, kLogSocket);
  stalled_ = false;
  if (!fd_.valid()) {
    throw std::runtime_error(std::string(kLogSocket) + ": " + std::strerror(errno));
  }
}

void HostLog::close(bool leave_file) {
  fd_.reset();
  if (!leave_file) {
    unlink(kLogSocket);
  }
}

bool HostLog::pump() {
  std::array<char, 20'000> datagram;
  bool any = false;
  ssize_t length = 0;
  while (works() && (length = recv(fd_.get(), datagram.data(), datagram.size(), 0)) >= 0) {
    any = true;
    ++lines_;
    bytes_ += static_cast<uint64_t>(length);
    std::string line(datagram.data(), static_cast<size_t>(length));
    line.resize(std::min(line.find_last_not_of('\n') + 1, kLineShown));
    if (is_error(line)) {
      ++errors_;
      if (on_error) {
        on_error(line);
      }
    }
    last_.push_back(std::move(line));
    if (last_.size() > kLinesKept) {
      last_.pop_front();
    }
  }
  return any;
}
