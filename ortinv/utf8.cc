// SPDX-License-Identifier: Apache-2.0
#include "ortinv/utf8.h"

#include <cstdint>

namespace {

uint8_t byte_at(std::string_view text, size_t index) {
  return index < text.size() ? static_cast<uint8_t>(text[index]) : uint8_t{0};
}

struct Form {
  uint8_t mask;
  uint8_t lead;
  size_t length;
  char32_t least;  // smaller ones have a shorter form, and must use it
};

constexpr Form kForms[] = {
    {0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

}  // namespace

Utf8Character first_utf8_character(std::string_view text) {
  const uint8_t lead = byte_at(text, 0);
  for (const Form& form : kForms) {
    if ((lead & form.mask) != form.lead) {
      continue;
    }
    char32_t value = lead & static_cast<uint8_t>(~form.mask);
    for (size_t i = 1; i < form.length; ++i) {
      const uint8_t next = byte_at(text, i);
      if ((next & 0xC0U) != 0x80U) {
        return {0, 0};
      }
      value = value << 6U | (next & 0x3FU);
    }
    const bool is_surrogate = value >= 0xD800 && value <= 0xDFFF;
    return value < form.least || value > 0x10FFFF || is_surrogate
               ? Utf8Character{0, 0}
               : Utf8Character{value, form.length};
  }
  return {0, 0};
}
