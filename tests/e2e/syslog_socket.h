// The system log's socket, owned by the test: every message of every process,
// and every wait that the preloaded clock writes down, in one order.
#ifndef TVUREV_TESTS_E2E_SYSLOG_SOCKET_H_
#define TVUREV_TESTS_E2E_SYSLOG_SOCKET_H_

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/channel_server.h"

// One line: "6 ortdv: text" with the priority and the identity, or
// "clock: sleep 10". The end of line that the sender wrote is taken off, once.
// A facility other than daemon shows as "facility N" before the rest.
struct LogLine {
  pid_t pid = 0;
  std::string text;
};

// Takes a datagram apart: "<30>Nov 20 12:00:00 ortdv[17]: text\n".
LogLine parse_log_line(std::string_view datagram);

class SyslogSocket {
 public:
  // Binds /dev/log. Returns an empty text, or what went wrong.
  std::string open();

  int fd() const { return fd_.get(); }

  // Takes what is there, without waiting.
  void pump();

  const std::vector<LogLine>& lines() const { return lines_; }

 private:
  OwnedFd fd_;
  std::vector<LogLine> lines_;
};

#endif  // TVUREV_TESTS_E2E_SYSLOG_SOCKET_H_
