// SPDX-License-Identifier: Apache-2.0
// Entry points of all kinds: what they say, and whether they say it soundly.
// Layouts are in docs/smbios.md.
#ifndef TVUREV_SMBIOS_ENTRY_POINT_H_
#define TVUREV_SMBIOS_ENTRY_POINT_H_

#include <cstddef>
#include <cstdint>
#include <span>

#include "ortinv/smbios_load.h"

struct EntryPoint {
  SmbEntryPointKind kind = kSmbEntryPointNone;
  uint8_t major = 0;
  uint8_t minor = 0;
  uint8_t revision = 0;
  uint64_t address = 0;
  uint32_t length = 0;  // of the table; of a 64-bit entry point the most it may be
  uint32_t count = 0;   // of structures; 0 where it is not told
  size_t size = 0;      // of the entry point itself
};

// Reads the entry point that the bytes begin with; of kind none when they begin
// with none. Checks nothing.
EntryPoint read_entry_point(std::span<const uint8_t> bytes);

// Returns null when the entry point's length and checksums are right, else what
// is wrong.
const char* entry_point_defect(std::span<const uint8_t> bytes);

#endif  // TVUREV_SMBIOS_ENTRY_POINT_H_
