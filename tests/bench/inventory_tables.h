// SPDX-License-Identifier: Apache-2.0
// The SMBIOS tables that the inventory is measured with.
#ifndef TVUREV_TESTS_BENCH_INVENTORY_TABLES_H_
#define TVUREV_TESTS_BENCH_INVENTORY_TABLES_H_

#include <cstddef>

#include "tests/support/smbios/table_builder.h"

// The sample host's devices again and again under handles and addresses of their
// own, to about so many bytes, at most what the device can return.
SmbiosTable table_of_size(size_t bytes);

// As many slots as the device can return: all of it is records to decode, and
// none of it is skipped.
SmbiosTable table_of_slots();

// As many PCI functions as the device can return, one address each, with one
// correlation before them so that every query has to look.
SmbiosTable table_of_pci_functions();

// What the device returns at most, less the entry point before the table.
inline constexpr size_t kLargestTable = 65536 - 31;

#endif  // TVUREV_TESTS_BENCH_INVENTORY_TABLES_H_
