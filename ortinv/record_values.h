// SPDX-License-Identifier: Apache-2.0
// The fields of the library's records, for the types that have them - without
// those that a structure is too short for, which a record shows as zero.
#ifndef TVUREV_ORTINV_RECORD_VALUES_H_
#define TVUREV_ORTINV_RECORD_VALUES_H_

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_types.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// One field. What it holds lies in the record.
struct RecordValue {
  const SmbField* field;
  std::span<const uint8_t> bytes;  // as many as there are: port maps only those of the structure
};

// A decoded structure.
struct RecordValues {
  const SmbType* type = nullptr;  // null: the type has no record
  std::vector<uint8_t> record;
  std::vector<RecordValue> values;
};

// Decodes a structure of the loaded table. Changes its texts in the table: what
// cannot be printed becomes a dot.
RecordValues record_values(const SmbStructure& structure);

// Return what a field holds.
uint32_t number_of(const RecordValue& value);
std::string_view text_of(const RecordValue& value);

#endif  // TVUREV_ORTINV_RECORD_VALUES_H_
