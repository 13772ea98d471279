// SPDX-License-Identifier: Apache-2.0
// A table that is in a dump, but not where the entry point says.
#ifndef TVUREV_SMBIOS_DISPLACED_TABLE_H_
#define TVUREV_SMBIOS_DISPLACED_TABLE_H_

#include <cstdint>
#include <span>

#include "smbios/entry_point.h"

// Returns the first table of exactly the announced length, whose structures go on
// to an end-of-table structure, and which are as many as announced where that is
// told; empty when there is none, and without memory. Takes time in proportion to
// the bytes, whatever they are.
std::span<const uint8_t> find_displaced_table(std::span<const uint8_t> bytes,
                                              const EntryPoint& entry_point);

#endif  // TVUREV_SMBIOS_DISPLACED_TABLE_H_
