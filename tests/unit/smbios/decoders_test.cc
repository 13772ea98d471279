// SPDX-License-Identifier: Apache-2.0
// Structures as fixed-size records: fields, thresholds of length, texts.
#include <cstring>
#include <string>

#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class Decoders : public LoadedTable {
 protected:
  // The record of a table that holds this structure alone.
  template <typename Record>
  static Record decode(const SmbiosStructure& structure) {
    return decode_raw<Record>(structure.encode());
  }
  template <typename Record>
  static Record decode_raw(const std::vector<uint8_t>& structure) {
    EXPECT_EQ(init_from(image_at_block_end(SmbiosTable().add_raw(structure))), 0);
    const auto records = records_of<Record>(structure[0]);
    EXPECT_EQ(records.size(), 1U);
    EXPECT_EQ(SmBiosTerm(), 0);
    return records.empty() ? Record{} : records[0];
  }

  static std::vector<uint8_t> bytes_of(const uint8_t* bytes, size_t count) {
    return {bytes, bytes + count};
  }
};

class BiosInfo : public Decoders {};
class SystemInfo : public Decoders {};
class SystemUuid : public Decoders {};
class SlotInfo : public Decoders {};
class EnclosureInfo : public Decoders {};
class GbxTable : public Decoders {};
class ServerId : public Decoders {};

// Every record of the rest of a table ends at the block's end.
SmbiosStructure bios(uint8_t length) {
  SmbiosStructure structure(0, 0x1234, length);
  const std::vector<uint8_t> fields = {1,    2,    0x00, 0xE8, 3,    0x0F, 0x11, 0x22, 0x33, 0x44,
                                       0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE};
  structure.bytes(4, {fields.begin(), fields.begin() + (length - 4)});
  return structure.string("Vendor").string("Version 1").string("01/02/2024");
}

TEST_F(BiosInfo, HasAllFields) {
  const auto record = decode<SmbBiosInfoRec>(bios(24));
  EXPECT_EQ(record.header.type, 0);
  EXPECT_EQ(record.header.length, 24);
  EXPECT_EQ(+record.header.handle, 0x1234);
  EXPECT_STREQ(record.vendor, "Vendor");
  EXPECT_STREQ(record.version, "Version 1");
  EXPECT_STREQ(record.releaseDate, "01/02/2024");
  EXPECT_EQ(+record.address, 0xE800U);
  EXPECT_EQ(+record.romSize, 1024);
  EXPECT_EQ(bytes_of(record.characteristics, 8),
            std::vector<uint8_t>({0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}));
  EXPECT_EQ(record.extCharacteristics1, 0x99);
  EXPECT_EQ(record.extCharacteristics2, 0xAA);
}

TEST_F(BiosInfo, HasExtendedCharacteristicsFromLength21On) {
  EXPECT_EQ(decode<SmbBiosInfoRec>(bios(21)).extCharacteristics1, 0x99);
  EXPECT_EQ(decode<SmbBiosInfoRec>(bios(21)).extCharacteristics2, 0xAA);
  EXPECT_EQ(decode<SmbBiosInfoRec>(bios(20)).extCharacteristics1, 0);
  EXPECT_EQ(decode<SmbBiosInfoRec>(bios(20)).extCharacteristics2, 0);
}

TEST_F(BiosInfo, ReadsTheRomSizeAsSigned) {
  const auto rom_size = [](uint8_t size) {
    return decode<SmbBiosInfoRec>(bios(24).u8(9, size)).romSize;
  };
  EXPECT_EQ(rom_size(0x00), 64);
  EXPECT_EQ(rom_size(0x0F), 1024);
  EXPECT_EQ(rom_size(0x7F), 8192);
  EXPECT_EQ(rom_size(0x80), 65536 - 8128);
  EXPECT_EQ(rom_size(0xFE), 65536 - 64);
  EXPECT_EQ(rom_size(0xFF), 0);
}

TEST_F(BiosInfo, HasNoAddressForZero) {
  EXPECT_EQ(+decode<SmbBiosInfoRec>(bios(24).u16(6, 0)).address, 0U);
}

// All fields but the last two are read whatever the length: here from the
// strings behind the formatted area.
TEST_F(BiosInfo, ReadsFieldsBehindAShortFormattedArea) {
  const auto record = decode_raw<SmbBiosInfoRec>(
      {0, 6, 1, 0, 1, 2, 'A', 'B', 1, 3, 'C', 'D', 0, 'E', 'F', 'G', 'H', 'I', 'J', 0, 0});
  EXPECT_STREQ(record.vendor, "AB..CD");
  EXPECT_STREQ(record.version, "EFGHIJ");
  EXPECT_EQ(+record.address, 0x4241U);
  EXPECT_EQ(bytes_of(record.characteristics, 8),
            std::vector<uint8_t>({'C', 'D', 0, 'E', 'F', 'G', 'H', 'I'}));
}

TEST_F(BiosInfo, IsZeroBehindTheBlocksEnd) {
  const auto record = decode_raw<SmbBiosInfoRec>({0, 24, 0x34, 0x12, 1, 1, 0xFF});
  EXPECT_STREQ(record.vendor, "Undefined");
  EXPECT_STREQ(record.version, "Undefined");
  EXPECT_STREQ(record.releaseDate, "Undefined");
  EXPECT_EQ(+record.address, 0x00FFU);
  EXPECT_EQ(+record.romSize, 64);
  EXPECT_EQ(bytes_of(record.characteristics, 8), std::vector<uint8_t>(8));
  EXPECT_EQ(record.extCharacteristics1, 0);
}

TEST_F(BiosInfo, CutsTextsToTheirFields) {
  const std::string vendor(200, 'v');
  const std::string version(64, 'w');
  const std::string date(63, 'd');
  const auto record = decode<SmbBiosInfoRec>(
      SmbiosStructure(0, 1, 24).string(4, vendor).string(5, version).string(8, date));
  EXPECT_EQ(std::string(record.vendor), std::string(127, 'v'));
  EXPECT_EQ(std::string(record.version), std::string(63, 'w'));
  EXPECT_EQ(std::string(record.releaseDate), date);
}

SmbiosStructure system_info(uint8_t length) {
  SmbiosStructure structure(1, 0x0100, length);
  const std::vector<uint8_t> fields = {1,    2,    3,    4,    0x00, 0x11, 0x22, 0x33,
                                       0x44, 0x55, 0x66, 0x47, 0x88, 0x99, 0xAA, 0xBB,
                                       0xCC, 0xDD, 0xEE, 0xFF, 6,    5,    6};
  structure.bytes(4, {fields.begin(), fields.begin() + (length - 4)});
  return structure.string("Maker")
      .string("Product")
      .string("Rev")
      .string("Serial")
      .string("Sku")
      .string("Family");
}

TEST_F(SystemInfo, HasAllFields) {
  const auto record = decode<SmbSystemInfoRec>(system_info(27));
  EXPECT_EQ(record.header.type, 1);
  EXPECT_EQ(record.header.length, 27);
  EXPECT_EQ(+record.header.handle, 0x0100);
  EXPECT_STREQ(record.manufacturer, "Maker");
  EXPECT_STREQ(record.productName, "Product");
  EXPECT_STREQ(record.version, "Rev");
  EXPECT_STREQ(record.serialNumber, "Serial");
  EXPECT_STREQ(record.uuid, "33221100-5544-4766-8899-aabbccddeeff");
  EXPECT_EQ(record.wakeUpType, 6);
  EXPECT_STREQ(record.sku, "Sku");
  EXPECT_STREQ(record.family, "Family");
}

TEST_F(SystemInfo, HasADotForSkuAndNoFamilyBelowLength27) {
  for (const uint8_t length : {uint8_t{25}, uint8_t{26}}) {
    const auto record = decode<SmbSystemInfoRec>(system_info(length));
    EXPECT_STREQ(record.uuid, "33221100-5544-4766-8899-aabbccddeeff");
    EXPECT_EQ(record.wakeUpType, 6);
    EXPECT_STREQ(record.sku, ".");
    EXPECT_STREQ(record.family, "");
  }
}

TEST_F(SystemInfo, HasTheFirstFourTextsOnlyBelowLength25) {
  for (const uint8_t length : {uint8_t{8}, uint8_t{24}}) {
    const auto record = decode<SmbSystemInfoRec>(system_info(length));
    EXPECT_STREQ(record.manufacturer, "Maker");
    EXPECT_STREQ(record.serialNumber, "Serial");
    EXPECT_STREQ(record.uuid, "");
    EXPECT_EQ(record.wakeUpType, 0);
    EXPECT_STREQ(record.sku, "");
    EXPECT_STREQ(record.family, "");
  }
}

TEST_F(SystemInfo, HasTheHeaderOnlyBelowLength8) {
  const auto record = decode<SmbSystemInfoRec>(system_info(7));
  EXPECT_EQ(record.header.length, 7);
  EXPECT_EQ(+record.header.handle, 0x0100);
  EXPECT_STREQ(record.manufacturer, "");
  EXPECT_STREQ(record.productName, "");
}

TEST_F(SystemInfo, SaysUndefinedForMissingTexts) {
  const auto record = decode<SmbSystemInfoRec>(SmbiosStructure(1, 1, 27).u8(26, 9));
  EXPECT_STREQ(record.manufacturer, "Undefined");
  EXPECT_STREQ(record.sku, "Undefined");
  EXPECT_STREQ(record.family, "Undefined");
}

TEST_F(SystemInfo, IsZeroBehindTheBlocksEnd) {
  const auto record = decode_raw<SmbSystemInfoRec>({1, 27, 0, 1, 1, 1, 1, 1, 0x99});
  EXPECT_STREQ(record.manufacturer, "Undefined");
  EXPECT_STREQ(record.uuid, "00000099-0000-0000-0000-000000000000");
  EXPECT_EQ(record.wakeUpType, 0);
  EXPECT_STREQ(record.family, "Undefined");
}

std::string uuid_text_of(const std::vector<uint8_t>& uuid) {
  EXPECT_EQ(init_from(SmbiosTable().add(SmbiosStructure(1, 1, 27).bytes(8, uuid)).device_image()),
            0);
  const auto records = records_of<SmbSystemInfoRec>(1);
  EXPECT_EQ(SmBiosTerm(), 0);
  return records.empty() ? "" : records[0].uuid;
}

// Bytes 6 and 7, the third group, decide.
std::string uuid_text_of_third_group(uint8_t byte6, uint8_t byte7) {
  return uuid_text_of({0x01, 0x02, 0x03, 0x04, 0x05, 0x06, byte6, byte7, 0x08, 0x09, 0x0A, 0x0B,
                       0x0C, 0x0D, 0x0E, 0x0F});
}

TEST_F(SystemUuid, IsReversedWhereTheThirdGroupIsStoredBigEndian) {
  EXPECT_EQ(uuid_text_of_third_group(0x11, 0xD0), "01020304-0506-11d0-0809-0a0b0c0d0e0f");
  EXPECT_EQ(uuid_text_of_third_group(0x11, 0xD2), "01020304-0506-11d2-0809-0a0b0c0d0e0f");
}

TEST_F(SystemUuid, IsPrintedAsReadWhereTheThirdGroupIsStoredLittleEndian) {
  EXPECT_EQ(uuid_text_of_third_group(0xD0, 0x11), "04030201-0605-11d0-0809-0a0b0c0d0e0f");
}

TEST_F(SystemUuid, IsPrintedAsReadWhereTheThirdGroupIsZero) {
  EXPECT_EQ(uuid_text_of_third_group(0x00, 0x00), "04030201-0605-0000-0809-0a0b0c0d0e0f");
}

TEST_F(SystemUuid, IsPrintedAsReadWhereTheThirdGroupHasBothMarksOrNeither) {
  EXPECT_EQ(uuid_text_of_third_group(0xFF, 0xFF), "04030201-0605-ffff-0809-0a0b0c0d0e0f");
  EXPECT_EQ(uuid_text_of_third_group(0xD1, 0xD1), "04030201-0605-d1d1-0809-0a0b0c0d0e0f");
  EXPECT_EQ(uuid_text_of_third_group(0x11, 0x40), "04030201-0605-4011-0809-0a0b0c0d0e0f");
  EXPECT_EQ(uuid_text_of_third_group(0x01, 0xD0), "04030201-0605-d001-0809-0a0b0c0d0e0f");
}

SmbiosStructure slot(uint8_t length) {
  SmbiosStructure structure(9, 0x0901, length);
  const std::vector<uint8_t> fields = {1,    0xA5, 0x0B, 4,    3,    0x02, 0x01,
                                       0x0C, 0x05, 0x01, 0x80, 0x2F, 0xE9};
  structure.bytes(4, {fields.begin(), fields.begin() + (length - 4)});
  return structure.string("PCI-E Slot 1");
}

TEST_F(SlotInfo, HasAllFields) {
  const auto record = decode<SmbSlotRec>(slot(17));
  EXPECT_EQ(record.header.type, 9);
  EXPECT_EQ(record.header.length, 17);
  EXPECT_EQ(+record.header.handle, 0x0901);
  EXPECT_STREQ(record.designation, "PCI-E Slot 1");
  EXPECT_EQ(record.type, 0xA5);
  EXPECT_EQ(record.busDataWidth, 0x0B);
  EXPECT_EQ(record.currentUsage, 4);
  EXPECT_EQ(record.length, 3);
  EXPECT_EQ(+record.id, 0x0102);
  EXPECT_EQ(record.characteristics1, 0x0C);
  EXPECT_EQ(record.characteristics2, 0x05);
  EXPECT_EQ(+record.segmentGroupNum, 0x8001);
  EXPECT_EQ(record.busNum, 0x2F);
  EXPECT_EQ(record.devFuncNum, 0xE9);
  EXPECT_EQ(record.SegmentNum, 0);
}

TEST_F(SlotInfo, HasNoPciAddressBelowLength14) {
  const auto record = decode<SmbSlotRec>(slot(13));
  EXPECT_EQ(record.characteristics2, 0x05);
  EXPECT_EQ(+record.segmentGroupNum, 0);
  EXPECT_EQ(record.busNum, 0);
  EXPECT_EQ(record.devFuncNum, 0);
}

// Bytes 14 to 16 are then the first letters of the string.
TEST_F(SlotInfo, HasAPciAddressFromLength14On) {
  const auto record = decode<SmbSlotRec>(slot(14));
  EXPECT_EQ(+record.segmentGroupNum, 'P' << 8 | 0x01);
  EXPECT_EQ(record.busNum, 'C');
  EXPECT_EQ(record.devFuncNum, 'I');
}

SmbiosStructure enclosure(std::string_view bay) {
  return SmbiosStructure(204, 0xCC00, 11)
      .string(4, "Rack")
      .string(5, "Enclosure")
      .string(6, "Model")
      .string(7, bay)
      .u8(8, 16)
      .u8(9, 200)
      .string(10, "Serial");
}

TEST_F(EnclosureInfo, HasAllFields) {
  const auto record = decode<SmbEnclosureRec>(enclosure("07"));
  EXPECT_EQ(record.header.type, 204);
  EXPECT_EQ(record.header.length, 11);
  EXPECT_EQ(+record.header.handle, 0xCC00);
  EXPECT_STREQ(record.rackName, "Rack");
  EXPECT_STREQ(record.enclosureName, "Enclosure");
  EXPECT_STREQ(record.enclosureModel, "Model");
  EXPECT_EQ(record.enclosureBayNumber, 7);
  EXPECT_EQ(record.totalEnclosureBays, 16);
  EXPECT_EQ(record.usedEnclosureBays, 200);
  EXPECT_STREQ(record.enclosureSerialNumber, "Serial");
}

TEST_F(EnclosureInfo, CutsTheBayNumberToEightBits) {
  const auto bay = [](std::string_view text) {
    return decode<SmbEnclosureRec>(enclosure(text)).enclosureBayNumber;
  };
  EXPECT_EQ(bay("300"), 44);
  EXPECT_EQ(bay("255"), 255);
  EXPECT_EQ(bay("256"), 0);
  EXPECT_EQ(bay("12A"), 12);
  EXPECT_EQ(bay("0x10"), 0);
  EXPECT_EQ(bay("A12"), 0);
  EXPECT_EQ(bay(" 5"), 5);
}

TEST_F(EnclosureInfo, HasBayZeroWithoutBayText) {
  EXPECT_EQ(decode<SmbEnclosureRec>(enclosure("07").u8(7, 0)).enclosureBayNumber, 0);
}

TEST_F(EnclosureInfo, HasTheHeaderOnlyBelowLength11) {
  const auto record =
      decode<SmbEnclosureRec>(SmbiosStructure(204, 0xCC00, 10).string(4, "Rack").u8(8, 16));
  EXPECT_EQ(+record.header.handle, 0xCC00);
  EXPECT_STREQ(record.rackName, "");
  EXPECT_EQ(record.totalEnclosureBays, 0);
}

TEST_F(EnclosureInfo, CutsTextsToTheirFields) {
  const auto record = decode<SmbEnclosureRec>(SmbiosStructure(204, 1, 11)
                                                  .string(4, std::string(300, 'r'))
                                                  .string(10, std::string(300, 's')));
  EXPECT_EQ(std::string(record.rackName), std::string(255, 'r'));
  EXPECT_EQ(std::string(record.enclosureSerialNumber), std::string(127, 's'));
}

// A connector table of this length, with bytes 6, 7, 8 ... holding 1, 2, 3 ...
SmbiosStructure gbx_table(uint8_t length) {
  SmbiosStructure structure(222, 0xDE00, length);
  for (uint8_t offset = 6; offset < length; ++offset) {
    structure.u8(offset, static_cast<uint8_t>(offset - 5));
  }
  return length >= 6 ? structure.u16(4, 0x0203) : structure;
}

// How many entries in a row, from the first on, hold what the structure holds.
size_t filled_entries(const SmbGbxTableRec& record) {
  size_t filled = 0;
  std::vector<uint8_t> expected(16, 1);
  for (const GbxConnectorEntry& entry : record.GbxConnectorEntry) {
    std::vector<uint8_t> bytes(sizeof entry);
    memcpy(bytes.data(), &entry, sizeof entry);
    for (size_t index = 0; index < expected.size(); ++index) {
      expected[index] = static_cast<uint8_t>(filled * 16 + index + 1);
    }
    if (bytes == expected) {
      ++filled;
    } else {
      EXPECT_EQ(bytes, std::vector<uint8_t>(sizeof entry));
    }
  }
  return filled;
}

TEST_F(GbxTable, HasItsVersionAndEntries) {
  const auto record = decode<SmbGbxTableRec>(gbx_table(38));
  EXPECT_EQ(record.header.type, 222);
  EXPECT_EQ(record.header.length, 38);
  EXPECT_EQ(+record.header.handle, 0xDE00);
  EXPECT_EQ(record.GbxTableVersion, 3);
  EXPECT_EQ(record.entryCount, 2);
  EXPECT_EQ(filled_entries(record), 2U);
  EXPECT_EQ(record.GbxConnectorEntry[1].portMap[7].connection, 31);
  EXPECT_EQ(record.GbxConnectorEntry[1].portMap[7].bay, 32);
}

TEST_F(GbxTable, CountsWholeEntriesOnly) {
  EXPECT_EQ(decode<SmbGbxTableRec>(gbx_table(6)).entryCount, 0);
  EXPECT_EQ(decode<SmbGbxTableRec>(gbx_table(21)).entryCount, 0);
  EXPECT_EQ(filled_entries(decode<SmbGbxTableRec>(gbx_table(21))), 0U);
  EXPECT_EQ(decode<SmbGbxTableRec>(gbx_table(22)).entryCount, 1);
  EXPECT_EQ(decode<SmbGbxTableRec>(gbx_table(69)).entryCount, 3);
  EXPECT_EQ(filled_entries(decode<SmbGbxTableRec>(gbx_table(70))), 4U);
}

TEST_F(GbxTable, CopiesNoMoreThanFourEntries) {
  const auto record = decode<SmbGbxTableRec>(gbx_table(255));
  EXPECT_EQ(record.entryCount, 15);
  EXPECT_EQ(filled_entries(record), 4U);
}

TEST_F(GbxTable, HasTheHeaderOnlyBelowLength6) {
  const auto record = decode_raw<SmbGbxTableRec>({222, 5, 0, 0xDE, 9, 0, 0});
  EXPECT_EQ(+record.header.handle, 0xDE00);
  EXPECT_EQ(record.GbxTableVersion, 0);
  EXPECT_EQ(record.entryCount, 0);
}

TEST_F(GbxTable, IsZeroBehindTheBlocksEnd) {
  const auto record = decode_raw<SmbGbxTableRec>({222, 70, 0, 0xDE, 1, 0, 0x11});
  EXPECT_EQ(record.entryCount, 4);
  EXPECT_EQ(record.GbxConnectorEntry[0].portMap[0].connection, 0x11);
  EXPECT_EQ(record.GbxConnectorEntry[0].portMap[0].bay, 0);
  EXPECT_EQ(record.GbxConnectorEntry[3].portMap[7].bay, 0);
}

TEST_F(ServerId, HasItsTextForLength5Only) {
  const auto record = decode<SmbServerIdRec>(SmbiosStructure(195, 0xC300, 5).string(4, "SERVER-1"));
  EXPECT_EQ(record.header.type, 195);
  EXPECT_EQ(record.header.length, 5);
  EXPECT_EQ(+record.header.handle, 0xC300);
  EXPECT_STREQ(record.serverSystemIdStr, "SERVER-1");
  const auto longer = decode<SmbServerIdRec>(SmbiosStructure(195, 1, 6).string(4, "SERVER-1"));
  EXPECT_STREQ(longer.serverSystemIdStr, "");
  const auto shorter = decode<SmbServerIdRec>(SmbiosStructure(195, 1, 4).string("SERVER-1"));
  EXPECT_STREQ(shorter.serverSystemIdStr, "");
}

TEST_F(ServerId, CutsTheTextToItsField) {
  const auto record =
      decode<SmbServerIdRec>(SmbiosStructure(195, 1, 5).string(4, std::string(32, 'i')));
  EXPECT_EQ(std::string(record.serverSystemIdStr), std::string(31, 'i'));
}

TEST_F(Decoders, WriteTheRecordOfTheirIndexOnly) {
  load(SmbiosTable().add(SmbiosStructure(9, 0x0900, 17).string(4, "Slot")));
  SmbSlotRec slots[3] = {};
  EXPECT_EQ(SmbDecodeSlot(slots, structure_of(9), 1), 0);
  EXPECT_EQ(slots[0].header.type, 0);
  EXPECT_STREQ(slots[1].designation, "Slot");
  EXPECT_EQ(slots[2].header.type, 0);
}

TEST_F(Decoders, RefuseNull) {
  load(SmbiosTable().add(SmbiosStructure(0, 1, 24)));
  const uint8_t* structure = structure_of(0);
  SmbBiosInfoRec bios_info = {};
  SmbSystemInfoRec system = {};
  SmbSlotRec slot_record = {};
  SmbEnclosureRec enclosure_record = {};
  SmbGbxTableRec gbx = {};
  SmbServerIdRec server_id = {};
  EXPECT_EQ(SmbDecodeBiosInfo(nullptr, structure, 0), -1);
  EXPECT_EQ(SmbDecodeBiosInfo(&bios_info, nullptr, 0), -1);
  EXPECT_EQ(SmbDecodeSystemInfo(nullptr, structure, 0), -1);
  EXPECT_EQ(SmbDecodeSystemInfo(&system, nullptr, 0), -1);
  EXPECT_EQ(SmbDecodeSlot(nullptr, structure, 0), -1);
  EXPECT_EQ(SmbDecodeSlot(&slot_record, nullptr, 0), -1);
  EXPECT_EQ(SmbDecodeEnclosure(nullptr, structure, 0), -1);
  EXPECT_EQ(SmbDecodeEnclosure(&enclosure_record, nullptr, 0), -1);
  SmbDecodeGbxTable(nullptr, structure, 0);
  SmbDecodeGbxTable(&gbx, nullptr, 0);
  EXPECT_EQ(gbx.header.length, 0);
  SmbDecodeServerId(nullptr, structure, 0);
  SmbDecodeServerId(&server_id, nullptr, 0);
  EXPECT_EQ(server_id.header.length, 0);
}

}  // namespace
