// SPDX-License-Identifier: Apache-2.0
// The walk over the structures, and the n-th structure of a type.
#include <utility>

#include "tests/unit/smbios/loaded_table.h"

namespace {

class Walk : public LoadedTable {
 protected:
  using Found = std::vector<std::pair<int, int>>;

  // Type and handle of every structure, in order.
  static Found walk() {
    Found found;
    const uint8_t* structure = nullptr;
    while (SmBiosNextStructure(&structure) == 1) {
      found.emplace_back(structure[0], structure[2] | structure[3] << 8);
    }
    return found;
  }
};

TEST_F(Walk, ReturnsEveryStructureInOrder) {
  load(SmbiosTable()
           .add(SmbiosStructure(0, 0x10, 24).string(4, "a").string(5, "bc"))
           .add(SmbiosStructure(17, 0x20, 4))
           .add(SmbiosStructure(1, 0x30, 27))
           .add(SmbiosStructure(17, 0xFFFE, 255).string("text")));
  EXPECT_EQ(walk(), Found({{0, 0x10}, {17, 0x20}, {1, 0x30}, {17, 0xFFFE}}));
}

TEST_F(Walk, GoesOnBehindAnEndOfTableStructure) {
  load(SmbiosTable().add(SmbiosStructure(127, 1, 4)).add(SmbiosStructure(2, 2, 4)));
  EXPECT_EQ(walk(), Found({{127, 1}, {2, 2}}));
}

TEST_F(Walk, FindsNothingWithoutTable) {
  EXPECT_EQ(walk(), Found());
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosFindStructure(0, 0, &structure), 0);
}

TEST_F(Walk, StopsWhereTheTableLengthSaysSo) {
  const SmbiosTable table =
      SmbiosTable().add(SmbiosStructure(1, 1, 4)).add(SmbiosStructure(2, 2, 4));
  auto image = table.device_image();
  image[22] = 6;  // where the second one begins
  ASSERT_EQ(init_from(image), 0);
  EXPECT_EQ(walk(), Found({{1, 1}}));
}

TEST_F(Walk, ReturnsAStructureThatRunsPastTheTablesEnd) {
  const SmbiosTable table =
      SmbiosTable().add(SmbiosStructure(1, 1, 4)).add(SmbiosStructure(2, 2, 4));
  auto image = table.device_image();
  image[22] = 7;
  ASSERT_EQ(init_from(image), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {2, 2}}));
}

// The table's length is not compared with what was read; what was not is zero.
TEST_F(Walk, SeesEmptyStructuresBehindWhatWasRead) {
  auto image = SmbiosTable().add(SmbiosStructure(1, 1, 4)).device_image();
  image[22] = 12;
  ASSERT_EQ(init_from(image), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {0, 0}, {0, 0}, {0, 0}}));
}

TEST_F(Walk, ReachesAStructureThatEndsWithTheBlock) {
  const SmbiosTable table =
      SmbiosTable().add(SmbiosStructure(1, 1, 27)).add(SmbiosStructure(2, 2, 8).string(4, "end"));
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {2, 2}}));
  EXPECT_STREQ(SmBiosGetString(structure_of(2), 1), "end");
}

TEST_F(Walk, EndsAtTheBlocksEndWhateverTheTableLength) {
  const SmbiosTable table =
      SmbiosTable().add(SmbiosStructure(1, 1, 4)).add(SmbiosStructure(2, 2, 4));
  auto image = image_at_block_end(table);
  const size_t entry = kBlockSize - 44;
  ASSERT_EQ(image[entry], '_');
  image[entry + 22] = 0xFF;
  image[entry + 23] = 0xFF;
  ASSERT_EQ(init_from(image), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {2, 2}}));
}

TEST_F(Walk, EndsAtAStructureWithoutEndOfStrings) {
  const SmbiosTable table = SmbiosTable()
                                .add(SmbiosStructure(1, 1, 4))
                                .add_raw({2, 4, 2, 0, 'n', 'o', ' ', 'e', 'n', 'd'});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {2, 2}}));
}

// A header cut by the block's end reads as zero behind it.
TEST_F(Walk, ReturnsAStructureOfWhichOnlyTheTypeIsInTheBlock) {
  const SmbiosTable table = SmbiosTable().add(SmbiosStructure(1, 1, 4)).add_raw({203});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_EQ(walk(), Found({{1, 1}, {203, 0}}));
}

TEST_F(Walk, LetsEveryByteOfAFormattedAreaBeRead) {
  const SmbiosTable table = SmbiosTable().add_raw({9, 255});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  const uint8_t* structure = structure_of(9);
  const std::vector<uint8_t> rest(structure + 2, structure + 256);
  EXPECT_EQ(rest, std::vector<uint8_t>(254, 0));
}

TEST_F(Walk, DoesNotLeaveFromAPointerThatIsNoPartOfTheTable) {
  load(SmbiosTable().add(SmbiosStructure(1, 1, 4)));
  const uint8_t foreign[8] = {1, 4, 0, 0, 0, 0, 1, 4};
  const uint8_t* structure = foreign;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
  EXPECT_EQ(SmBiosNextStructure(nullptr), 0);
}

TEST_F(Walk, FindsTheStructuresOfATypeByIndex) {
  load(SmbiosTable()
           .add(SmbiosStructure(9, 0x10, 17).string(4, "first"))
           .add(SmbiosStructure(8, 0x20, 9))
           .add(SmbiosStructure(9, 0x30, 17).string(4, "second"))
           .add(SmbiosStructure(9, 0x40, 17).string(4, "third")));
  EXPECT_STREQ(SmBiosGetString(structure_of(9, 0), 1), "first");
  EXPECT_STREQ(SmBiosGetString(structure_of(9, 1), 1), "second");
  EXPECT_STREQ(SmBiosGetString(structure_of(9, 2), 1), "third");
  EXPECT_EQ(structure_of(8)[2], 0x20);
  const uint8_t* untouched = nullptr;
  EXPECT_EQ(SmBiosFindStructure(9, 3, &untouched), 0);
  EXPECT_EQ(SmBiosFindStructure(9, 65535, &untouched), 0);
  EXPECT_EQ(SmBiosFindStructure(10, 0, &untouched), 0);
  EXPECT_EQ(untouched, nullptr);
  EXPECT_EQ(SmBiosFindStructure(9, 0, nullptr), 0);
}

TEST_F(Walk, FindsMoreThan256StructuresOfATypeByIndex) {
  SmbiosTable table;
  for (uint16_t handle = 0; handle < 600; ++handle) {
    table.add(SmbiosStructure(9, handle, 17));
  }
  load(table);
  for (const int index : {0, 255, 256, 257, 599}) {
    const uint8_t* structure = structure_of(9, static_cast<uint16_t>(index));
    EXPECT_EQ(structure[2] | structure[3] << 8, index);
  }
  const uint8_t* untouched = nullptr;
  EXPECT_EQ(SmBiosFindStructure(9, 600, &untouched), 0);
}

TEST_F(Walk, KeepsItsPointersValidUntilTheTableIsReleased) {
  load(SmbiosTable().add(SmbiosStructure(9, 0x10, 17).string(4, "first")));
  const uint8_t* structure = structure_of(9);
  const char* text = SmBiosGetString(structure, 1);
  void* records = nullptr;
  ASSERT_EQ(SmBiosGetRecords(9, &records, nullptr), 0);
  free(records);
  EXPECT_EQ(SmBiosInit(), 0);
  EXPECT_EQ(structure_of(9), structure);
  EXPECT_STREQ(text, "first");
}

}  // namespace
