// SPDX-License-Identifier: Apache-2.0
// The console dumps, to the letter.
#include <functional>
#include <string>
#include <string_view>

#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

std::string printed_by(const std::function<void()>& dump) {
  const OutputCapture output;
  dump();
  return output.text();
}

template <size_t Size>
void set(char (&field)[Size], std::string_view text) {
  text.copy(field, Size - 1);
}

SmbSlotRec slot(const char* designation, uint16_t handle) {
  SmbSlotRec record = {};
  record.header = {9, 17, handle};
  set(record.designation, designation);
  record.type = 165;
  record.busDataWidth = 11;
  record.currentUsage = 4;
  record.length = 3;
  record.id = 513;
  record.characteristics1 = 0x0C;
  record.characteristics2 = 0x05;
  record.segmentGroupNum = 0x8001;
  record.busNum = 0x2F;
  record.devFuncNum = 0xE9;
  return record;
}

TEST(SlotDump, PrintsEveryRecord) {
  const SmbSlotRec slots[] = {slot("PCI-E Slot 1", 0x0901), slot("PCI-E Slot 2", 0x0A)};
  const std::string rest =
      "   type                : 165\n"
      "   busDataWidth        : 11\n"
      "   currentUsage        : 4\n"
      "   length              : 3\n"
      "   id                  : 513\n"
      "   characteristics1    : 0xc\n"
      "   characteristics2    : 0x5\n"
      "   segmentGroupNum     : 0x8001\n"
      "   busNum              : 0x2f\n"
      "   devFuncNum          : 0xe9\n"
      "   SegmentNum          : 0x0\n"
      "\n";
  EXPECT_EQ(printed_by([&] { SmbDumpSlots(slots, 2); }),
            "System Slot record #1  (Type 9)\n"
            "   Handle              : 0x0901\n"
            "   Length              : 17\n"
            "   designation         : PCI-E Slot 1\n" +
                rest +
                "System Slot record #2  (Type 9)\n"
                "   Handle              : 0x000A\n"
                "   Length              : 17\n"
                "   designation         : PCI-E Slot 2\n" +
                rest);
}

class LoadedDump : public LoadedTable {};

TEST_F(LoadedDump, PrintsAShortSlotWithoutPciAddress) {
  load(SmbiosTable().add(SmbiosStructure(9, 0x0901, 13).string(4, "Slot").u8(12, 1)));
  const auto slots = records_of<SmbSlotRec>(9);
  ASSERT_EQ(slots.size(), 1U);
  EXPECT_EQ(printed_by([&] { SmbDumpSlots(slots.data(), 1); }),
            "System Slot record #1  (Type 9)\n"
            "   Handle              : 0x0901\n"
            "   Length              : 13\n"
            "   designation         : Slot\n"
            "   type                : 0\n"
            "   busDataWidth        : 0\n"
            "   currentUsage        : 0\n"
            "   length              : 0\n"
            "   id                  : 0\n"
            "   characteristics1    : 0x0\n"
            "   characteristics2    : 0x1\n"
            "   segmentGroupNum     : 0x0\n"
            "   busNum              : 0x0\n"
            "   devFuncNum          : 0x0\n"
            "   SegmentNum          : 0x0\n"
            "\n");
}

TEST_F(LoadedDump, PrintsTwoServerIdsNotAtAll) {
  load(SmbiosTable()
           .add(SmbiosStructure(195, 1, 5).string(4, "first"))
           .add(SmbiosStructure(195, 2, 5).string(4, "second")));
  const auto ids = records_of<SmbServerIdRec>(195);
  ASSERT_EQ(ids.size(), 2U);
  EXPECT_EQ(printed_by([&] { SmbDumpServerId(ids.data(), 2); }), "");
  EXPECT_EQ(printed_by([&] { SmbDumpServerId(ids.data(), 1); }),
            "   serverSystemIdStr          : first\n");
  EXPECT_EQ(printed_by([&] { SmbDumpServerId(ids.data(), 0); }), "");
}

TEST(BiosDump, PrintsTheRecord) {
  SmbBiosInfoRec record = {};
  set(record.vendor, "Vendor");
  set(record.version, "1.0");
  set(record.releaseDate, "01/02/2024");
  record.address = 0xF000;
  record.romSize = 57408;
  for (uint8_t index = 0; index < 8; ++index) {
    record.characteristics[index] = static_cast<uint8_t>(0xA0 + index);
  }
  record.extCharacteristics1 = 0x03;
  record.extCharacteristics2 = 0xFD;
  EXPECT_EQ(printed_by([&] { SmbDumpBiosInfo(&record); }),
            "SMBios Info record  (Type 0)\n"
            "   vendor                 : Vendor\n"
            "   version                : 1.0\n"
            "   releaseDate            : 01/02/2024\n"
            "   address                : 0xf000\n"
            "   romSize                : 57408\n"
            "   characteristics[0]     : 0xa0\n"
            "   characteristics[1]     : 0xa1\n"
            "   characteristics[2]     : 0xa2\n"
            "   characteristics[3]     : 0xa3\n"
            "   characteristics[4]     : 0xa4\n"
            "   characteristics[5]     : 0xa5\n"
            "   characteristics[6]     : 0xa6\n"
            "   characteristics[7]     : 0xa7\n"
            "   extCharacteristics1    : 0x3\n"
            "   extCharacteristics2    : 0xfd\n"
            "\n");
}

TEST(SystemDump, LeavesOutUuidAndFamily) {
  SmbSystemInfoRec record = {};
  set(record.manufacturer, "Maker");
  set(record.productName, "Product");
  set(record.version, "Rev");
  set(record.serialNumber, "Serial");
  set(record.uuid, "uuid");
  record.wakeUpType = 6;
  set(record.sku, ".");
  set(record.family, "Family");
  EXPECT_EQ(printed_by([&] { SmbDumpSystemInfo(&record); }),
            "System Information record  (Type 1)\n"
            "   Manufacturer     : Maker\n"
            "   Product Name     : Product\n"
            "   Version          : Rev\n"
            "   SerialNumber     : Serial\n"
            "   Wakeup Type      : 6\n"
            "   SKU              : .\n");
}

TEST(EnclosureDump, PrintsEveryRecordWithoutHeading) {
  SmbEnclosureRec records[2] = {};
  set(records[0].rackName, "Rack");
  set(records[0].enclosureName, "Enclosure");
  set(records[0].enclosureModel, "Model");
  set(records[0].enclosureSerialNumber, "Serial");
  records[0].enclosureBayNumber = 7;
  records[0].totalEnclosureBays = 16;
  records[0].usedEnclosureBays = 200;
  EXPECT_EQ(printed_by([&] { SmbDumpEnclosure(records, 2); }),
            "   totalEnclosureBays     : 16\n"
            "   usedEnclosureBays      : 200\n"
            "   rackName               : Rack\n"
            "   enclosureName          : Enclosure\n"
            "   enclosureModel         : Model\n"
            "   enclosureBayNumber     : 7\n"
            "   enclosureSerialNumber  : Serial\n"
            "\n"
            "   totalEnclosureBays     : 0\n"
            "   usedEnclosureBays      : 0\n"
            "   rackName               : \n"
            "   enclosureName          : \n"
            "   enclosureModel         : \n"
            "   enclosureBayNumber     : 0\n"
            "   enclosureSerialNumber  : \n"
            "\n");
}

std::string connection_text(int mezzanine) {
  if (mezzanine == 0) {
    return "   Not Connected\n";
  }
  if (mezzanine <= 4) {
    return "   Switch Port Connects to MEZZ# " + std::to_string(mezzanine) + "\n";
  }
  return mezzanine == 15 ? "   Switch Port Connects to Embedded Device on Virtual MEZZ\n"
                         : "   Reserved Value\n";
}

// One record's dump, when port map n of all 32 has the mezzanine n % 16, the
// mezzanine port n % 4, the offset n, and a double-wide bay where n is odd.
std::string numbered_dump(int count, const std::function<bool(int)>& filled) {
  std::string text =
      "   GbxTableVersion            : 0x1\n"
      "   Total GbXEntries           : 2\n"
      "   recordCount " +
      std::to_string(count) + ", maxgbxconnectorentry 4, maxbays 8\n";
  for (int map = 0; map < 32; ++map) {
    const int value = filled(map) ? map : 0;
    text += " GbxConnectorEntry [" + std::to_string(map / 8) + "] portMap[" +
            std::to_string(map % 8) + "]:\n";
    text += "   MEZZ Port Number   " + std::to_string(value % 4) + "\n";
    text += connection_text(value % 16);
    text += "   Port Offset from SVB bay   " + std::to_string(value) + "\n";
    text += value % 2 == 1 ? "   Bay Width:  Double Wide\n" : "   Bay Width:  Single Wide\n";
  }
  return text;
}

// The bits that mean nothing (3..2 of byte 0, 6..5 of byte 1) are set.
GbxPortMap numbered_map(int map) {
  return {static_cast<uint8_t>((map % 16) << 4 | 0x0C | map % 4),
          static_cast<uint8_t>((map % 2) << 7 | 0x60 | map)};
}

TEST(GbxDump, PrintsEveryPortMap) {
  SmbGbxTableRec record = {};
  record.GbxTableVersion = 1;
  record.entryCount = 2;
  for (int map = 0; map < 32; ++map) {
    record.GbxConnectorEntry[map / 8].portMap[map % 8] = numbered_map(map);
  }
  EXPECT_EQ(printed_by([&] { SmbDumpGbxTable(&record, 1); }),
            numbered_dump(1, [](int) { return true; }));
}

TEST(GbxDump, RepeatsTheFirstRecord) {
  SmbGbxTableRec records[2] = {};
  records[0].GbxTableVersion = 1;
  records[0].entryCount = 2;
  records[1].GbxTableVersion = 9;
  const std::string once = numbered_dump(2, [](int) { return false; });
  EXPECT_EQ(printed_by([&] { SmbDumpGbxTable(records, 2); }), once + once);
}

TEST_F(LoadedDump, PrintsAllFourEntriesOfATableWithTwo) {
  SmbiosStructure structure(222, 1, 38);
  structure.u16(4, 1);
  size_t offset = 6;
  for (int map = 0; map < 16; ++map) {
    const GbxPortMap value = numbered_map(map);
    structure.u8(offset, value.connection).u8(offset + 1, value.bay);
    offset += 2;
  }
  load(SmbiosTable().add(structure));
  const auto tables = records_of<SmbGbxTableRec>(222);
  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(printed_by([&] { SmbDumpGbxTable(tables.data(), 1); }),
            numbered_dump(1, [](int map) { return map < 16; }));
}

TEST(Dumps, PrintNothingForNoRecords) {
  EXPECT_EQ(printed_by([] {
              SmbDumpBiosInfo(nullptr);
              SmbDumpSystemInfo(nullptr);
              SmbDumpSlots(nullptr, 2);
              SmbDumpEnclosure(nullptr, 2);
              SmbDumpGbxTable(nullptr, 2);
              SmbDumpServerId(nullptr, 1);
              const SmbSlotRec none = {};
              SmbDumpSlots(&none, 0);
            }),
            "");
}

}  // namespace
