// SPDX-License-Identifier: Apache-2.0
// The host's log daemon: reads, goes away, stalls and comes back. Counts what it
// was told; only the last lines are kept, for a failure's message.
#ifndef TVUREV_TESTS_SOAK_HOST_LOG_H_
#define TVUREV_TESTS_SOAK_HOST_LOG_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "base/descriptor.h"

class HostLog {
 public:
  // Takes the place of /dev/log. Throws std::runtime_error.
  void open();
  // Away, with its socket's file or without.
  void close(bool leave_file);
  void stall(bool stalled) { stalled_ = stalled; }

  int fd() const { return stalled_ ? -1 : fd_.get(); }
  bool works() const { return fd() != -1; }

  // Told of each line at priority 3 and above, when set.
  std::function<void(const std::string&)> on_error;

  // Returns whether there was anything.
  bool pump();

  uint64_t lines() const { return lines_; }
  uint64_t bytes() const { return bytes_; }
  // Lines at priority 3 and above, of which the daemon's complaints are.
  uint64_t errors() const { return errors_; }
  const std::deque<std::string>& last() const { return last_; }

 private:
  Descriptor fd_;
  bool stalled_ = false;
  uint64_t lines_ = 0;
  uint64_t bytes_ = 0;
  uint64_t errors_ = 0;
  std::deque<std::string> last_;
};

#endif  // TVUREV_TESTS_SOAK_HOST_LOG_H_
