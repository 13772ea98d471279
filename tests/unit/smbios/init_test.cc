// SPDX-License-Identifier: Apache-2.0
// Reading the table from the device, and releasing it.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "log/debug_flags.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class Init : public LoadedTable {};

SmbiosTable one_structure() {
  return SmbiosTable().add(SmbiosStructure(1, 0x0100, 4).string("text"));
}

TEST_F(Init, ReadsTheTableBehindTheEntryPoint) {
  ASSERT_EQ(init_from(one_structure().device_image()), 0);
  const uint8_t* structure = nullptr;
  ASSERT_EQ(SmBiosNextStructure(&structure), 1);
  EXPECT_EQ(std::vector<uint8_t>(structure, structure + 4), std::vector<uint8_t>({1, 4, 0, 1}));
}

TEST_F(Init, FindsTheEntryPointAtAnyMultipleOfFour) {
  for (const size_t offset : {size_t{4}, size_t{16}, size_t{252}, size_t{32768}}) {
    ASSERT_EQ(init_from(one_structure().device_image(offset)), 0) << offset;
    EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "text") << offset;
    ASSERT_EQ(SmBiosTerm(), 0);
  }
}

TEST_F(Init, OverlooksAnEntryPointBetweenMultiplesOfFour) {
  for (const size_t offset : {size_t{1}, size_t{2}, size_t{3}, size_t{30}}) {
    EXPECT_EQ(init_from(one_structure().device_image(offset)), -1) << offset;
  }
}

TEST_F(Init, TakesTheFirstOfTwoEntryPoints) {
  auto image = SmbiosTable().add(SmbiosStructure(7, 1, 4)).device_image();
  image.resize(64);
  const auto other = one_structure().device_image();
  image.insert(image.end(), other.begin(), other.end());
  ASSERT_EQ(init_from(image), 0);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosFindStructure(7, 0, &structure), 1);
  EXPECT_EQ(SmBiosFindStructure(1, 0, &structure), 0);
}

TEST_F(Init, FindsTheTableByTheEntryPointsOwnLength) {
  auto image = one_structure().device_image();
  image[5] += 8;
  image.insert(image.begin() + 31, 8, 0xEE);
  ASSERT_EQ(init_from(image), 0);
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "text");
}

TEST_F(Init, ChecksNeitherChecksumsNorVersionNorAddressNorCount) {
  auto image = one_structure().device_image();
  constexpr size_t kUnread[] = {4, 6, 7, 8, 16, 21, 24, 25, 28, 29, 30};
  for (const size_t offset : kUnread) {
    image[offset] ^= 0xFF;
  }
  ASSERT_EQ(init_from(image), 0);
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "text");
}

TEST_F(Init, DoesNotRecogniseA64BitEntryPoint) {
  auto image = one_structure().device_image();
  const std::string_view anchor = "_SM3_";
  std::copy(anchor.begin(), anchor.end(), image.begin());
  EXPECT_EQ(init_from(image), -1);
}

TEST_F(Init, FailsWithoutDevice) {
  CallScript script;
  script.file("/tmp/ortAll.text");
  g_utilities_debug_flag = 1;
  script.open(kSmbiosDevice, O_RDONLY | O_SYNC).fails(ENOENT);
  EXPECT_EQ(SmBiosInit(), -1);
  g_utilities_debug_flag = 0;
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Init, FailsOnAnEmptyDevice) {
  EXPECT_EQ(init_from({}), -1);
}

TEST_F(Init, FailsOnADeviceThatCannotBeRead) {
  const int directory = open("/", O_RDONLY);
  CallScript script;
  script.open(kSmbiosDevice, O_RDONLY | O_SYNC).returns(directory);
  script.close(directory);
  EXPECT_EQ(SmBiosInit(), -1);
}

TEST_F(Init, FailsOnAShortReadThatEndsInsideTheAnchor) {
  EXPECT_EQ(init_from({'_', 'S', 'M'}), -1);
}

TEST_F(Init, FailsWithoutMemoryAndClosesTheDevice) {
  const MemoryFile device(one_structure().device_image());
  CallScript script;
  script.open(kSmbiosDevice, O_RDONLY | O_SYNC).returns(device.descriptor());
  script.close(device.descriptor());
  script.fail_calloc(1);
  EXPECT_EQ(SmBiosInit(), -1);
}

TEST_F(Init, FailsOnABlockWithoutAnchor) {
  EXPECT_EQ(init_from(std::vector<uint8_t>(kBlockSize, '_')), -1);
}

TEST_F(Init, FindsNothingAfterAFailure) {
  ASSERT_EQ(init_from({}), -1);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
  EXPECT_EQ(structure, nullptr);
  void* records = &structure;
  uint32_t count = 9;
  EXPECT_EQ(SmBiosGetRecords(1, &records, &count), -1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(Init, SucceedsAfterAFailure) {
  ASSERT_EQ(init_from({}), -1);
  EXPECT_EQ(init_from(one_structure().device_image()), 0);
}

TEST_F(Init, DoesNotOpenTheDeviceASecondTime) {
  load(one_structure());
  const uint8_t* before = structure_of(1);
  {
    const CallScript nothing_expected;
    EXPECT_EQ(SmBiosInit(), 0);
  }
  EXPECT_EQ(structure_of(1), before);
}

TEST_F(Init, LogsTheTablesLength) {
  const MemoryFile device(one_structure().device_image());
  const Lines lines = lines_of([&] {
    CallScript::active()->open(kSmbiosDevice, O_RDONLY | O_SYNC).returns(device.descriptor());
    CallScript::active()->close(device.descriptor());
    EXPECT_EQ(SmBiosInit(), 0);
  });
  EXPECT_EQ(lines, Lines({"6 smbios: SmBiosInit: SmBiosTableLength is [10]\n"}));
}

TEST_F(Init, AcceptsAnEmptyTable) {
  load(SmbiosTable());
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
  void* records = nullptr;
  EXPECT_EQ(SmBiosGetRecords(0, &records, nullptr), -1);
}

// The anchor's last place in the block: its fields lie behind the end.
TEST_F(Init, FindsNoStructuresBehindAnEntryPointAtTheBlocksEnd) {
  std::vector<uint8_t> image(kBlockSize, 0xFF);
  const std::string_view anchor = "_SM_";
  std::copy(anchor.begin(), anchor.end(), image.end() - 4);
  ASSERT_EQ(init_from(image), 0);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
}

TEST_F(Init, FindsNoStructuresInATableThatWouldBeginBehindTheBlock) {
  auto image = one_structure().device_image(kBlockSize - 44);
  image.resize(kBlockSize);
  image[kBlockSize - 44 + 5] = 0xFF;
  ASSERT_EQ(init_from(image), 0);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
  EXPECT_EQ(SmBiosFindStructure(1, 0, &structure), 0);
}

TEST_F(Init, ReadsNoMoreThanTheBlock) {
  auto image = image_at_block_end(one_structure());
  image.push_back('X');
  EXPECT_EQ(init_from(image), 0);
  EXPECT_STREQ(SmBiosGetString(structure_of(1), 1), "text");
}

TEST(Term, DoesNothingWithoutTable) {
  EXPECT_EQ(SmBiosTerm(), 0);
}

TEST(Term, LeavesNoStructures) {
  ASSERT_EQ(init_from(one_structure().device_image()), 0);
  EXPECT_EQ(SmBiosTerm(), 0);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosNextStructure(&structure), 0);
  void* records = nullptr;
  EXPECT_EQ(SmBiosGetRecords(1, &records, nullptr), -1);
  EXPECT_EQ(SmBiosTerm(), 0);
}

TEST(Term, LetsTheDeviceBeReadAgain) {
  ASSERT_EQ(init_from(one_structure().device_image()), 0);
  ASSERT_EQ(SmBiosTerm(), 0);
  ASSERT_EQ(init_from(SmbiosTable().add(SmbiosStructure(9, 1, 4)).device_image()), 0);
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosFindStructure(1, 0, &structure), 0);
  EXPECT_EQ(SmBiosFindStructure(9, 0, &structure), 1);
  EXPECT_EQ(SmBiosTerm(), 0);
}

}  // namespace
