/* SPDX-License-Identifier: Apache-2.0 */
/* Uses the public headers from C, as a management agent would. */
#include "tests/unit/smbios/c_interface.h"

#include <stdlib.h>

#include "ortinv/oem_queries.h"
#include "ortinv/smbios_records.h"
#include "ortinv/smbios_table.h"
#include "ortinv/smbios_types.h"

uint32_t count_slots_from_c(void) {
  struct SmbSlotRec* slots = NULL;
  void* records = NULL;
  uint32_t count = 0;
  if (SmBiosGetRecords(9, &records, &count) != 0) {
    return 0;
  }
  slots = records;
  SmbDumpSlots(slots, 0);
  free(slots);
  return count;
}

uint32_t count_structures_from_c(void) {
  const uint8_t* structure = NULL;
  uint32_t count = 0;
  while (SmBiosNextStructure(&structure) == 1) {
    ++count;
  }
  return count;
}

const char* pci_name_from_c(uint32_t segment, uint32_t bus) {
  return SmbGetPciName(segment, bus, 0, 0);
}

uint32_t count_fields_from_c(void) {
  uint32_t fields = 0;
  uint32_t index = 0;
  for (index = 0; index < SmbTypeCount(); ++index) {
    const struct SmbType* type = SmbTypeAt(index);
    fields += type->field_count;
  }
  return fields;
}
