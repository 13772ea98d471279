// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/text.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::optional<uint8_t> hex_pair(std::string_view text) {
  uint8_t value = 0;
  if (text.size() < 2) {
    return std::nullopt;
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + 2, value, 16);
  if (error != std::errc() || end != text.data() + 2) {
    return std::nullopt;
  }
  return value;
}

// Appends what the escape at the front of text stands for and returns how many
// characters it took; 0 for an escape that does not exist.
size_t take_escape(std::string_view text, std::string* word) {
  constexpr std::string_view kNames = "\\\"nt";
  constexpr std::string_view kMeanings = "\\\"\n\t";
  if (text.size() < 2) {
    return 0;
  }
  if (const size_t which = kNames.find(text[1]); which != std::string_view::npos) {
    word->push_back(kMeanings[which]);
    return 2;
  }
  const auto value = text[1] == 'x' ? hex_pair(text.substr(2)) : std::nullopt;
  if (!value) {
    return 0;
  }
  word->push_back(static_cast<char>(*value));
  return 4;
}

// Takes a quoted part whose opening quote is the first character. Returns its
// length with both quotes, or 0 with *error set.
size_t take_quoted(std::string_view text, std::string* word, std::string* error) {
  for (size_t at = 1; at < text.size();) {
    if (text[at] == '"') {
      return at + 1;
    }
    if (text[at] != '\\') {
      word->push_back(text[at++]);
      continue;
    }
    const size_t taken = take_escape(text.substr(at), word);
    if (taken == 0) {
      *error = "unknown escape " + std::string(text.substr(at, 2));
      return 0;
    }
    at += taken;
  }
  *error = "no closing quote";
  return 0;
}

bool is_blank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

}  // namespace

std::vector<std::string> cut_lines(std::string* text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end = 0; (end = text->find('\n', start)) != std::string::npos; start = end + 1) {
    lines.push_back(text->substr(start, end - start));
  }
  text->erase(0, start);
  return lines;
}

Words split_words(std::string_view line) {
  Words result;
  bool in_word = false;
  for (size_t at = 0; at < line.size();) {
    const char character = line[at];
    if (is_blank(character)) {
      in_word = false;
      ++at;
      continue;
    }
    if (!in_word) {
      if (character == '#') {
        break;
      }
      result.words.emplace_back();
      in_word = true;
    }
    if (character != '"') {
      result.words.back().push_back(character);
      ++at;
      continue;
    }
    const size_t taken = take_quoted(line.substr(at), &result.words.back(), &result.error);
    if (taken == 0) {
      return result;
    }
    at += taken;
  }
  return result;
}

std::optional<uint64_t> parse_number(std::string_view text, uint64_t most) {
  int base = 10;
  if (text.starts_with("0x") || text.starts_with("0X")) {
    text.remove_prefix(2);
    base = 16;
  }
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end != text.data() + text.size() || text.empty() || value > most) {
    return std::nullopt;
  }
  return value;
}

std::optional<uint32_t> parse_word(std::string_view text) {
  if (!text.starts_with('-')) {
    const auto value = parse_number(text, UINT32_MAX);
    return value ? std::optional(static_cast<uint32_t>(*value)) : std::nullopt;
  }
  const auto value = parse_number(text.substr(1), uint64_t{1} << 31);
  return value ? std::optional(static_cast<uint32_t>(0 - *value)) : std::nullopt;
}

std::optional<OidNumbers> parse_oid(std::string_view text) {
  if (text.starts_with('.')) {
    text.remove_prefix(1);
  }
  OidNumbers oid;
  while (true) {
    const size_t dot = text.find('.');
    const auto number = parse_number(text.substr(0, dot), UINT32_MAX);
    if (!number || text.starts_with("0x")) {
      return std::nullopt;
    }
    oid.push_back(static_cast<uint32_t>(*number));
    if (dot == std::string_view::npos) {
      return oid;
    }
    text.remove_prefix(dot + 1);
  }
}

std::string oid_text(std::span<const uint32_t> oid) {
  std::string text;
  for (const uint32_t number : oid) {
    text += (text.empty() ? "" : ".") + std::to_string(number);
  }
  return text;
}

std::optional<Bytes> parse_hex(std::string_view text) {
  Bytes bytes;
  while (!text.empty()) {
    if (text.front() == ' ' || text.front() == ':' || text.front() == '-') {
      text.remove_prefix(1);
      continue;
    }
    const auto value = hex_pair(text);
    if (!value) {
      return std::nullopt;
    }
    bytes.push_back(*value);
    text.remove_prefix(2);
  }
  return bytes;
}

std::string hex_text(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    text.push_back(kHexDigits[byte >> 4]);
    text.push_back(kHexDigits[byte & 0xF]);
  }
  return text;
}

std::optional<std::pair<std::string, Bytes>> parse_variable(std::string_view text) {
  const size_t equals = std::min(text.find('='), text.size());
  const auto value = parse_hex(text.substr(std::min(equals + 1, text.size())));
  if (equals == 0 || equals == text.size() || !value) {
    return std::nullopt;
  }
  return std::pair(std::string(text.substr(0, equals)), *value);
}

std::optional<std::array<uint8_t, 4>> parse_ipv4(std::string_view text) {
  std::array<uint8_t, 4> address = {};
  if (inet_pton(AF_INET, std::string(text).c_str(), address.data()) != 1) {
    return std::nullopt;
  }
  return address;
}

std::optional<std::array<uint8_t, 16>> parse_ipv6(std::string_view text) {
  std::array<uint8_t, 16> address = {};
  if (inet_pton(AF_INET6, std::string(text).c_str(), address.data()) != 1) {
    return std::nullopt;
  }
  return address;
}

std::string quoted(std::span<const uint8_t> bytes) {
  std::string text = "\"";
  for (const uint8_t byte : bytes) {
    if (byte == '"' || byte == '\\') {
      text.push_back('\\');
      text.push_back(static_cast<char>(byte));
    } else if (byte == '\n') {
      text += "\\n";
    } else if (byte == '\t') {
      text += "\\t";
    } else if (byte < 0x20 || byte > 0x7E) {
      text += "\\x" + hex_text(std::span(&byte, 1));
    } else {
      text.push_back(static_cast<char>(byte));
    }
  }
  return text + "\"";
}
