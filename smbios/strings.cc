// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "ortinv/smbios_table.h"
#include "smbios/index.h"
#include "smbios/table.h"

namespace {

constexpr const char* kUndefined = "Undefined";
constexpr uint8_t kFirstPrintable = 0x20;
constexpr uint8_t kLastPrintable = 0x7E;

// Bytes up to the next zero. The block's margin is zero: there always is one.
size_t text_length(std::span<const uint8_t> bytes) {
  const void* end = memchr(bytes.data(), 0, bytes.size());
  return static_cast<size_t>(static_cast<const uint8_t*>(end) - bytes.data());
}

const char* as_text(std::span<const uint8_t> bytes) {
  return reinterpret_cast<const char*>(bytes.data());
}

}  // namespace

// Stops at the block's end only: the set's own end is an empty string like any
// other to this walk.
const char* SmBiosGetString(const uint8_t* structure, uint16_t number) {
  if (number == 0) {
    return "";
  }
  auto text = block_from(structure);
  size_t skip = get_u8(text, 1);
  for (uint16_t current = 1; skip < text.size(); ++current) {
    text = text.subspan(skip);
    if (current == number) {
      return as_text(text);
    }
    skip = text_length(text) + 1;
  }
  return "";
}

const char* SmBiosGetCleanString(const uint8_t* structure, int formatted_length, uint8_t number) {
  // A string set that overlapped the header would let the cleaning change the
  // structure's type and length.
  const auto bytes = writable_block_from(structure);
  if (number == 0 || formatted_length < kStructureHeaderSize ||
      static_cast<size_t>(formatted_length) >= bytes.size()) {
    return kUndefined;
  }
  auto text = bytes.subspan(static_cast<size_t>(formatted_length));
  size_t length = text_length(text);
  for (uint8_t current = 1; current < number && length != 0; ++current) {
    text = text.subspan(length + 1);
    length = text_length(text);
  }
  if (length == 0) {
    return kUndefined;
  }
  // Zeros stay zeros and others stay others, so no structure moves.
  bool changed = false;
  for (uint8_t& character : text.first(length)) {
    if (character < kFirstPrintable || character > kLastPrintable) {
      character = '.';
      changed = true;
    }
  }
  // Where a structure is shorter than its fields, they lie in its texts.
  if (changed) {
    drop_index();
  }
  return as_text(text);
}

const char* string_at(const uint8_t* structure, size_t offset) {
  return SmBiosGetString(structure, byte_at(structure, offset));
}
