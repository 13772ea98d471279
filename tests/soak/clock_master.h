// SPDX-License-Identifier: Apache-2.0
// The soak test's half of the simulated clock (shared_clock.h): knows when every
// process of the daemon is at rest, and moves the time on. Nothing depends on the
// machine's speed: what a process does between two waits takes no simulated time
// however long it really takes; only one that never comes to rest fails the run,
// after two minutes.
#ifndef TVUREV_TESTS_SOAK_CLOCK_MASTER_H_
#define TVUREV_TESTS_SOAK_CLOCK_MASTER_H_

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/soak/shared_clock.h"

// Simulated time since the start.
using SimTime = std::chrono::nanoseconds;
inline constexpr SimTime kNever = SimTime::max();

// What the caller does whenever a process may wait for it: takes and answers what
// has come. Told whether all processes are at rest, which is when the caller may
// do something new. Says what came, which decides who has to look again.
enum class Pumped { kNothing, kLogOnly, kInput };
using Pump = std::function<Pumped(bool at_rest)>;

class ClockMaster {
 public:
  // Makes the page's file. Throws std::runtime_error.
  explicit ClockMaster(std::string path);
  ~ClockMaster();
  ClockMaster(const ClockMaster&) = delete;
  ClockMaster& operator=(const ClockMaster&) = delete;

  // For the environment of the daemon.
  std::vector<std::string> environment(const std::string& library) const;

  SimTime now() const;

  // Waits until a program that was just started has its slot. Throws when it has
  // none after two minutes.
  void await_start(pid_t pid);

  // Every process looks at its descriptors again, after the caller acted.
  void wake_all();

  // Pumps until every process waits and nothing is left to pump. Throws when
  // that does not come to pass.
  void settle(const Pump& pump);

  // Moves the time to its next deadline, but not past the limit, wakes whose
  // deadline it is, and settles. While a process runs the time stands still, and
  // this only settles.
  void step(SimTime limit, const Pump& pump);

  // Whether name servers keep silent; a look-up that waits for one goes on waiting.
  void silence_names(bool silent);

  // The processes that are at rest or run; the dead are forgotten.
  std::vector<pid_t> processes();
  // How many waits ended at their deadline so far.
  uint64_t steps() const { return steps_; }
  // Whether the process waits, and for how long it asked.
  bool waits(pid_t pid, SimTime asked) const;

 private:
  bool has_slot(pid_t pid) const;
  bool all_at_rest();
  bool forget_dead(bool also_at_rest);
  void wake(clock_slot& slot);
  void wake_where(uint32_t waits);
  void await_change(uint32_t changes);

  std::string path_;
  clock_page* page_ = nullptr;
  uint64_t steps_ = 0;
};

#endif  // TVUREV_TESTS_SOAK_CLOCK_MASTER_H_
