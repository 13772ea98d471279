// SPDX-License-Identifier: Apache-2.0
#include "trap/agentx_text.h"

#include <charconv>
#include <cstdio>
#include <cstring>

#include "wire/little_endian.h"

namespace {

// A piece of a text is cut to this many characters (docs/oddities.md:
// oid-pieces-of-7-characters).
constexpr size_t kPieceMax = 7;

// Appends a piece, cut, as far as it fits. Returns the text's new length.
size_t append(OidText& text, size_t length, std::string_view piece) {
  // A full text takes no more, and says nothing: the longest legal name does not fit.
  const size_t room = text.size() - 1 - length;
  return length + piece.substr(0, kPieceMax).copy(text.data() + length, room);
}

// Arcs up to this one are not cut.
constexpr int32_t kWholeArcMax = 999'999;

size_t append_arc(OidText& text, size_t length, int32_t arc) {
  // Names are most of a notification, and nearly all their arcs are short.
  if (arc >= 0 && arc <= kWholeArcMax && text.size() - 1 - length >= kPieceMax) {
    char* const piece = text.data() + length;
    *piece = '.';
    if (arc < 10) {
      piece[1] = static_cast<char>('0' + arc);
      return length + 2;
    }
    return static_cast<size_t>(std::to_chars(piece + 1, piece + kPieceMax, arc).ptr - text.data());
  }
  std::array<char, 12> piece = {'.'};  // ".-2147483648"
  const char* end = std::to_chars(piece.data() + 1, piece.data() + piece.size(), arc).ptr;
  return append(text, length, {piece.data(), end});
}

}  // namespace

OidText render_oid(uint8_t prefix, std::span<const uint8_t> sub_identifiers) {
  OidText text = {"1.3.6.1"};
  size_t length = strlen(text.data());
  length = append_arc(text, length, prefix);
  for (size_t offset = 0; offset + sizeof(uint32_t) <= sub_identifiers.size();
       offset += sizeof(uint32_t)) {
    length = append_arc(text, length, static_cast<int32_t>(get_u32(sub_identifiers, offset)));
  }
  return text;
}

std::string render_dotted(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (!text.empty()) {
      text += '.';
    }
    text += std::to_string(byte);
  }
  return text;
}

OidText render_hex(std::string_view text, size_t length) {
  OidText hex = {};
  size_t hex_length = 0;
  for (size_t i = 0; i < length && hex_length < hex.size() - 1; ++i) {
    // Zeros behind the text are shown too: they tell where it was cut.
    const auto byte = static_cast<signed char>(i < text.size() ? text[i] : '\0');
    std::array<char, 9> piece = {};  // "ffffff80"
    snprintf(piece.data(), piece.size(), "%02x", static_cast<unsigned>(byte));
    hex_length = append(hex, hex_length, piece.data());
  }
  return hex;
}
