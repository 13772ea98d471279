// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/options.h"

#include <algorithm>

std::string Options::take_word() {
  if (left_.empty()) {
    return "";
  }
  std::string word = std::move(left_.front());
  left_.erase(left_.begin());
  return word;
}

std::string Options::take_only_word() {
  const std::vector<std::string> words = take_rest();
  return words.size() == 1 ? words[0] : "";
}

bool Options::take_flag(std::string_view word) {
  return std::erase(left_, word) > 0;
}

std::optional<std::string> Options::take(std::string_view key, std::string_view start) {
  const std::string head = std::string(key) + "=";
  const auto word = std::ranges::find_if(
      left_, [&](const std::string& text) { return text.starts_with(head + std::string(start)); });
  if (word == left_.end()) {
    return std::nullopt;
  }
  std::string value = word->substr(head.size());
  left_.erase(word);
  return value;
}

void Options::fail(const std::string& error) {
  if (error_.empty()) {
    error_ = error;
  }
}

std::string Options::finish() {
  if (!left_.empty()) {
    fail("unknown option: " + left_.front());
  }
  return error_;
}
