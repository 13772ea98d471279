// The real snmptrapd as a trap receiver: what it prints is somebody else's
// reading of our traps.
#ifndef TVUREV_TESTS_E2E_TRAP_DAEMON_H_
#define TVUREV_TESTS_E2E_TRAP_DAEMON_H_

#include <string>
#include <vector>

#include "tests/e2e/process.h"

class TrapDaemon {
 public:
  // Starts it on UDP port 162 of an address.
  void start(const std::string& address);

  // Whether it has its port: from then on no trap is lost.
  bool is_ready() const;

  // Takes what it printed. True once it printed so many traps.
  bool has_printed(size_t count);

  // One line a trap:
  //   192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @100 public: .1.3... = STRING: "fan 3"
  // with blanks and bars between the bindings.
  const std::vector<std::string>& traps() const { return traps_; }

  std::string output() const { return process_.out() + process_.err(); }

 private:
  Process process_;
  std::string address_;
  std::vector<std::string> traps_;
};

#endif  // TVUREV_TESTS_E2E_TRAP_DAEMON_H_
