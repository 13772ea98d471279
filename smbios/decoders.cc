// SPDX-License-Identifier: Apache-2.0
// Structures into records. Every field is read within the block, so a structure
// at its end yields zeros and "Undefined" for what it lacks.
#include <algorithm>
#include <cstdlib>

#include "base/text.h"
#include "ortinv/smbios_records.h"
#include "ortinv/smbios_table.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"
#include "smbios/types.h"
#include "smbios/uuid_text.h"

namespace {

SmbRecordHeader header_of(const uint8_t* structure) {
  return {byte_at(structure, 0), formatted_length(structure), handle_of(structure)};
}

template <size_t Size>
void copy_string(char (&field)[Size], const uint8_t* structure, size_t offset) {
  copy_text(field, SmBiosGetCleanString(structure, formatted_length(structure),
                                        byte_at(structure, offset)));
}

void fill(SmbBiosInfoRec& record, const uint8_t* structure) {
  copy_string(record.vendor, structure, 4);
  copy_string(record.version, structure, 5);
  copy_string(record.releaseDate, structure, 8);
  record.address = word_at(structure, 6);
  // A signed byte, so that sizes from 0x80 on wrap, kept on purpose: callers see
  // these sizes (docs/oddities.md: smbios-rom-size-signed).
  record.romSize = static_cast<uint16_t>((static_cast<int8_t>(byte_at(structure, 9)) + 1) * 64);
  for (size_t byte = 0; byte < sizeof record.characteristics; ++byte) {
    record.characteristics[byte] = byte_at(structure, 10 + byte);
  }
  // The bytes are there from a length of 20 on; 21 is kept on purpose: callers see
  // zeros at 20 (docs/oddities.md: smbios-bios-extension-length).
  if (record.header.length < 21) {
    return;
  }
  record.extCharacteristics1 = byte_at(structure, 18);
  record.extCharacteristics2 = byte_at(structure, 19);
}

void fill(SmbSystemInfoRec& record, const uint8_t* structure) {
  if (record.header.length < 8) {
    return;
  }
  copy_string(record.manufacturer, structure, 4);
  copy_string(record.productName, structure, 5);
  copy_string(record.version, structure, 6);
  copy_string(record.serialNumber, structure, 7);
  if (record.header.length < 25) {
    return;
  }
  const auto bytes = block_from(structure);
  copy_text(record.uuid, uuid_text(bytes.subspan(std::min<size_t>(8, bytes.size()))).data());
  record.wakeUpType = byte_at(structure, 24);
  if (record.header.length < 27) {
    copy_text(record.sku, ".");
    return;
  }
  copy_string(record.sku, structure, 25);
  copy_string(record.family, structure, 26);
}

void fill(SmbSlotRec& record, const uint8_t* structure) {
  copy_string(record.designation, structure, 4);
  record.type = byte_at(structure, 5);
  record.busDataWidth = byte_at(structure, 6);
  record.currentUsage = byte_at(structure, 7);
  record.length = byte_at(structure, 8);
  record.id = word_at(structure, 9);
  record.characteristics1 = byte_at(structure, 11);
  record.characteristics2 = byte_at(structure, 12);
  // Lengths 14 to 16 take the rest from what follows, kept on purpose: callers see
  // an address there (docs/oddities.md: smbios-slot-address-length).
  if (record.header.length < 14) {
    return;
  }
  record.segmentGroupNum = word_at(structure, layout::slot::kSegment);
  record.busNum = byte_at(structure, layout::slot::kBus);
  record.devFuncNum = byte_at(structure, layout::slot::kDeviceFunction);
}

void fill(SmbEnclosureRec& record, const uint8_t* structure) {
  if (record.header.length < 11) {
    return;
  }
  record.totalEnclosureBays = byte_at(structure, 8);
  record.usedEnclosureBays = byte_at(structure, 9);
  copy_string(record.rackName, structure, 4);
  copy_string(record.enclosureName, structure, 5);
  copy_string(record.enclosureModel, structure, 6);
  // Any text may stand here; what is no number counts as 0.
  char bay[128] = {};
  copy_string(bay, structure, 7);
  record.enclosureBayNumber = static_cast<uint8_t>(strtol(bay, nullptr, 10));
  copy_string(record.enclosureSerialNumber, structure, 10);
}

void fill(SmbGbxTableRec& record, const uint8_t* structure) {
  constexpr size_t kFirstEntry = 6;
  constexpr size_t kEntrySize = sizeof(GbxConnectorEntry);
  if (record.header.length < kFirstEntry) {
    return;
  }
  // The count stays as the length has it; only what the record holds is copied.
  record.GbxTableVersion = byte_at(structure, 4);
  record.entryCount = static_cast<uint8_t>((record.header.length - kFirstEntry) / kEntrySize);
  const size_t copied = std::min<size_t>(record.entryCount, kGbxConnectorEntries);
  for (size_t entry = 0; entry < copied; ++entry) {
    for (size_t port = 0; port < kGbxPortMaps; ++port) {
      const size_t offset = kFirstEntry + entry * kEntrySize + port * sizeof(GbxPortMap);
      record.GbxConnectorEntry[entry].portMap[port] = {byte_at(structure, offset),
                                                       byte_at(structure, offset + 1)};
    }
  }
}

void fill(SmbServerIdRec& record, const uint8_t* structure) {
  if (record.header.length == 5) {
    copy_string(record.serverSystemIdStr, structure, 4);
  }
}

// -1 without records or structure.
template <typename Record>
int decode_given(Record* records, const uint8_t* structure, uint32_t index) {
  if (records == nullptr || structure == nullptr) {
    return -1;
  }
  decode<Record>(records, structure, index);
  return 0;
}

}  // namespace

template <typename Record>
void decode(void* records, const uint8_t* structure, uint32_t index) {
  Record& record = static_cast<Record*>(records)[index];
  record.header = header_of(structure);
  fill(record, structure);
}

template void decode<SmbBiosInfoRec>(void* records, const uint8_t* structure, uint32_t index);
template void decode<SmbSystemInfoRec>(void* records, const uint8_t* structure, uint32_t index);
template void decode<SmbSlotRec>(void* records, const uint8_t* structure, uint32_t index);
template void decode<SmbEnclosureRec>(void* records, const uint8_t* structure, uint32_t index);
template void decode<SmbGbxTableRec>(void* records, const uint8_t* structure, uint32_t index);
template void decode<SmbServerIdRec>(void* records, const uint8_t* structure, uint32_t index);

int SmbDecodeBiosInfo(SmbBiosInfoRec* records, const uint8_t* structure, uint32_t index) {
  return decode_given(records, structure, index);
}

int SmbDecodeSystemInfo(SmbSystemInfoRec* records, const uint8_t* structure, uint32_t index) {
  return decode_given(records, structure, index);
}

int SmbDecodeSlot(SmbSlotRec* records, const uint8_t* structure, uint32_t index) {
  return decode_given(records, structure, index);
}

int SmbDecodeEnclosure(SmbEnclosureRec* records, const uint8_t* structure, uint32_t index) {
  return decode_given(records, structure, index);
}

void SmbDecodeGbxTable(SmbGbxTableRec* records, const uint8_t* structure, uint32_t index) {
  decode_given(records, structure, index);
}

void SmbDecodeServerId(SmbServerIdRec* records, const uint8_t* structure, uint32_t index) {
  decode_given(records, structure, index);
}
