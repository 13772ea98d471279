// Console dumps of the records.
#include <cstdio>

#include "ortinv/smbios_records.h"

namespace {

void dump_slot(const SmbSlotRec& slot, uint32_t number) {
  printf("System Slot record #%d  (Type %d)\n", static_cast<int>(number), 9);
  printf("   Handle              : 0x%04X\n", slot.header.handle);
  printf("   Length              : %u\n", slot.header.length);
  printf("   designation         : %s\n", slot.designation);
  printf("   type                : %u\n", slot.type);
  printf("   busDataWidth        : %u\n", slot.busDataWidth);
  printf("   currentUsage        : %u\n", slot.currentUsage);
  printf("   length              : %u\n", slot.length);
  printf("   id                  : %u\n", slot.id);
  printf("   characteristics1    : 0x%x\n", slot.characteristics1);
  printf("   characteristics2    : 0x%x\n", slot.characteristics2);
  printf("   segmentGroupNum     : 0x%x\n", slot.segmentGroupNum);
  printf("   busNum              : 0x%x\n", slot.busNum);
  printf("   devFuncNum          : 0x%x\n", slot.devFuncNum);
  printf("   SegmentNum          : 0x%x\n", slot.SegmentNum);
  printf("\n");
}

void dump_connection(const GbxPortMap& map) {
  constexpr int kEmbedded = 15;
  // Bits 3 and 2 of the connection, and 6 and 5 of the bay, mean nothing.
  const int mezzanine = map.connection >> 4;
  printf("   MEZZ Port Number   %d\n", map.connection & 0x03);
  if (mezzanine == 0) {
    printf("   Not Connected\n");
  } else if (mezzanine <= 4) {
    printf("   Switch Port Connects to MEZZ# %d\n", mezzanine);
  } else if (mezzanine == kEmbedded) {
    printf("   Switch Port Connects to Embedded Device on Virtual MEZZ\n");
  } else {
    printf("   Reserved Value\n");
  }
  printf("   Port Offset from SVB bay   %d\n", map.bay & 0x1F);
  printf("%s\n",
         (map.bay & 0x80) != 0 ? "   Bay Width:  Double Wide" : "   Bay Width:  Single Wide");
}

void dump_gbx_table(const SmbGbxTableRec& table, uint32_t count) {
  printf("   GbxTableVersion            : 0x%x\n", table.GbxTableVersion);
  printf("   Total GbXEntries           : %d\n", table.entryCount);
  printf("   recordCount %d, maxgbxconnectorentry %d, maxbays %d\n", static_cast<int>(count),
         kGbxConnectorEntries, kGbxPortMaps);
  // All of them, whatever the count: entries that are not there print as zero.
  for (int entry = 0; entry < kGbxConnectorEntries; ++entry) {
    for (int port = 0; port < kGbxPortMaps; ++port) {
      printf(" GbxConnectorEntry [%d] portMap[%d]:\n", entry, port);
      dump_connection(table.GbxConnectorEntry[entry].portMap[port]);
    }
  }
}

}  // namespace

void SmbDumpBiosInfo(const SmbBiosInfoRec* record) {
  if (record == nullptr) {
    return;
  }
  printf("SMBios Info record  (Type %d)\n", 0);
  printf("   vendor                 : %s\n", record->vendor);
  printf("   version                : %s\n", record->version);
  printf("   releaseDate            : %s\n", record->releaseDate);
  printf("   address                : 0x%x\n", record->address);
  printf("   romSize                : %u\n", record->romSize);
  printf("   characteristics[0]     : 0x%x\n", record->characteristics[0]);
  printf("   characteristics[1]     : 0x%x\n", record->characteristics[1]);
  printf("   characteristics[2]     : 0x%x\n", record->characteristics[2]);
  printf("   characteristics[3]     : 0x%x\n", record->characteristics[3]);
  printf("   characteristics[4]     : 0x%x\n", record->characteristics[4]);
  printf("   characteristics[5]     : 0x%x\n", record->characteristics[5]);
  printf("   characteristics[6]     : 0x%x\n", record->characteristics[6]);
  printf("   characteristics[7]     : 0x%x\n", record->characteristics[7]);
  printf("   extCharacteristics1    : 0x%x\n", record->extCharacteristics1);
  printf("   extCharacteristics2    : 0x%x\n", record->extCharacteristics2);
  printf("\n");
}

void SmbDumpSystemInfo(const SmbSystemInfoRec* record) {
  if (record == nullptr) {
    return;
  }
  printf("System Information record  (Type %d)\n", 1);
  printf("   Manufacturer     : %s\n", record->manufacturer);
  printf("   Product Name     : %s\n", record->productName);
  printf("   Version          : %s\n", record->version);
  printf("   SerialNumber     : %s\n", record->serialNumber);
  printf("   Wakeup Type      : %u\n", record->wakeUpType);
  printf("   SKU              : %s\n", record->sku);
}

void SmbDumpSlots(const SmbSlotRec* records, uint32_t count) {
  for (uint32_t index = 0; records != nullptr && index < count; ++index) {
    dump_slot(records[index], index + 1);
  }
}

void SmbDumpEnclosure(const SmbEnclosureRec* records, uint32_t count) {
  for (uint32_t index = 0; records != nullptr && index < count; ++index) {
    const SmbEnclosureRec& enclosure = records[index];
    printf("   totalEnclosureBays     : %u\n", enclosure.totalEnclosureBays);
    printf("   usedEnclosureBays      : %u\n", enclosure.usedEnclosureBays);
    printf("   rackName               : %s\n", enclosure.rackName);
    printf("   enclosureName          : %s\n", enclosure.enclosureName);
    printf("   enclosureModel         : %s\n", enclosure.enclosureModel);
    printf("   enclosureBayNumber     : %d\n", enclosure.enclosureBayNumber);
    printf("   enclosureSerialNumber  : %s\n", enclosure.enclosureSerialNumber);
    printf("\n");
  }
}

void SmbDumpGbxTable(const SmbGbxTableRec* records, uint32_t count) {
  for (uint32_t pass = 0; records != nullptr && pass < count; ++pass) {
    dump_gbx_table(*records, count);  // always the first, kept on purpose
  }
}

void SmbDumpServerId(const SmbServerIdRec* records, uint32_t count) {
  if (records != nullptr && count == 1) {
    printf("   serverSystemIdStr          : %s\n", records->serverSystemIdStr);
  }
}
