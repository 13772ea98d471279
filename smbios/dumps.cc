// SPDX-License-Identifier: Apache-2.0
// Dumps of the records: the described layouts, and one made from a row's fields.
#include "smbios/dumps.h"

#include <cstring>

namespace {

void dump_slot(const SmbSlotRec& slot, uint32_t number, FILE* stream) {
  fprintf(stream, "System Slot record #%d  (Type %d)\n", static_cast<int>(number), 9);
  fprintf(stream, "   Handle              : 0x%04X\n", slot.header.handle);
  fprintf(stream, "   Length              : %u\n", slot.header.length);
  fprintf(stream, "   designation         : %s\n", slot.designation);
  fprintf(stream, "   type                : %u\n", slot.type);
  fprintf(stream, "   busDataWidth        : %u\n", slot.busDataWidth);
  fprintf(stream, "   currentUsage        : %u\n", slot.currentUsage);
  fprintf(stream, "   length              : %u\n", slot.length);
  fprintf(stream, "   id                  : %u\n", slot.id);
  fprintf(stream, "   characteristics1    : 0x%x\n", slot.characteristics1);
  fprintf(stream, "   characteristics2    : 0x%x\n", slot.characteristics2);
  fprintf(stream, "   segmentGroupNum     : 0x%x\n", slot.segmentGroupNum);
  fprintf(stream, "   busNum              : 0x%x\n", slot.busNum);
  fprintf(stream, "   devFuncNum          : 0x%x\n", slot.devFuncNum);
  fprintf(stream, "   SegmentNum          : 0x%x\n", slot.SegmentNum);
  fprintf(stream, "\n");
}

void dump_connection(const GbxPortMap& map, FILE* stream) {
  constexpr int kEmbedded = 15;
  // Bits 3 and 2 of the connection, and 6 and 5 of the bay, mean nothing.
  const int mezzanine = map.connection >> 4;
  fprintf(stream, "   MEZZ Port Number   %d\n", map.connection & 0x03);
  if (mezzanine == 0) {
    fprintf(stream, "   Not Connected\n");
  } else if (mezzanine <= 4) {
    fprintf(stream, "   Switch Port Connects to MEZZ# %d\n", mezzanine);
  } else if (mezzanine == kEmbedded) {
    fprintf(stream, "   Switch Port Connects to Embedded Device on Virtual MEZZ\n");
  } else {
    fprintf(stream, "   Reserved Value\n");
  }
  fprintf(stream, "   Port Offset from SVB bay   %d\n", map.bay & 0x1F);
  fprintf(stream, "%s\n",
          (map.bay & 0x80) != 0 ? "   Bay Width:  Double Wide" : "   Bay Width:  Single Wide");
}

void dump_gbx_table(const SmbGbxTableRec& table, uint32_t count, FILE* stream) {
  fprintf(stream, "   GbxTableVersion            : 0x%x\n", table.GbxTableVersion);
  fprintf(stream, "   Total GbXEntries           : %d\n", table.entryCount);
  fprintf(stream, "   recordCount %d, maxgbxconnectorentry %d, maxbays %d\n",
          static_cast<int>(count), kGbxConnectorEntries, kGbxPortMaps);
  // All of them, whatever the count: entries that are not there print as zero.
  for (int entry = 0; entry < kGbxConnectorEntries; ++entry) {
    for (int port = 0; port < kGbxPortMaps; ++port) {
      fprintf(stream, " GbxConnectorEntry [%d] portMap[%d]:\n", entry, port);
      dump_connection(table.GbxConnectorEntry[entry].portMap[port], stream);
    }
  }
}

// A number of the machine's byte order, wherever it lies.
template <typename Number>
unsigned number_at(const uint8_t* place) {
  Number number = 0;
  memcpy(&number, place, sizeof number);
  return number;
}

// Prints "   key : " and the value. Lists stand on one line.
void dump_field(const SmbField& field, const uint8_t* place, FILE* stream) {
  fprintf(stream, "   %-24s :", field.key);
  const auto dump_bytes = [&](size_t count) {
    for (size_t index = 0; index < count; ++index) {
      fprintf(stream, " 0x%02x", place[index]);
    }
  };
  switch (field.kind) {
    case kSmbFieldText:
      fprintf(stream, " %s", reinterpret_cast<const char*>(place));
      break;
    case kSmbFieldU8:
      fprintf(stream, " %u", number_at<uint8_t>(place));
      break;
    case kSmbFieldU16:
      fprintf(stream, " %u", number_at<uint16_t>(place));
      break;
    case kSmbFieldU32:
      fprintf(stream, " %u", number_at<uint32_t>(place));
      break;
    case kSmbFieldBytes:
      dump_bytes(field.size_or_count);
      break;
    case kSmbFieldPortMaps:
      dump_bytes(field.size_or_count * sizeof(GbxConnectorEntry));
      break;
  }
  fprintf(stream, "\n");
}

}  // namespace

void dump_bios_info(const SmbBiosInfoRec* record, uint32_t count, FILE* stream) {
  if (record == nullptr || count == 0) {
    return;
  }
  fprintf(stream, "SMBios Info record  (Type %d)\n", 0);
  fprintf(stream, "   vendor                 : %s\n", record->vendor);
  fprintf(stream, "   version                : %s\n", record->version);
  fprintf(stream, "   releaseDate            : %s\n", record->releaseDate);
  fprintf(stream, "   address                : 0x%x\n", record->address);
  fprintf(stream, "   romSize                : %u\n", record->romSize);
  fprintf(stream, "   characteristics[0]     : 0x%x\n", record->characteristics[0]);
  fprintf(stream, "   characteristics[1]     : 0x%x\n", record->characteristics[1]);
  fprintf(stream, "   characteristics[2]     : 0x%x\n", record->characteristics[2]);
  fprintf(stream, "   characteristics[3]     : 0x%x\n", record->characteristics[3]);
  fprintf(stream, "   characteristics[4]     : 0x%x\n", record->characteristics[4]);
  fprintf(stream, "   characteristics[5]     : 0x%x\n", record->characteristics[5]);
  fprintf(stream, "   characteristics[6]     : 0x%x\n", record->characteristics[6]);
  fprintf(stream, "   characteristics[7]     : 0x%x\n", record->characteristics[7]);
  fprintf(stream, "   extCharacteristics1    : 0x%x\n", record->extCharacteristics1);
  fprintf(stream, "   extCharacteristics2    : 0x%x\n", record->extCharacteristics2);
  fprintf(stream, "\n");
}

void dump_system_info(const SmbSystemInfoRec* record, uint32_t count, FILE* stream) {
  if (record == nullptr || count == 0) {
    return;
  }
  fprintf(stream, "System Information record  (Type %d)\n", 1);
  fprintf(stream, "   Manufacturer     : %s\n", record->manufacturer);
  fprintf(stream, "   Product Name     : %s\n", record->productName);
  fprintf(stream, "   Version          : %s\n", record->version);
  fprintf(stream, "   SerialNumber     : %s\n", record->serialNumber);
  fprintf(stream, "   Wakeup Type      : %u\n", record->wakeUpType);
  fprintf(stream, "   SKU              : %s\n", record->sku);
}

void dump_slots(const SmbSlotRec* records, uint32_t count, FILE* stream) {
  for (uint32_t index = 0; records != nullptr && index < count; ++index) {
    dump_slot(records[index], index + 1, stream);
  }
}

void dump_enclosures(const SmbEnclosureRec* records, uint32_t count, FILE* stream) {
  for (uint32_t index = 0; records != nullptr && index < count; ++index) {
    const SmbEnclosureRec& enclosure = records[index];
    fprintf(stream, "   totalEnclosureBays     : %u\n", enclosure.totalEnclosureBays);
    fprintf(stream, "   usedEnclosureBays      : %u\n", enclosure.usedEnclosureBays);
    fprintf(stream, "   rackName               : %s\n", enclosure.rackName);
    fprintf(stream, "   enclosureName          : %s\n", enclosure.enclosureName);
    fprintf(stream, "   enclosureModel         : %s\n", enclosure.enclosureModel);
    fprintf(stream, "   enclosureBayNumber     : %d\n", enclosure.enclosureBayNumber);
    fprintf(stream, "   enclosureSerialNumber  : %s\n", enclosure.enclosureSerialNumber);
    fprintf(stream, "\n");
  }
}

void dump_gbx_tables(const SmbGbxTableRec* records, uint32_t count, FILE* stream) {
  for (uint32_t pass = 0; records != nullptr && pass < count; ++pass) {
    // Always the first, kept on purpose: readers of the output see it repeated
    // (docs/oddities.md: smbios-gbx-dump-repeats).
    dump_gbx_table(*records, count, stream);
  }
}

void dump_server_id(const SmbServerIdRec* records, uint32_t count, FILE* stream) {
  if (records != nullptr && count == 1) {
    fprintf(stream, "   serverSystemIdStr          : %s\n", records->serverSystemIdStr);
  }
}

void dump_by_fields(const SmbType& type, const void* records, uint32_t count, FILE* stream) {
  const auto* record = static_cast<const uint8_t*>(records);
  for (uint32_t number = 1; record != nullptr && number <= count; ++number) {
    SmbRecordHeader header = {};
    memcpy(&header, record, sizeof header);
    fprintf(stream, "%s record #%u  (Type %u)\n", type.name, number, type.type);
    fprintf(stream, "   %-24s : 0x%04X\n", "handle", header.handle);
    for (uint32_t index = 0; index < type.field_count; ++index) {
      dump_field(type.fields[index], record + type.fields[index].offset, stream);
    }
    fprintf(stream, "\n");
    record += type.record_size;
  }
}

void SmbDumpBiosInfo(const SmbBiosInfoRec* record) {
  dump_bios_info(record, 1, stdout);
}

void SmbDumpSystemInfo(const SmbSystemInfoRec* record) {
  dump_system_info(record, 1, stdout);
}

void SmbDumpSlots(const SmbSlotRec* records, uint32_t count) {
  dump_slots(records, count, stdout);
}

void SmbDumpEnclosure(const SmbEnclosureRec* records, uint32_t count) {
  dump_enclosures(records, count, stdout);
}

void SmbDumpGbxTable(const SmbGbxTableRec* records, uint32_t count) {
  dump_gbx_tables(records, count, stdout);
}

void SmbDumpServerId(const SmbServerIdRec* records, uint32_t count) {
  dump_server_id(records, count, stdout);
}
