// SPDX-License-Identifier: Apache-2.0
// The table as the sources of this folder see it: bounded access to structures,
// and walks over those of one type (walk.cc). The block, its state and its lock live
// in table.cc.
#ifndef TVUREV_SMBIOS_TABLE_H_
#define TVUREV_SMBIOS_TABLE_H_

#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "wire/little_endian.h"

// Bytes of the header that every structure begins with: type, length, handle.
inline constexpr int kStructureHeaderSize = 4;

// Returns what the block holds from position on, its zero margin included; empty
// when position is null or no part of the block. Texts that begin in the span
// end in it.
std::span<const uint8_t> block_from(const uint8_t* position);

// As block_from, to change texts in place. The margin must stay zero.
std::span<uint8_t> writable_block_from(const uint8_t* position);

// Read a field of a structure, whatever its formatted length; zero behind the
// block's end.
inline uint8_t byte_at(const uint8_t* structure, size_t offset) {
  return get_u8(block_from(structure), offset);
}
inline uint16_t word_at(const uint8_t* structure, size_t offset) {
  return get_u16(block_from(structure), offset);
}
inline uint8_t formatted_length(const uint8_t* structure) {
  return byte_at(structure, 1);
}
inline uint16_t handle_of(const uint8_t* structure) {
  return word_at(structure, 2);
}

// Returns the string whose number is the byte at offset.
const char* string_at(const uint8_t* structure, size_t offset);

// Returns the next structure of this type after one, from null the first; null
// when there is no more.
const uint8_t* next_of_type(uint8_t type, const uint8_t* after);

uint32_t count_of_type(uint8_t type);

// Returns the first structure of this type that matches, null without one.
template <typename Predicate>
const uint8_t* find_of_type(uint8_t type, Predicate matches) {
  const uint8_t* structure = next_of_type(type, nullptr);
  while (structure != nullptr && !matches(structure)) {
    structure = next_of_type(type, structure);
  }
  return structure;
}

bool table_initialised();

// Holds the table's lock while it lives. Only for an initialised table.
class TableLock {
 public:
  TableLock();
  ~TableLock();
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;
};

#endif  // TVUREV_SMBIOS_TABLE_H_
