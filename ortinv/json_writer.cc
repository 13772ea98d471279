// SPDX-License-Identifier: Apache-2.0
#include "ortinv/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "ortinv/utf8.h"

namespace {

// How many bytes there are before the first that may need an escape.
size_t plain_length(std::string_view text) {
  const auto* const end = std::find_if(text.begin(), text.end(), [](char character) {
    return character < ' ' || character > '~' || character == '"' || character == '\\';
  });
  return static_cast<size_t>(end - text.begin());
}

void append_escape(std::string& out, char32_t character) {
  std::array<char, 8> text = {};
  snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned>(character));
  out += text.data();
}

bool is_control(char32_t character) {
  return character < ' ' || (character >= 0x7F && character < 0xA0);
}

// Appends one character, and returns its bytes.
size_t append_character(std::string& out, std::string_view text) {
  const auto [character, length] = first_utf8_character(text);
  if (length == 0) {
    out += "\xEF\xBF\xBD";
    return 1;
  }
  if (character == '"' || character == '\\') {
    out += '\\';
    out += text[0];
  } else if (is_control(character)) {
    append_escape(out, character);
  } else {
    out += text.substr(0, length);
  }
  return length;
}

}  // namespace

void append_json_text(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    const size_t plain = plain_length(text);
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (!text.empty()) {
      text.remove_prefix(append_character(out, text));
    }
  }
  out += '"';
}

void append_json_number(std::string& out, uint64_t number) {
  std::array<char, 20> digits = {};
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  out.append(digits.data(), end);
}

std::string without_control_characters(std::string json) {
  const size_t first = json.find_first_of("\x7F\xC2");
  if (first == std::string::npos) {
    return json;
  }
  std::string out = json.substr(0, first);
  std::string_view rest = json;
  rest.remove_prefix(first);
  while (!rest.empty()) {
    const auto [character, length] = first_utf8_character(rest);
    const size_t taken = std::max<size_t>(length, 1);
    if (character >= 0x7F && character < 0xA0) {
      append_escape(out, character);
    } else {
      out += rest.substr(0, taken);
    }
    rest.remove_prefix(taken);
  }
  return out;
}

JsonScope::JsonScope(std::string& out, const char* brackets, size_t depth, bool pretty)
    : out_(out), brackets_(brackets), depth_(depth), pretty_(pretty) {
  out_ += brackets_[0];
}

void JsonScope::separate() {
  if (!empty_) {
    out_ += ',';
  }
  empty_ = false;
  if (pretty_) {
    out_ += '\n';
    out_.append(2 * (depth_ + 1), ' ');
  }
}

void JsonScope::member(std::string_view key) {
  separate();
  out_ += '"';
  out_ += key;
  out_ += pretty_ ? "\": " : "\":";
}

void JsonScope::item() {
  separate();
}

void JsonScope::close() {
  if (pretty_ && !empty_) {
    out_ += '\n';
    out_.append(2 * depth_, ' ');
  }
  out_ += brackets_[1];
}
