// SPDX-License-Identifier: Apache-2.0
// What the dumps print, to any stream. Null records print nothing.
#ifndef TVUREV_SMBIOS_DUMPS_H_
#define TVUREV_SMBIOS_DUMPS_H_

#include <cstdint>
#include <cstdio>

#include "ortinv/smbios_records.h"
#include "ortinv/smbios_types.h"

// The described layouts. The first two print the first record only.
void dump_bios_info(const SmbBiosInfoRec* records, uint32_t count, FILE* stream);
void dump_system_info(const SmbSystemInfoRec* records, uint32_t count, FILE* stream);
void dump_slots(const SmbSlotRec* records, uint32_t count, FILE* stream);
void dump_server_id(const SmbServerIdRec* records, uint32_t count, FILE* stream);
void dump_enclosures(const SmbEnclosureRec* records, uint32_t count, FILE* stream);
void dump_gbx_tables(const SmbGbxTableRec* records, uint32_t count, FILE* stream);

// The layout of a type that has none of its own: per record a heading, the
// handle, "   key : value" for each field in the row's order, and an empty line.
// Bytes are in hexadecimal, other numbers in decimal.
void dump_by_fields(const SmbType& type, const void* records, uint32_t count, FILE* stream);

#endif  // TVUREV_SMBIOS_DUMPS_H_
