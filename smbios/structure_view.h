// SPDX-License-Identifier: Apache-2.0
// One structure of the table while its fields are read: its formatted area and
// its strings, each within its bounds.
#ifndef TVUREV_SMBIOS_STRUCTURE_VIEW_H_
#define TVUREV_SMBIOS_STRUCTURE_VIEW_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "wire/little_endian.h"

struct StructureView {
  std::span<const uint8_t> fields;          // the formatted area, header included
  std::span<const uint8_t> strings;         // the set, each with the zero behind it
  std::array<std::string_view, 256> texts;  // by number, from 1 on; filled up to text_count
  size_t text_count = 0;
  uint16_t version = 0;  // of the table: major in the upper byte
  size_t list_size = 0;  // of the type's list, for the fields behind it
};

inline size_t length_of(const StructureView& structure) {
  return structure.fields.size();
}

// Reads 1 to 8 bytes; bytes behind the formatted area are zero.
inline uint64_t number_at(const StructureView& structure, size_t offset, size_t width) {
  uint64_t number = 0;
  for (size_t byte = 0; byte < width && byte < 8; ++byte) {
    number |= uint64_t{get_u8(structure.fields, offset + byte)} << (8 * byte);
  }
  return number;
}

#endif  // TVUREV_SMBIOS_STRUCTURE_VIEW_H_
