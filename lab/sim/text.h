// SPDX-License-Identifier: Apache-2.0
// Reading and writing of the small texts of the simulator's files: words with
// quotes, numbers, object identifiers, addresses and bytes in hexadecimal.
// Nothing here has effects. A text that is not what it should be gives no
// value; the caller knows the place and says so.
#ifndef TVUREV_LAB_SIM_TEXT_H_
#define TVUREV_LAB_SIM_TEXT_H_

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;
using OidNumbers = std::vector<uint32_t>;

// Cuts the whole lines off the front; what is left has no line end yet.
std::vector<std::string> cut_lines(std::string* text);

// The words of one line. error is empty, or says what is wrong with the line.
struct Words {
  std::vector<std::string> words;
  std::string error;
};

// Splits a line at blanks. A part of a word in double quotes keeps its blanks,
// and knows the escapes \\ \" \n \t and \xHH. A word that begins with an
// unquoted "#" starts a comment, which runs to the line's end.
Words split_words(std::string_view line);

// Reads a decimal number, or a hexadecimal one after "0x", up to most.
std::optional<uint64_t> parse_number(std::string_view text, uint64_t most);

// Reads a number with an optional minus sign, within 32 bits either way:
// -2147483648 to 4294967295.
std::optional<uint32_t> parse_word(std::string_view text);

// Reads dotted decimal sub-identifiers, with or without a leading dot.
std::optional<OidNumbers> parse_oid(std::string_view text);
std::string oid_text(std::span<const uint32_t> oid);

// Reads pairs of hexadecimal digits; blanks, colons and dashes between pairs
// are skipped. An empty text gives no bytes.
std::optional<Bytes> parse_hex(std::string_view text);
std::string hex_text(std::span<const uint8_t> bytes);

// Reads a variable of the form NAME=HEX.
std::optional<std::pair<std::string, Bytes>> parse_variable(std::string_view text);

std::optional<std::array<uint8_t, 4>> parse_ipv4(std::string_view text);
std::optional<std::array<uint8_t, 16>> parse_ipv6(std::string_view text);

// Puts bytes in double quotes, so that split_words gives them back: printable
// ASCII as it is, everything else as an escape.
std::string quoted(std::span<const uint8_t> bytes);

#endif  // TVUREV_LAB_SIM_TEXT_H_
