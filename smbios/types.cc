// SPDX-License-Identifier: Apache-2.0
// The one table of the structure types that have records.
#include "smbios/types.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "ortinv/smbios_records.h"
#include "smbios/dumps.h"

namespace {

using Bios = SmbBiosInfoRec;
using System = SmbSystemInfoRec;
using Slot = SmbSlotRec;
using ServerId = SmbServerIdRec;
using Enclosure = SmbEnclosureRec;
using GbxTable = SmbGbxTableRec;

constexpr SmbField kBiosFields[] = {
    {"vendor", kSmbFieldText, offsetof(Bios, vendor), sizeof(Bios::vendor)},
    {"version", kSmbFieldText, offsetof(Bios, version), sizeof(Bios::version)},
    {"release_date", kSmbFieldText, offsetof(Bios, releaseDate), sizeof(Bios::releaseDate)},
    {"address_segment", kSmbFieldU32, offsetof(Bios, address), 1},
    {"rom_size_kib", kSmbFieldU16, offsetof(Bios, romSize), 1},
    {"characteristics", kSmbFieldBytes, offsetof(Bios, characteristics),
     sizeof(Bios::characteristics)},
    {"extended_characteristics", kSmbFieldBytes, offsetof(Bios, extCharacteristics1), 2},
};

constexpr SmbField kSystemFields[] = {
    {"manufacturer", kSmbFieldText, offsetof(System, manufacturer), sizeof(System::manufacturer)},
    {"product_name", kSmbFieldText, offsetof(System, productName), sizeof(System::productName)},
    {"version", kSmbFieldText, offsetof(System, version), sizeof(System::version)},
    {"serial_number", kSmbFieldText, offsetof(System, serialNumber), sizeof(System::serialNumber)},
    {"uuid", kSmbFieldText, offsetof(System, uuid), sizeof(System::uuid)},
    {"wake_up_type", kSmbFieldU8, offsetof(System, wakeUpType), 1},
    {"sku", kSmbFieldText, offsetof(System, sku), sizeof(System::sku)},
    {"family", kSmbFieldText, offsetof(System, family), sizeof(System::family)},
};

// Without SegmentNum, which nothing fills.
constexpr SmbField kSlotFields[] = {
    {"designation", kSmbFieldText, offsetof(Slot, designation), sizeof(Slot::designation)},
    {"slot_type", kSmbFieldU8, offsetof(Slot, type), 1},
    {"data_bus_width", kSmbFieldU8, offsetof(Slot, busDataWidth), 1},
    {"current_usage", kSmbFieldU8, offsetof(Slot, currentUsage), 1},
    {"slot_length", kSmbFieldU8, offsetof(Slot, length), 1},
    {"slot_id", kSmbFieldU16, offsetof(Slot, id), 1},
    {"characteristics", kSmbFieldBytes, offsetof(Slot, characteristics1), 2},
    {"segment", kSmbFieldU16, offsetof(Slot, segmentGroupNum), 1},
    {"bus", kSmbFieldU8, offsetof(Slot, busNum), 1},
    {"device_function", kSmbFieldU8, offsetof(Slot, devFuncNum), 1},
};

constexpr SmbField kServerIdFields[] = {
    {"server_system_id", kSmbFieldText, offsetof(ServerId, serverSystemIdStr),
     sizeof(ServerId::serverSystemIdStr)},
};

constexpr SmbField kEnclosureFields[] = {
    {"rack_name", kSmbFieldText, offsetof(Enclosure, rackName), sizeof(Enclosure::rackName)},
    {"enclosure_name", kSmbFieldText, offsetof(Enclosure, enclosureName),
     sizeof(Enclosure::enclosureName)},
    {"enclosure_model", kSmbFieldText, offsetof(Enclosure, enclosureModel),
     sizeof(Enclosure::enclosureModel)},
    {"enclosure_serial_number", kSmbFieldText, offsetof(Enclosure, enclosureSerialNumber),
     sizeof(Enclosure::enclosureSerialNumber)},
    {"bay_number", kSmbFieldU8, offsetof(Enclosure, enclosureBayNumber), 1},
    {"total_bays", kSmbFieldU8, offsetof(Enclosure, totalEnclosureBays), 1},
    {"used_bays", kSmbFieldU8, offsetof(Enclosure, usedEnclosureBays), 1},
};

constexpr SmbField kGbxTableFields[] = {
    {"table_version", kSmbFieldU8, offsetof(GbxTable, GbxTableVersion), 1},
    {"entry_count", kSmbFieldU8, offsetof(GbxTable, entryCount), 1},
    {"connectors", kSmbFieldPortMaps, offsetof(GbxTable, GbxConnectorEntry), kGbxConnectorEntries},
};

template <typename Record>
using Dump = void (*)(const Record* records, uint32_t count, FILE* stream);

// A row that is dumped by its fields.
template <typename Record, size_t Count>
constexpr TypeRow row(uint8_t type, const char* name, const SmbField (&fields)[Count]) {
  return {{type, name, sizeof(Record), fields, Count}, decode<Record>, nullptr};
}

// A row whose dump has a layout of its own.
template <typename Record, Dump<Record> Dumper, size_t Count>
constexpr TypeRow row(uint8_t type, const char* name, const SmbField (&fields)[Count]) {
  TypeRow made = row<Record>(type, name, fields);
  made.dump = [](const void* records, uint32_t count, FILE* stream) {
    Dumper(static_cast<const Record*>(records), count, stream);
  };
  return made;
}

// Ascending, as they are listed.
constexpr std::array kRows = {
    row<Bios, dump_bios_info>(0, "BIOS information", kBiosFields),
    row<System, dump_system_info>(1, "System information", kSystemFields),
    row<Slot, dump_slots>(9, "System slot", kSlotFields),
    row<ServerId, dump_server_id>(195, "Server system ID", kServerIdFields),
    row<Enclosure, dump_enclosures>(204, "Enclosure and bay of a blade server", kEnclosureFields),
    row<GbxTable, dump_gbx_tables>(222, "GbX connector table", kGbxTableFields),
};

constexpr bool less(const TypeRow& one, const TypeRow& other) {
  return one.type.type < other.type.type;
}
static_assert(std::is_sorted(kRows.begin(), kRows.end(), less));

}  // namespace

const TypeRow* find_row(uint32_t type) {
  const auto* found = std::find_if(kRows.begin(), kRows.end(), [type](const TypeRow& candidate) {
    return candidate.type.type == type;
  });
  return found == kRows.end() ? nullptr : found;
}

uint32_t SmbTypeCount(void) {
  return kRows.size();
}

const SmbType* SmbTypeAt(uint32_t index) {
  return index < kRows.size() ? &kRows[index].type : nullptr;
}

const SmbType* SmbFindType(uint32_t type) {
  const TypeRow* row = find_row(type);
  return row == nullptr ? nullptr : &row->type;
}

int SmbDumpRecords(uint32_t type, const void* records, uint32_t count, FILE* stream) {
  const TypeRow* row = find_row(type);
  if (row == nullptr || records == nullptr || stream == nullptr) {
    return -1;
  }
  if (row->dump == nullptr) {
    dump_by_fields(row->type, records, count, stream);
  } else {
    row->dump(records, count, stream);
  }
  return 0;
}
