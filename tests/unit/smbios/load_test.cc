// SPDX-License-Identifier: Apache-2.0
// Tables from memory, files and folders; what is refused, and what is said of a
// table that is not sound.
#include "ortinv/smbios_load.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>

#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kDumpTable = 32;

SmbiosTable table_to_dump() {
  return SmbiosTable()
      .add(SmbiosStructure(1, 0x0100, 27).string(4, "Maker").string(5, "Product"))
      .add(SmbiosStructure(9, 0x0901, 17).string(4, "Slot"))
      .add(SmbiosStructure(127, 0xFEFF, 4));
}

void put_checksum(Bytes& bytes, size_t first, size_t size, size_t place) {
  bytes[place] = 0;
  const auto begin = bytes.begin() + static_cast<ptrdiff_t>(first);
  bytes[place] =
      static_cast<uint8_t>(-std::accumulate(begin, begin + static_cast<ptrdiff_t>(size), 0));
}

void mend_checksums(Bytes& dump) {
  put_checksum(dump, 16, 15, 16 + 5);
  put_checksum(dump, 0, 31, 4);
}

// A 64-bit entry point in front of a table.
Bytes dump64(const Bytes& table, uint32_t most) {
  Bytes dump = {'_', 'S', 'M', '3', '_', 0, 24, 3, 6, 2, 1, 0};
  for (unsigned byte = 0; byte < 4; ++byte) {
    dump.push_back(static_cast<uint8_t>(most >> (8 * byte)));
  }
  dump.resize(kDumpTable);
  dump[16] = kDumpTable;
  put_checksum(dump, 0, 24, 5);
  dump.insert(dump.end(), table.begin(), table.end());
  return dump;
}

class Load : public testing::Test {
 protected:
  void TearDown() override { SmBiosTerm(); }

  // "" when the dump was loaded, else the reason.
  static std::string load(const Bytes& dump) {
    char reason[SMB_REASON_SIZE] = "left as it was";
    const int result = SmBiosLoadDump(dump.data(), dump.size(), reason, sizeof reason);
    EXPECT_EQ(result == 0, *reason == '\0');
    return reason;
  }

  static SmbTableStatus status() {
    SmbTableStatus status{};
    EXPECT_EQ(SmbGetTableStatus(&status), 0);
    return status;
  }

  static std::vector<SmbStructure> structures() {
    SmbStructure* list = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(SmbListStructures(&list, &count), 0);
    std::vector<SmbStructure> copies(list, list + count);
    free(list);
    return copies;
  }
};

TEST_F(Load, TakesTheDevicesPlaceForAllOtherCalls) {
  ASSERT_EQ(load(table_to_dump().dmidecode_dump()), "");
  EXPECT_EQ(SmBiosInit(), 0);
  EXPECT_STREQ(records_of<SmbSystemInfoRec>(1).at(0).productName, "Product");
  EXPECT_STREQ(records_of<SmbSlotRec>(9).at(0).designation, "Slot");
}

TEST_F(Load, ReadsADumpWitha32BitEntryPoint) {
  ASSERT_EQ(load(table_to_dump().dmidecode_dump()), "");
  EXPECT_EQ(status().entry_point, kSmbEntryPoint32);
  EXPECT_EQ(status().address, kDumpTable);
  EXPECT_EQ(status().count, 3U);
  EXPECT_STREQ(status().text, "");
}

TEST_F(Load, ReadsADumpWithA64BitEntryPoint) {
  ASSERT_EQ(load(dump64(table_to_dump().structures(), 4096)), "");
  EXPECT_EQ(status().entry_point, kSmbEntryPoint64);
  EXPECT_EQ(status().major, 3);
  EXPECT_EQ(status().minor, 6);
  EXPECT_EQ(status().revision, 2);
  EXPECT_STREQ(status().text, "");
}

TEST_F(Load, ReadsADumpWithALegacyEntryPointAlone) {
  Bytes dump = table_to_dump().dmidecode_dump();
  std::copy(dump.begin() + 16, dump.begin() + 31, dump.begin());
  std::fill(dump.begin() + 15, dump.begin() + 32, uint8_t{0});
  ASSERT_EQ(load(dump), "");
  EXPECT_EQ(status().entry_point, kSmbEntryPointLegacy);
  EXPECT_EQ(status().count, 3U);
}

TEST_F(Load, ReadsWhatTheHostsDeviceReturns) {
  ASSERT_EQ(load(table_to_dump().device_image(64)), "");
  EXPECT_EQ(structures().size(), 3U);
}

TEST_F(Load, ReadsATableBehindItsEntryPointWhateverItsAddress) {
  Bytes dump = table_to_dump().dmidecode_dump();
  dump[16 + 8] = 0xF0;
  dump[16 + 11] = 0x7E;
  mend_checksums(dump);
  ASSERT_EQ(load(dump), "");
  EXPECT_EQ(structures().size(), 3U);
}

// 0xA5 and 0x55 look like structures that go on into the table.
TEST_F(Load, FindsATableThatLiesElsewhere) {
  const Bytes whole = table_to_dump().dmidecode_dump();
  ASSERT_EQ(load(whole), "");
  const size_t count = structures().size();
  for (const uint8_t filler : std::array<uint8_t, 4>{0x00, 0x55, 0xA5, 0xFF}) {
    for (const size_t gap : {1U, 64U, 100U, 1000U}) {
      Bytes dump = whole;
      dump.insert(dump.begin() + kDumpTable, gap, filler);
      dump.insert(dump.end(), 50, filler);
      SmBiosTerm();
      ASSERT_EQ(load(dump), "") << int{filler} << ", " << gap;
      EXPECT_EQ(structures().size(), count);
      EXPECT_EQ(status().problems, 0U);
    }
  }
}

TEST_F(Load, RefusesADumpWhoseTableLiesElsewhere) {
  Bytes dump = table_to_dump().dmidecode_dump();
  dump.insert(dump.begin() + kDumpTable, 100, 0xA5);
  dump.pop_back();  // or it would be found
  EXPECT_EQ(load(dump), "The table is not where the entry point says, nor elsewhere in the dump");
  SmbStructure* list = nullptr;
  uint32_t count = 7;
  EXPECT_EQ(SmbListStructures(&list, &count), -1);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(Load, RefusesEntryPointsThatAreDamaged) {
  Bytes dump = table_to_dump().dmidecode_dump();
  dump[6] ^= 1;
  EXPECT_EQ(load(dump), "The entry point is damaged: its checksum is wrong");
  dump = table_to_dump().dmidecode_dump();
  dump[16 + 12] ^= 1;
  put_checksum(dump, 0, 31, 4);
  EXPECT_EQ(load(dump), "The entry point is damaged: its second checksum is wrong");
  dump = table_to_dump().dmidecode_dump();
  dump[16] = 'x';
  put_checksum(dump, 0, 31, 4);
  EXPECT_EQ(load(dump), "The entry point is damaged: its second anchor is missing");
  dump = dump64(table_to_dump().structures(), 4096);
  dump[7] ^= 1;
  EXPECT_EQ(load(dump), "The entry point is damaged: its checksum is wrong");
  dump = table_to_dump().dmidecode_dump();
  dump[5] = 3;
  EXPECT_EQ(load(dump), "The entry point is damaged: its length is too small");
  dump = table_to_dump().dmidecode_dump();
  dump.resize(20);
  EXPECT_EQ(load(dump), "The entry point is damaged: it is cut off");
}

TEST_F(Load, RefusesWhatIsNoDump) {
  EXPECT_EQ(load({}), "There is no SMBIOS entry point (_SM_, _SM3_ or _DMI_)");
  EXPECT_EQ(load(Bytes(5000, 0x5F)), "There is no SMBIOS entry point (_SM_, _SM3_ or _DMI_)");
}

TEST_F(Load, RefusesATableThatIsTooLarge) {
  Bytes table = table_to_dump().structures();
  Bytes many;
  while (many.size() <= SMB_TABLE_LIMIT) {
    many.insert(many.end(), table.begin(), table.end() - 6);
  }
  many.insert(many.end(), table.end() - 6, table.end());
  EXPECT_EQ(load(dump64(many, static_cast<uint32_t>(many.size()))),
            "The table is larger than 1 MiB");
}

TEST_F(Load, RefusesASecondTable) {
  ASSERT_EQ(load(table_to_dump().dmidecode_dump()), "");
  EXPECT_EQ(load(table_to_dump().dmidecode_dump()), "A table is loaded already");
  EXPECT_EQ(structures().size(), 3U);
}

TEST_F(Load, EndsAReasonInAFieldThatIsTooShort) {
  char reason[6] = "?????";
  EXPECT_EQ(SmBiosLoadDump("", 0, reason, sizeof reason), -1);
  EXPECT_STREQ(reason, "There");
  EXPECT_EQ(SmBiosLoadDump("", 0, nullptr, 0), -1);
}

TEST_F(Load, ReadsFilesAndFolders) {
  const std::string folder = testing::TempDir() + "load_test." + std::to_string(getpid());
  mkdir(folder.c_str(), 0700);
  const Bytes dump = table_to_dump().dmidecode_dump();
  ASSERT_TRUE(write_file(folder + "/dump.bin", dump));
  ASSERT_TRUE(write_file(folder + "/smbios_entry_point", Bytes(dump.begin(), dump.begin() + 31)));
  ASSERT_TRUE(write_file(folder + "/DMI", table_to_dump().structures()));
  for (const std::string& path : {folder, folder + "/DMI", folder + "/dump.bin"}) {
    char reason[SMB_REASON_SIZE];
    EXPECT_EQ(SmBiosLoadFile(path.c_str(), reason, sizeof reason), 0) << path << ": " << reason;
    EXPECT_EQ(structures().size(), 3U);
    EXPECT_EQ(SmBiosTerm(), 0);
  }
}

TEST_F(Load, NamesTheFileThatCannotBeRead) {
  char reason[SMB_REASON_SIZE];
  EXPECT_EQ(SmBiosLoadFile("/nowhere/dump.bin", reason, sizeof reason), -1);
  EXPECT_STREQ(reason, "Cannot read /nowhere/dump.bin: No such file or directory");
  EXPECT_EQ(SmBiosLoadFile("/", reason, sizeof reason), -1);
  EXPECT_STREQ(reason, "Cannot read //smbios_entry_point: No such file or directory");
  EXPECT_EQ(SmBiosLoadFile(nullptr, reason, sizeof reason), -1);
  EXPECT_STREQ(reason, "There is no path");
}

TEST_F(Load, RefusesATableThatBeginsWithNoStructure) {
  const Bytes dump = table_to_dump().dmidecode_dump();
  const Bytes table(100, 0);
  char reason[SMB_REASON_SIZE];
  EXPECT_EQ(SmBiosLoadTable(dump.data(), 31, table.data(), table.size(), reason, sizeof reason),
            -1);
  EXPECT_STREQ(reason, "The table does not begin with a structure");
}

TEST_F(Load, SaysThatATableEndsEarly) {
  Bytes dump = table_to_dump().dmidecode_dump();
  const auto length = dump.size() - kDumpTable;
  dump.resize(dump.size() - 6);
  ASSERT_EQ(load(dump), "");
  EXPECT_EQ(status().problems,
            static_cast<uint32_t>(kSmbTableEndsEarly) | kSmbTableWrongCount | kSmbTableNoEnd);
  EXPECT_EQ(std::string(status().text), "the table ends early: " + std::to_string(length) +
                                            " bytes are announced, " + std::to_string(length - 6) +
                                            " are there; 3 structures are announced, 2 are " +
                                            "there; there is no end-of-table structure");
}

TEST_F(Load, ShowsTheStructureThatRunsOverTheTablesEnd) {
  Bytes dump = table_to_dump().dmidecode_dump();
  dump.resize(dump.size() - 6 - 4);
  ASSERT_EQ(load(dump), "");
  EXPECT_NE(status().problems & kSmbTableOverlaps, 0U);
  ASSERT_EQ(structures().size(), 2U);
  EXPECT_EQ(structures()[1].cut, 1);
  EXPECT_EQ(structures()[1].offset + structures()[1].size, status().length);
}

TEST_F(Load, MarksWhatLiesBehindTheEndOfTheTable) {
  const SmbiosTable table = table_to_dump().add(SmbiosStructure(41, 0x2900, 11).string(4, "NIC"));
  ASSERT_EQ(load(table.dmidecode_dump()), "");
  ASSERT_EQ(structures().size(), 4U);
  EXPECT_EQ(structures()[2].behind_end, 0);
  EXPECT_EQ(structures()[3].behind_end, 1);
  EXPECT_STREQ(status().text, "1 structures lie behind the end-of-table structure");
}

TEST_F(Load, SaysThatStructuresShareAHandle) {
  const SmbiosTable table = SmbiosTable()
                                .add(SmbiosStructure(9, 0x0901, 17))
                                .add(SmbiosStructure(9, 0x0901, 17))
                                .add(SmbiosStructure(127, 0xFEFF, 4));
  ASSERT_EQ(load(table.dmidecode_dump()), "");
  EXPECT_STREQ(status().text, "handle 0x0901 is that of several structures");
}

TEST_F(Load, SaysWhereNoStructureCanBegin) {
  const SmbiosTable table =
      SmbiosTable().add(SmbiosStructure(9, 0x0901, 17)).add_raw({9, 2, 1, 1, 0, 0});
  ASSERT_EQ(load(table.dmidecode_dump()), "");
  EXPECT_EQ(structures().size(), 1U);
  EXPECT_NE(std::string(status().text).find("no structure can begin at offset 19, 6 bytes follow"),
            std::string::npos)
      << status().text;
}

TEST_F(Load, GivesTheStringsOfAStructureAsTheyAre) {
  ASSERT_EQ(load(SmbiosTable()
                     .add(SmbiosStructure(9, 0x0901, 17).string(4, "one").string(5, "t\xFFo"))
                     .dmidecode_dump()),
            "");
  const SmbStructure structure = structures().at(0);
  EXPECT_EQ(structure.string_count, 2U);
  EXPECT_STREQ(SmbStructureString(&structure, 1), "one");
  EXPECT_STREQ(SmbStructureString(&structure, 2), "t\xFFo");
  EXPECT_EQ(SmbStructureString(&structure, 0), nullptr);
  EXPECT_EQ(SmbStructureString(&structure, 3), nullptr);
}

TEST_F(Load, OfNothingHasNoStatus) {
  SmbTableStatus status{};
  EXPECT_EQ(SmbGetTableStatus(&status), -1);
  EXPECT_EQ(SmbGetTableStatus(nullptr), -1);
}

}  // namespace
