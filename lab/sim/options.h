// SPDX-License-Identifier: Apache-2.0
// The words after an event's name: plain words in order, and "key=value" in any
// order. Used by the scenario parser only.
#ifndef TVUREV_LAB_SIM_OPTIONS_H_
#define TVUREV_LAB_SIM_OPTIONS_H_

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/sim/text.h"

class Options {
 public:
  explicit Options(std::span<const std::string> words) : left_(words.begin(), words.end()) {}

  bool empty() const { return left_.empty(); }

  // Takes the first word left; an empty one when there is none.
  std::string take_word();
  // Takes every word left. The only one; an empty one unless there is just one.
  std::vector<std::string> take_rest() { return std::exchange(left_, {}); }
  std::string take_only_word();
  // Takes this very word; false when it is not there.
  bool take_flag(std::string_view word);

  // Takes the value of the first "key=..." word, if there is one. start is what
  // the value has to begin with.
  std::optional<std::string> take(std::string_view key, std::string_view start = "");

  // The same, and what parse makes of the value in *target, which stays as it is
  // without one. A value that does not parse is an error.
  template <typename Parse, typename Target>
  void take_as(std::string_view key, Parse parse, Target* target) {
    if (const auto text = take(key)) {
      if (const auto value = parse(*text)) {
        *target = *value;
      } else {
        fail("not a good value: " + std::string(key) + "=" + *text);
      }
    }
  }

  // The same for a number that fits into the type.
  template <typename Number, typename Target>
  void take_number(std::string_view key, Target* target) {
    std::optional<uint64_t> number;
    take_as(
        key,
        [](const std::string& text) {
          return parse_number(text, static_cast<uint64_t>(std::numeric_limits<Number>::max()));
        },
        &number);
    if (number) {
      *target = static_cast<Number>(*number);
    }
  }

  // A value that must be there: without it this error, and an empty value.
  template <typename Value>
  Value require(std::optional<Value> value, const std::string& error) {
    if (!value) {
      fail(error);
    }
    return value.value_or(Value{});
  }

  // Remembers the first error.
  void fail(const std::string& error);
  // The first error; a word that is left is one.
  std::string finish();

 private:
  std::vector<std::string> left_;
  std::string error_;
};

#endif  // TVUREV_LAB_SIM_OPTIONS_H_
