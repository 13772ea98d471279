// SPDX-License-Identifier: Apache-2.0
// The system log's socket, owned by a test: every message of every process, and
// every wait that the preloaded clock writes down, in one order.
#ifndef TVUREV_LAB_SUPERVISOR_SYSLOG_SOCKET_H_
#define TVUREV_LAB_SUPERVISOR_SYSLOG_SOCKET_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "base/descriptor.h"

// One line: "6 ortdv: text" with the priority and the identity, or
// "clock: sleep 10". The end of line that the sender wrote is taken off, once.
// A facility other than daemon shows as "facility N" before the rest, and what
// is no message of syslog's form shows as it is, with process number 0.
struct LogLine {
  pid_t pid = 0;
  std::string text;
};

// Takes a datagram apart: "<30>Nov 20 12:00:00 ortdv[17]: text\n".
LogLine parse_log_line(const std::string& datagram);

class SyslogSocket {
 public:
  // Takes the place of /dev/log. Returns an empty text, or what went wrong.
  std::string open();

  int fd() const { return fd_.get(); }

  // Takes what is there, without waiting.
  void pump();

  const std::vector<LogLine>& lines() const { return lines_; }

 private:
  Descriptor fd_;
  std::vector<LogLine> lines_;
};

#endif  // TVUREV_LAB_SUPERVISOR_SYSLOG_SOCKET_H_
