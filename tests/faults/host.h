// SPDX-License-Identifier: Apache-2.0
// A simulated host around the unmodified daemon, whose time passes only when
// every process of the daemon waits and nothing is on its way: a life on it is
// the same each time, however slow the machine is. Runs in a sandbox
// (tests/e2e/in_sandbox); one host at a time.
#ifndef TVUREV_TESTS_FAULTS_HOST_H_
#define TVUREV_TESTS_FAULTS_HOST_H_

#include <array>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "lab/sim/simulator.h"
#include "lab/supervisor/child.h"
#include "lab/supervisor/local_client.h"
#include "lab/supervisor/syslog_socket.h"
#include "lab/supervisor/trap_receiver.h"
#include "tests/faults/world.h"

// How waiting for something ended.
enum class Wait {
  kDone,
  kLimit,    // simulated time was over
  kStalled,  // every process waits for something that will not come
  kStuck,    // a process neither waited nor ended for a long real time
};

// The receivers' addresses; the third stands in the settings by its name.
inline constexpr std::array<const char*, 3> kReceivers = {"192.0.2.7", "198.51.100.9",
                                                          "203.0.113.5"};

struct Host {
  Simulator bmc;
  SyslogSocket syslog;
  std::array<TrapReceiver, kReceivers.size()> receivers;
  LocalClient agent;
  Child daemon;
  FaultWorld* world = nullptr;
  bool stuck = false;  // no wait is worth it any more

  Host() = default;
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  // Makes the host as it is after installation: no file of an earlier life, no
  // process, all sockets new. Returns an empty text, or what went wrong.
  std::string reset();

  // Starts the daemon with a fault ("" for none); counts and time start anew.
  std::string start(const std::string& fault);

  // Moves everything until done() is true, for so many simulated seconds.
  Wait run_until(const std::function<bool()>& done, int64_t seconds);

  // Until nothing is on its way, and so many simulated milliseconds longer.
  Wait settle();
  Wait let_pass(int64_t ms);

  // The slot of the first living process of a kind, or null.
  const FaultSlot* living(int kind) const;
  std::vector<const FaultSlot*> living_slots() const;

  // Kills what is left of the daemon, and reaps it.
  void kill_all();

  // Private matters of the functions above.
  bool pump(int timeout_ms);
  bool is_quiet();
  bool advance(int64_t limit_us);
  Wait run(const std::function<bool()>& done, int64_t microseconds);
};

#endif  // TVUREV_TESTS_FAULTS_HOST_H_
