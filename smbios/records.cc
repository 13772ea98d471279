// SPDX-License-Identifier: Apache-2.0
// Arrays of decoded records.
#include <cstdlib>

#include "ortinv/smbios_table.h"
#include "smbios/table.h"
#include "smbios/types.h"

int SmBiosGetRecords(uint32_t type, void** records, uint32_t* count) {
  if (count != nullptr) {
    *count = 0;
  }
  if (records == nullptr) {
    return -1;
  }
  *records = nullptr;
  const TypeRow* row = find_row(type);
  if (!table_initialised() || row == nullptr) {
    return -1;
  }
  const TableLock lock;
  const uint32_t found = count_of_type(row->type.type);
  void* array = found == 0 ? nullptr : calloc(found, row->type.record_size);
  if (array == nullptr) {
    return -1;
  }
  // The decoders clean texts in the table, but never a header or a zero: this
  // walk meets the structures that were counted.
  const uint8_t* structure = nullptr;
  for (uint32_t index = 0; index < found; ++index) {
    structure = next_of_type(row->type.type, structure);
    row->decode(array, structure, index);
  }
  *records = array;
  if (count != nullptr) {
    *count = found;
  }
  return 0;
}
