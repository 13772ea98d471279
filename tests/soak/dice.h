// SPDX-License-Identifier: Apache-2.0
// Random numbers that are the same everywhere for the same seed; the standard
// distributions are not.
#ifndef TVUREV_TESTS_SOAK_DICE_H_
#define TVUREV_TESTS_SOAK_DICE_H_

#include <cstdint>
#include <random>

class Dice {
 public:
  explicit Dice(uint64_t seed) : engine_(seed) {}
  // A stream of its own for each thing that is numbered.
  Dice(uint64_t seed, uint64_t number) : engine_(seed * 0x9E3779B97F4A7C15ULL + number) {}

  // 0 to end - 1.
  uint64_t below(uint64_t end) { return engine_() % end; }
  uint64_t between(uint64_t first, uint64_t last) { return first + below(last - first + 1); }
  bool one_in(uint64_t count) { return below(count) == 0; }

 private:
  std::mt19937_64 engine_;
};

#endif  // TVUREV_TESTS_SOAK_DICE_H_
