// SPDX-License-Identifier: Apache-2.0
// Asks an SMBIOS table that is read everything that can be asked. Each function
// requires of the answers what must hold for any table, and tells them to the
// host.
#ifndef TVUREV_TESTS_FUZZ_SMBIOS_ANSWERS_H_
#define TVUREV_TESTS_FUZZ_SMBIOS_ANSWERS_H_

#include <array>
#include <cstdint>

#include "tests/fuzz/fake_host.h"

// How many structures of each type the walk meets.
using StructureCounts = std::array<uint32_t, 256>;

StructureCounts walk_table(FakeHost& host);
void ask_for_device(uint8_t bus, uint8_t device_function, FakeHost& host);
void ask_for_drive(const char* serial_number, FakeHost& host);
void list_all(const StructureCounts& counts, FakeHost& host);

// All records of all types, and what their dumps print.
void decode_all(const StructureCounts& counts, FakeHost& host);

// Last: changes texts in the table.
void clean_strings(uint16_t length, uint8_t number, FakeHost& host);

#endif  // TVUREV_TESTS_FUZZ_SMBIOS_ANSWERS_H_
