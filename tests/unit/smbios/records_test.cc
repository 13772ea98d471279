// SPDX-License-Identifier: Apache-2.0
// Arrays of decoded records of one type.
#include <array>

#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class Records : public LoadedTable {};

SmbiosTable one_of_each() {
  return SmbiosTable()
      .add(SmbiosStructure(0, 0x0000, 24))
      .add(SmbiosStructure(1, 0x0100, 27))
      .add(SmbiosStructure(2, 0x0200, 8))
      .add(SmbiosStructure(9, 0x0900, 17))
      .add(SmbiosStructure(195, 0xC300, 5))
      .add(SmbiosStructure(203, 0xCB00, 40))
      .add(SmbiosStructure(204, 0xCC00, 11))
      .add(SmbiosStructure(222, 0xDE00, 22));
}

TEST_F(Records, HaveTheHeaderOfTheirStructure) {
  load(one_of_each());
  const std::array expected = {
      SmbRecordHeader{0, 24, 0x0000},   SmbRecordHeader{1, 27, 0x0100},
      SmbRecordHeader{9, 17, 0x0900},   SmbRecordHeader{195, 5, 0xC300},
      SmbRecordHeader{204, 11, 0xCC00}, SmbRecordHeader{222, 22, 0xDE00},
  };
  for (const SmbRecordHeader& header : expected) {
    const auto found = records_of<SmbRecordHeader>(header.type);
    ASSERT_EQ(found.size(), 1U) << header.type;
    EXPECT_EQ(found[0].type, header.type);
    EXPECT_EQ(found[0].length, header.length);
    EXPECT_EQ(+found[0].handle, +header.handle);
  }
}

TEST_F(Records, ComeInTableOrder) {
  load(SmbiosTable()
           .add(SmbiosStructure(9, 0x30, 17).string(4, "third handle"))
           .add(SmbiosStructure(1, 0x01, 27))
           .add(SmbiosStructure(9, 0x10, 17).string(4, "first handle"))
           .add(SmbiosStructure(9, 0x20, 17).string(4, "second handle")));
  const auto slots = records_of<SmbSlotRec>(9);
  ASSERT_EQ(slots.size(), 3U);
  EXPECT_STREQ(slots[0].designation, "third handle");
  EXPECT_STREQ(slots[1].designation, "first handle");
  EXPECT_STREQ(slots[2].designation, "second handle");
}

TEST_F(Records, AreNotReturnedForTypesWithoutRecord) {
  load(one_of_each());
  for (const uint32_t type : {2U, 203U, 3U, 127U, 255U, 256U, 257U, 0x10000U + 9, 0xFFFFFFFFU}) {
    void* records = this;
    uint32_t count = 3;
    EXPECT_EQ(SmBiosGetRecords(type, &records, &count), -1) << type;
    EXPECT_EQ(records, nullptr) << type;
    EXPECT_EQ(count, 0U) << type;
  }
}

TEST_F(Records, AreNotReturnedWithoutStructures) {
  load(SmbiosTable().add(SmbiosStructure(1, 1, 27)));
  void* records = this;
  uint32_t count = 3;
  EXPECT_EQ(SmBiosGetRecords(9, &records, &count), -1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(Records, AreReturnedWithoutCount) {
  load(one_of_each());
  void* records = nullptr;
  EXPECT_EQ(SmBiosGetRecords(1, &records, nullptr), 0);
  EXPECT_NE(records, nullptr);
  free(records);
}

TEST_F(Records, NeedAPlaceForTheArray) {
  load(one_of_each());
  uint32_t count = 3;
  EXPECT_EQ(SmBiosGetRecords(1, nullptr, &count), -1);
  EXPECT_EQ(count, 0U);
}

TEST_F(Records, AreNotReturnedWithoutTable) {
  void* records = this;
  uint32_t count = 3;
  EXPECT_EQ(SmBiosGetRecords(1, &records, &count), -1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(Records, AreNotReturnedWithoutMemoryAndTheLockIsReleased) {
  load(one_of_each());
  void* records = this;
  uint32_t count = 3;
  {
    CallScript script;
    script.fail_calloc(1);
    EXPECT_EQ(SmBiosGetRecords(1, &records, &count), -1);
  }
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(records_of<SmbSystemInfoRec>(1).size(), 1U);
}

TEST_F(Records, CleanTheTextsInTheTable) {
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17).string(4,
                                                          "Slot\x7F"
                                                          "1")));
  EXPECT_STREQ(records_of<SmbSlotRec>(9).at(0).designation, "Slot.1");
  EXPECT_STREQ(SmBiosGetString(structure_of(9), 1), "Slot.1");
}

// Such a structure's strings would overlap its own header; cleaning them must
// not change how many structures there are.
TEST_F(Records, AreAsManyAsCountedWhenStructuresAreShorterThanTheirHeader) {
  load(SmbiosTable()
           .add_raw({9, 1, 1, 1, 1, 1, 1, 1, 0, 0})
           .add_raw({9, 0, 1, 1, 1, 1, 1, 1, 0, 0})
           .add(SmbiosStructure(9, 0x0900, 17).string(4, "good")));
  const auto slots = records_of<SmbSlotRec>(9);
  ASSERT_EQ(slots.size(), 3U);
  EXPECT_STREQ(slots[0].designation, "Undefined");
  EXPECT_STREQ(slots[1].designation, "Undefined");
  EXPECT_STREQ(slots[2].designation, "good");
  EXPECT_EQ(records_of<SmbSlotRec>(9).size(), 3U);
}

}  // namespace
