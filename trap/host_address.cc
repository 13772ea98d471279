// SPDX-License-Identifier: Apache-2.0
#include "trap/host_address.h"

#include <string_view>

#include "base/file.h"
#include "base/text.h"
#include "log/log.h"

std::array<char, 32> host_ipaddress = {};

namespace {

constexpr int kTitleLines = 2;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

using Line = std::array<char, 1024>;

// The words of a line that are used. A missing word keeps its earlier value.
struct InterfaceWords {
  std::array<char, 32> name = {};
  std::array<char, 64> address = {};
};

// Cuts the next word off the text. Returns an empty one at the end.
std::string_view next_word(std::string_view& text) {
  const size_t start = text.find_first_not_of(kBlanks);
  if (start == std::string_view::npos) {
    text = {};
    return {};
  }
  text.remove_prefix(start);
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

// Copies as much as fits, zero-padded, unless there is no word.
template <size_t size>
void keep_word(std::array<char, size>& field, std::string_view word) {
  if (!word.empty()) {
    copy_text(field, word);
  }
}

}  // namespace

void get_host_ipaddress() {
  host_ipaddress.fill('\0');  // no address is better than one of before
  const Command list = start_command("localcli network ip interface ipv4 get");
  if (list == nullptr) {
    return;
  }
  Line line = {};
  for (int title = 0; title < kTitleLines; ++title) {
    if (!read_line(list.get(), line)) {
      return;
    }
  }
  InterfaceWords words;
  while (read_line(list.get(), line)) {
    std::string_view text(line.data());
    keep_word(words.name, next_word(text));
    keep_word(words.address, next_word(text));
    // Anywhere in the name (docs/oddities.md: vmk0-anywhere).
    if (holds(words.name.data(), "vmk0")) {
      keep_word(host_ipaddress, words.address.data());
      DaemonDebug("get_host_ipaddress(): Found vmk0! IPaddress is [%s]\n", host_ipaddress.data());
      return;
    }
  }
}
