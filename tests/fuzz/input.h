// SPDX-License-Identifier: Apache-2.0
// The bytes of one execution, taken from the front: first what the target wants
// to know of its surroundings, then what comes from outside. At the end of the
// bytes everything is 0 and empty, so that any input is a whole one.
#ifndef TVUREV_TESTS_FUZZ_INPUT_H_
#define TVUREV_TESTS_FUZZ_INPUT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

class Input {
 public:
  explicit Input(std::span<const uint8_t> bytes) : left_(bytes) {}

  bool empty() const { return left_.empty(); }

  uint8_t byte() {
    const std::span<const uint8_t> one = take(1);
    return one.empty() ? uint8_t{0} : one.front();
  }

  // Little-endian.
  uint16_t word() {
    const uint8_t low = byte();
    return static_cast<uint16_t>(low | byte() << 8);
  }

  std::span<const uint8_t> take(size_t most) {
    const std::span<const uint8_t> taken = left_.first(std::min(most, left_.size()));
    left_ = left_.subspan(taken.size());
    return taken;
  }

  // The next bytes up to a separator, which is taken too.
  std::string_view text_until(uint8_t separator) {
    const auto end = std::find(left_.begin(), left_.end(), separator);
    const std::span<const uint8_t> taken = take(static_cast<size_t>(end - left_.begin()));
    take(1);
    return as_text(taken);
  }

  std::span<const uint8_t> rest() { return take(left_.size()); }
  std::string_view rest_as_text() { return as_text(rest()); }

 private:
  static std::string_view as_text(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
  }

  std::span<const uint8_t> left_;
};

#endif  // TVUREV_TESTS_FUZZ_INPUT_H_
