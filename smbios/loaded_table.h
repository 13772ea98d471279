// SPDX-License-Identifier: Apache-2.0
// The one table of the module as it was loaded: what its entry point said and
// where it lies. The state is table.cc's.
#ifndef TVUREV_SMBIOS_LOADED_TABLE_H_
#define TVUREV_SMBIOS_LOADED_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "smbios/entry_point.h"

// Makes bytes the module's table, as SmBiosInit does with the device's. Returns
// false without memory. No table may be loaded.
bool load_table(const EntryPoint& entry_point, std::span<const uint8_t> table);

// The loaded table's bytes; empty without one.
std::span<const uint8_t> table_bytes();

// Its entry point; of kind none without a table.
const EntryPoint& table_entry_point();

// Its version, major in the upper byte.
uint16_t table_version();

#endif  // TVUREV_SMBIOS_LOADED_TABLE_H_
