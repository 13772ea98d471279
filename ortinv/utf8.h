// SPDX-License-Identifier: Apache-2.0
// Reads UTF-8 that may be none.
#ifndef TVUREV_ORTINV_UTF8_H_
#define TVUREV_ORTINV_UTF8_H_

#include <cstddef>
#include <string_view>

struct Utf8Character {
  char32_t value;
  size_t length;  // in bytes; 0 where the first byte begins no character
};

// Reads the first character of a text. Forms longer than need be, halves of
// pairs and values above U+10FFFF are none. Of an empty text it is one of no use:
// U+0000, a byte long.
Utf8Character first_utf8_character(std::string_view text);

#endif  // TVUREV_ORTINV_UTF8_H_
