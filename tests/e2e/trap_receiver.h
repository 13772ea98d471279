// A trap receiver of a test: UDP port 162 of one address.
#ifndef TVUREV_TESTS_E2E_TRAP_RECEIVER_H_
#define TVUREV_TESTS_E2E_TRAP_RECEIVER_H_

#include <cstdint>
#include <string>
#include <vector>

#include "lab/sim/channel_server.h"

class TrapReceiver {
 public:
  // Returns an empty text, or what went wrong.
  std::string open(const std::string& address);
  void close() { fd_.reset(); }

  int fd() const { return fd_.get(); }

  // Takes what is there, without waiting.
  void pump();

  // Everything received, in order (tests/e2e/trap_text.h).
  const std::vector<std::string>& traps() const { return traps_; }
  size_t count() const { return traps_.size(); }

 private:
  OwnedFd fd_;
  std::vector<std::string> traps_;
};

#endif  // TVUREV_TESTS_E2E_TRAP_RECEIVER_H_
