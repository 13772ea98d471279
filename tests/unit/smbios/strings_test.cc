// SPDX-License-Identifier: Apache-2.0
// Strings by their number: as they are, and cleaned for printing.
#include <string>

#include "tests/unit/smbios/loaded_table.h"

namespace {

class Strings : public LoadedTable {
 protected:
  static std::string clean(const uint8_t* structure, uint8_t number) {
    return SmBiosGetCleanString(structure, structure[1], number);
  }
};

class CleanStrings : public Strings {};

SmbiosTable three_strings() {
  return SmbiosTable()
      .add(SmbiosStructure(1, 0x0100, 8).string("one").string("two").string("three"))
      .add(SmbiosStructure(2, 0x0200, 4));
}

TEST_F(Strings, AreCountedFromOne) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  EXPECT_STREQ(SmBiosGetString(structure, 1), "one");
  EXPECT_STREQ(SmBiosGetString(structure, 2), "two");
  EXPECT_STREQ(SmBiosGetString(structure, 3), "three");
}

// More strings than a field can number: the number is wider than a field.
TEST_F(Strings, AreCountedBeyond255) {
  SmbiosStructure structure(1, 0x0100, 4);
  for (int number = 1; number <= 600; ++number) {
    structure.string("string " + std::to_string(number));
  }
  load(SmbiosTable().add(structure));
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 255), "string 255");
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 256), "string 256");
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 257), "string 257");
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 600), "string 600");
}

TEST_F(Strings, AreEmptyForNumberZero) {
  load(three_strings());
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 0), "");
  EXPECT_STREQ(SmBiosGetString(nullptr, 0), "");
}

TEST_F(Strings, ArePointersIntoTheTable) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  EXPECT_EQ(static_cast<const void*>(SmBiosGetString(structure, 1)), structure + 8);
  EXPECT_EQ(static_cast<const void*>(SmBiosGetString(structure, 3)), structure + 16);
}

TEST_F(Strings, AreNotCleaned) {
  load(SmbiosTable().add(SmbiosStructure(1, 0x0100, 4).string("a\x7F\x01z")));
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "a\x7F\x01z");
}

TEST_F(Strings, BehindTheSetAreWhatLiesThere) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  EXPECT_STREQ(SmBiosGetString(structure, 4), "");
  EXPECT_STREQ(SmBiosGetString(structure, 5), "\x02\x04");
}

TEST_F(Strings, BehindTheBlockAreEmpty) {
  ASSERT_EQ(init_from(image_at_block_end(three_strings())), 0);
  for (const int number : {7, 8, 100, 300, 65535}) {
    EXPECT_STREQ(SmBiosGetString(structure_of(1), static_cast<uint16_t>(number)), "") << number;
  }
}

TEST_F(Strings, EndAtTheBlocksEndWhenTheyHaveNoEnd) {
  const SmbiosTable table = SmbiosTable().add_raw({1, 4, 0, 1, 'o', 'p', 'e', 'n'});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "open");
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 2), "");
  EXPECT_EQ(clean(structure_of(1), 1), "open");
  EXPECT_EQ(clean(structure_of(1), 2), "Undefined");
}

TEST_F(Strings, OfAFormattedAreaThatRunsPastTheBlockAreEmpty) {
  const SmbiosTable table = SmbiosTable().add_raw({1, 255, 0, 1, 'o', 'p', 'e', 'n'});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "");
  EXPECT_EQ(clean(structure_of(1), 1), "Undefined");
}

TEST_F(Strings, OfNoStructureAreEmpty) {
  load(three_strings());
  const uint8_t foreign[8] = {1, 4, 0, 0, 'a', 0, 0, 0};
  EXPECT_STREQ(SmBiosGetString(foreign, 1), "");
  EXPECT_STREQ(SmBiosGetString(nullptr, 1), "");
  EXPECT_STREQ(SmBiosGetCleanString(foreign, 4, 1), "Undefined");
  EXPECT_STREQ(SmBiosGetCleanString(nullptr, 4, 1), "Undefined");
}

TEST_F(CleanStrings, AreCountedFromOne) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  EXPECT_EQ(clean(structure, 1), "one");
  EXPECT_EQ(clean(structure, 2), "two");
  EXPECT_EQ(clean(structure, 3), "three");
}

TEST_F(CleanStrings, AreUndefinedForNumberZeroAndBehindTheSet) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  EXPECT_EQ(clean(structure, 0), "Undefined");
  EXPECT_EQ(clean(structure, 4), "Undefined");
  EXPECT_EQ(clean(structure, 5), "Undefined");
  EXPECT_EQ(clean(structure, 255), "Undefined");
}

TEST_F(CleanStrings, AreUndefinedInAnEmptySet) {
  load(three_strings());
  const uint8_t* structure = structure_of(2);
  EXPECT_EQ(clean(structure, 1), "Undefined");
  EXPECT_EQ(clean(structure, 2), "Undefined");
}

TEST_F(CleanStrings, HaveADotForEveryByteThatCannotBePrinted) {
  load(SmbiosTable().add(SmbiosStructure(1, 1, 4).string("\x1F \x7E\x7F\t\x80\xFFz")));
  EXPECT_EQ(clean(structure_of(1), 1), ". ~....z");
}

TEST_F(CleanStrings, ChangeTheTable) {
  load(SmbiosTable().add(SmbiosStructure(1, 1, 4).string("a\x7F").string("b\n").string("c\n")));
  const uint8_t* structure = structure_of(1);
  const char* cleaned = SmBiosGetCleanString(structure, 4, 2);
  EXPECT_STREQ(SmBiosGetString(structure, 1), "a\x7F");
  EXPECT_STREQ(SmBiosGetString(structure, 2), "b.");
  EXPECT_STREQ(SmBiosGetString(structure, 3), "c\n");
  EXPECT_EQ(cleaned, SmBiosGetString(structure, 2));
}

TEST_F(CleanStrings, BeginWhereTheCallerSays) {
  load(three_strings());
  EXPECT_STREQ(SmBiosGetCleanString(structure_of(1), 12, 1), "two");
}

// A set that overlapped the header would have its type and length cleaned.
TEST_F(CleanStrings, AreUndefinedWhereTheSetWouldOverlapTheHeader) {
  load(SmbiosTable().add_raw({9, 1, 'a', 'b', 'c', 0, 0}));
  const uint8_t* structure = structure_of(9);
  for (const int length : {-2147483647, -1, 0, 1, 2, 3}) {
    EXPECT_STREQ(SmBiosGetCleanString(structure, length, 1), "Undefined") << length;
  }
  EXPECT_EQ(std::vector<uint8_t>(structure, structure + 2), std::vector<uint8_t>({9, 1}));
}

TEST_F(CleanStrings, AreUndefinedBehindTheBlock) {
  load(three_strings());
  const uint8_t* structure = structure_of(1);
  for (const int length : {65536, 66000, 2147483647}) {
    EXPECT_STREQ(SmBiosGetCleanString(structure, length, 1), "Undefined") << length;
  }
}

}  // namespace
