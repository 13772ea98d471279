#include "trap/agentx_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "wire/little_endian.h"

namespace {

// Takes one piece of a text, cut to 7 characters (docs/oddities.md:
// oid-pieces-of-7-characters).
using Piece = std::array<char, 8>;

// Appends a piece as far as it fits. Returns the text's new length.
size_t append(OidText& text, size_t length, const Piece& piece) {
  // A full text takes no more, and says nothing: the longest legal name does not fit.
  const size_t room = text.size() - 1 - length;
  const size_t copied = std::min(strlen(piece.data()), room);
  std::copy_n(piece.begin(), copied, text.begin() + static_cast<std::ptrdiff_t>(length));
  return length + copied;
}

size_t append_arc(OidText& text, size_t length, int32_t arc) {
  std::array<char, 13> whole = {};  // ".-2147483648"
  snprintf(whole.data(), whole.size(), ".%d", arc);
  Piece piece = {};
  std::copy_n(whole.begin(), piece.size() - 1, piece.begin());
  return append(text, length, piece);
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
    std::array<char, 9> whole = {};  // "ffffff80"
    snprintf(whole.data(), whole.size(), "%02x", static_cast<unsigned>(byte));
    Piece piece = {};
    std::copy_n(whole.begin(), piece.size() - 1, piece.begin());
    hex_length = append(hex, hex_length, piece);
  }
  return hex;
}
