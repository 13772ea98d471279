// SPDX-License-Identifier: Apache-2.0
// One row a structure type that has records: the published part, and how its
// records are filled and printed. The rows live in types.cc.
#ifndef TVUREV_SMBIOS_TYPES_H_
#define TVUREV_SMBIOS_TYPES_H_

#include <cstdint>
#include <cstdio>

#include "ortinv/smbios_types.h"

struct TypeRow {
  SmbType type;
  void (*decode)(void* records, const uint8_t* structure, uint32_t index);
  // Null for a type that is dumped by its fields.
  void (*dump)(const void* records, uint32_t count, FILE* stream);
};

// Returns null for a type without records; types above 255 have none.
const TypeRow* find_row(uint32_t type);

// Decodes a structure into record index of a zero-filled array. Defined in
// decoders.cc, for each record that it knows how to fill.
template <typename Record>
void decode(void* records, const uint8_t* structure, uint32_t index);

#endif  // TVUREV_SMBIOS_TYPES_H_
