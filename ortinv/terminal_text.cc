// SPDX-License-Identifier: Apache-2.0
#include "ortinv/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

#include "ortinv/character_width.h"
#include "ortinv/utf8.h"

namespace {

// How many bytes there are before the first that is not plain ASCII.
size_t plain_length(std::string_view text) {
  const auto* const end = std::find_if(
      text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; });
  return static_cast<size_t>(end - text.begin());
}

bool misleads(char32_t character) {
  return character == 0x061C || character == 0x200E || character == 0x200F ||
         (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

void append_escape(std::string& out, unsigned number) {
  std::array<char, 16> text = {};
  snprintf(text.data(), text.size(), number > 0xFF ? "\\u%04x" : "\\x%02x", number);
  out += text.data();
}

}  // namespace

void append_terminal_text(std::string& out, std::string_view text) {
  while (!text.empty()) {
    const size_t plain = plain_length(text);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) {
      return;
    }
    const auto [character, length] = first_utf8_character(text);
    if (length == 0) {
      append_escape(out, static_cast<uint8_t>(text[0]));
    } else if (character < 0xA0 || misleads(character)) {
      append_escape(out, character);
    } else {
      out += text.substr(0, length);
    }
    text.remove_prefix(std::max<size_t>(length, 1));
  }
}

std::string terminal_text(std::string_view text) {
  std::string out;
  append_terminal_text(out, text);
  return out;
}

size_t terminal_columns(std::string_view text) {
  size_t columns = 0;
  while (!text.empty()) {
    const auto [character, length] = first_utf8_character(text);
    columns += length == 0 ? 1 : character_width(character);
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return columns;
}
