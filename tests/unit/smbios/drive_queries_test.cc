// SPDX-License-Identifier: Apache-2.0
// Drives by their serial number, and how serial numbers are compared.
#include <string>

#include "ortinv/oem_queries.h"
#include "smbios/serial_trim.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class Drives : public LoadedTable {};

SmbiosStructure drive(std::string_view serial, const std::string& name, uint8_t length = 43) {
  SmbiosStructure structure(242, 0xF200, length);
  structure.string(39, serial).string(40, "text " + name);
  return length > 42 ? structure.string(42, "location " + name) : structure;
}

std::string trimmed(std::string_view text) {
  SerialText serial = {};
  text.copy(serial.data(), serial.size() - 1);
  SmbTrimSerial(serial);
  return serial.data();
}

TEST(SerialTrim, KeepsWhatLiesBetweenFirstAndLastLetterOrDigit) {
  EXPECT_EQ(trimmed("ABC123"), "ABC123");
  EXPECT_EQ(trimmed("  ABC123  "), "ABC123");
  EXPECT_EQ(trimmed("--z-9--"), "z-9");
  EXPECT_EQ(trimmed(" Z"), "Z");
  EXPECT_EQ(trimmed("0 "), "0");
  EXPECT_EQ(trimmed("\xC4"
                    "a\xE4"),
            "a");
}

TEST(SerialTrim, LeavesNothingWithoutLetterOrDigit) {
  EXPECT_EQ(trimmed(""), "");
  EXPECT_EQ(trimmed("    "), "");
  EXPECT_EQ(trimmed("-._/"), "");
}

TEST(SerialTrim, StopsBeforeTwoBlanks) {
  EXPECT_EQ(trimmed("ABC  XYZ"), "ABC");
  EXPECT_EQ(trimmed("  ABC   XYZ  "), "ABC");
  EXPECT_EQ(trimmed("A B C  D"), "A B C");
  EXPECT_EQ(trimmed("A\t\tB"), "A\t\tB");
}

TEST(SerialTrim, KeepsSixtyThreeCharacters) {
  EXPECT_EQ(trimmed(std::string(63, 'x')), std::string(63, 'x'));
}

TEST(SerialTrim, LeavesZerosBehindTheText) {
  SerialText serial = {' ', ' ', 'A', 'B', 'C', ' ', ' ', 'X', 'Y', 'Z'};
  SmbTrimSerial(serial);
  EXPECT_EQ(serial, (SerialText{'A', 'B', 'C'}));
}

TEST_F(Drives, AreFoundBySerialNumber) {
  load(SmbiosTable().add(drive("SN0001", "A")).add(drive("SN0002", "B")));
  EXPECT_STREQ(SmbGetHdLoc("SN0002"), "location B");
  EXPECT_STREQ(SmbGetHdString("SN0002"), "text B");
  EXPECT_EQ(SmbGetHdLoc("SN0003"), nullptr);
  EXPECT_EQ(SmbGetHdString("SN0003"), nullptr);
}

TEST_F(Drives, AreFoundByTheBeginningOfTheirTrimmedSerial) {
  load(SmbiosTable().add(drive("  ABC123  ", "A")));
  for (const char* serial : {"ABC123", "ABC", "A", ""}) {
    EXPECT_STREQ(SmbGetHdLoc(serial), "location A") << serial;
    EXPECT_STREQ(SmbGetHdString(serial), "text A") << serial;
  }
  for (const char* serial : {"ABC1234", "BC123", "abc", "  ABC123", "ABC123 "}) {
    EXPECT_EQ(SmbGetHdLoc(serial), nullptr) << serial;
    EXPECT_EQ(SmbGetHdString(serial), nullptr) << serial;
  }
}

TEST_F(Drives, AreComparedUpToTwoBlanks) {
  load(SmbiosTable().add(drive("ABC  XYZ", "A")));
  EXPECT_STREQ(SmbGetHdLoc("ABC"), "location A");
  EXPECT_EQ(SmbGetHdLoc("ABC  XYZ"), nullptr);
}

TEST_F(Drives, KeepTheirSerialInTheTable) {
  load(SmbiosTable().add(drive("  ABC123  ", "A")));
  SmbGetHdLoc("ABC");
  EXPECT_STREQ(SmBiosGetString(structure_of(242), 1), "  ABC123  ");
}

TEST_F(Drives, AreTakenInTableOrder) {
  load(SmbiosTable().add(drive("SN1", "A")).add(drive("SN12", "B")));
  EXPECT_STREQ(SmbGetHdLoc("SN1"), "location A");
  EXPECT_STREQ(SmbGetHdLoc("SN12"), "location B");
}

TEST_F(Drives, AreComparedByTheFirst63CharactersOfALongSerial) {
  load(SmbiosTable().add(drive(std::string(63, 'x') + "yz", "A")));
  EXPECT_STREQ(SmbGetHdLoc(std::string(63, 'x').c_str()), "location A");
  EXPECT_EQ(SmbGetHdLoc((std::string(63, 'x') + "y").c_str()), nullptr);
}

TEST_F(Drives, LogEveryComparisonOfALocationSearch) {
  load(SmbiosTable().add(drive("  SN 1  ", "A")).add(drive("SN0002", "B")));
  EXPECT_EQ(lines_of([] { SmbGetHdLoc("SN0"); }),
            Lines({"6 smbios: SmbGetHdLoc strncmp, tmpSerial=SN 1, SerialNo=SN0\n",
                   "6 smbios: SmbGetHdLoc strncmp fail, tmpSerial=SN 1, SerialNo=SN0\n",
                   "6 smbios: SmbGetHdLoc strncmp, tmpSerial=SN0002, SerialNo=SN0\n"}));
}

TEST_F(Drives, LogNothingForATextSearch) {
  load(SmbiosTable().add(drive("SN0001", "A")).add(drive("SN0002", "B")));
  EXPECT_EQ(lines_of([] { SmbGetHdString("SN0002"); }), Lines());
}

TEST_F(Drives, WithoutSerialAreLeftOut) {
  load(SmbiosTable()
           .add(drive("SN0001", "A").u8(39, 0))
           .add(drive("SN0002", "B").u8(39, 9))
           .add(drive("SN0003", "C")));
  const char* location = nullptr;
  const Lines lines = lines_of([&] { location = SmbGetHdLoc("SN0003"); });
  EXPECT_STREQ(location, "location C");
  EXPECT_EQ(lines, Lines({"6 smbios: SmbGetHdLoc fail, serial_str=0\n",
                          "6 smbios: SmbGetHdLoc fail, serial_str=9\n",
                          "6 smbios: SmbGetHdLoc strncmp, tmpSerial=SN0003, SerialNo=SN0003\n"}));
  EXPECT_STREQ(SmbGetHdString("SN0003"), "text C");
}

TEST_F(Drives, WithoutSerialMatchNotEvenAnEmptyOne) {
  load(SmbiosTable().add(drive("SN0001", "A").u8(39, 0)));
  EXPECT_EQ(SmbGetHdLoc(""), nullptr);
  EXPECT_EQ(SmbGetHdString(""), nullptr);
}

TEST_F(Drives, BelowLength42EndATextSearch) {
  load(SmbiosTable().add(drive("SN0001", "A", 41)).add(drive("SN0002", "B")));
  EXPECT_EQ(SmbGetHdString("SN0001"), nullptr);
  EXPECT_EQ(SmbGetHdString("SN0002"), nullptr);
  EXPECT_STREQ(SmbGetHdLoc("SN0002"), "location B");
}

TEST_F(Drives, OfLength42HaveAText) {
  load(SmbiosTable().add(drive("SN0001", "A", 42)));
  EXPECT_STREQ(SmbGetHdString("SN0001"), "text A");
}

TEST_F(Drives, AreNotFoundForNoSerialOrWithoutTable) {
  EXPECT_EQ(SmbGetHdLoc("SN0001"), nullptr);
  EXPECT_EQ(SmbGetHdString("SN0001"), nullptr);
  load(SmbiosTable().add(drive("SN0001", "A")));
  EXPECT_EQ(SmbGetHdLoc(nullptr), nullptr);
  EXPECT_EQ(SmbGetHdString(nullptr), nullptr);
}

}  // namespace
