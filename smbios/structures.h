// SPDX-License-Identifier: Apache-2.0
// A walk that trusts nothing: over the structures that really lie in some bytes.
#ifndef TVUREV_SMBIOS_STRUCTURES_H_
#define TVUREV_SMBIOS_STRUCTURES_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "ortinv/smbios_load.h"

inline constexpr uint8_t kEndOfTable = 127;

struct StructureWalk {
  std::span<const uint8_t> table;
  size_t position = 0;  // of the next structure
  bool behind_end = false;
};

// Fills the next structure and moves on. False where none can begin, and behind
// an end-of-table structure also where one is not whole: there is no table there.
bool next_structure(StructureWalk& walk, SmbStructure& structure);

#endif  // TVUREV_SMBIOS_STRUCTURES_H_
