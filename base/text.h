// SPDX-License-Identifier: Apache-2.0
// Texts in fixed fields.
#ifndef TVUREV_BASE_TEXT_H_
#define TVUREV_BASE_TEXT_H_

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

// Copies as much of the text as fits before the field's last byte and fills the
// rest with zeros, so that the field is always terminated and holds nothing of
// an earlier text. Returns the number of characters copied. The text must not
// lie in the field.
inline size_t copy_text(std::span<char> field, std::string_view text) {
  if (field.empty()) {
    return 0;
  }
  const size_t length = text.copy(field.data(), field.size() - 1);
  std::fill(field.begin() + static_cast<std::ptrdiff_t>(length), field.end(), '\0');
  return length;
}

// Whether a terminated text holds another.
inline bool holds(const char* text, const char* part) {
  return strstr(text, part) != nullptr;
}

#endif  // TVUREV_BASE_TEXT_H_
