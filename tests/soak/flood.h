// SPDX-License-Identifier: Apache-2.0
// Floods the daemon with what it must refuse, on one road or the other, with good
// notifications in between: none may be lost on the channel, the log keeps its
// limit, memory stays as it is, and a stop file is obeyed in the midst of it.
#ifndef TVUREV_TESTS_SOAK_FLOOD_H_
#define TVUREV_TESTS_SOAK_FLOOD_H_

#include <cstdint>
#include <string>

#include "tests/soak/account.h"

struct FloodSettings {
  Road road = Road::kChannel;
  uint32_t seconds = 60;  // simulated; each has as many packets
  uint32_t packets_a_second = 2'000;
  uint64_t seed = 1;
};

// Prints progress and what came of it. Returns whether all was well.
bool flood(const FloodSettings& settings, const std::string& clock_library);

#endif  // TVUREV_TESTS_SOAK_FLOOD_H_
