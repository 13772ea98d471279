// SPDX-License-Identifier: Apache-2.0
// Walks over the structures of one type.
#include "ortinv/smbios_table.h"
#include "smbios/table.h"

int SmBiosFindStructure(uint8_t type, uint16_t index, const uint8_t** structure) {
  const uint8_t* found = next_of_type(type, nullptr);
  for (uint16_t earlier = 0; found != nullptr && earlier < index; ++earlier) {
    found = next_of_type(type, found);
  }
  if (found == nullptr || structure == nullptr) {
    return 0;
  }
  *structure = found;
  return 1;
}

const uint8_t* next_of_type(uint8_t type, const uint8_t* after) {
  const uint8_t* structure = after;
  while (SmBiosNextStructure(&structure) == 1) {
    if (*structure == type) {
      return structure;
    }
  }
  return nullptr;
}

uint32_t count_of_type(uint8_t type) {
  uint32_t count = 0;
  for (const uint8_t* structure = next_of_type(type, nullptr); structure != nullptr;
       structure = next_of_type(type, structure)) {
    ++count;
  }
  return count;
}
