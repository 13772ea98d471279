// SPDX-License-Identifier: Apache-2.0
// Whether the daemon's two processes stay as they are: resident memory and
// descriptors of each, from when it was warm to its end.
#ifndef TVUREV_TESTS_SOAK_WATCH_H_
#define TVUREV_TESTS_SOAK_WATCH_H_

#include <string>
#include <vector>

#include "tests/soak/world.h"

// Fills in what the process has now.
void measure(Footprint& footprint);

class Watch {
 public:
  // Looks, at rest. A process is warm after some hundred notifications.
  void look(World& world);

  const Footprint& main() const { return main_; }
  const Footprint& proxy() const { return proxy_; }
  // The most that any process has grown by itself, also of earlier starts.
  long most_growth_kib() const { return most_growth_kib_; }

 private:
  void look_at(Footprint& footprint, pid_t pid, bool warm);

  Footprint main_;
  Footprint proxy_;
  uint64_t sent_at_start_ = 0;
  long most_growth_kib_ = 0;
};

// What is not as it should be at the end of a life, with everything at rest.
std::vector<std::string> end_of_life_errors(World& world, const Watch& watch);

#endif  // TVUREV_TESTS_SOAK_WATCH_H_
