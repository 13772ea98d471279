// SPDX-License-Identifier: Apache-2.0
// Gives the reader a table: a memory file stands in for the host's SMBIOS
// device. Include in any test of smbios/.
#ifndef TVUREV_TESTS_UNIT_SMBIOS_LOADED_TABLE_H_
#define TVUREV_TESTS_UNIT_SMBIOS_LOADED_TABLE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <vector>

#include "ortinv/smbios_table.h"
#include "tests/support/call_script.h"
#include "tests/support/smbios/table_builder.h"

inline constexpr const char* kSmbiosDevice = "/vmfs/devices/char/mem/smbios";
inline constexpr size_t kBlockSize = 65536;

// A descriptor that reads as the content, from its start.
class MemoryFile {
 public:
  explicit MemoryFile(const std::vector<uint8_t>& content);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

// Returns SmBiosInit's result with a device of this content, which must be
// opened once, read-only and synchronous, and closed once.
int init_from(const std::vector<uint8_t>& device_content);

// A device image whose structures end exactly where the block ends.
std::vector<uint8_t> image_at_block_end(const SmbiosTable& table);

// Decodes all structures of a type. Empty when there are none; the call's own
// result is checked against that.
template <typename Record>
std::vector<Record> records_of(uint32_t type) {
  void* array = nullptr;
  uint32_t count = 7;
  const int result = SmBiosGetRecords(type, &array, &count);
  EXPECT_EQ(result, count == 0 ? -1 : 0);
  EXPECT_EQ(array == nullptr, count == 0);
  const auto* records = static_cast<const Record*>(array);
  std::vector<Record> copies;
  for (uint32_t index = 0; index < count; ++index) {
    copies.push_back(records[index]);
  }
  free(array);
  return copies;
}

// A test with one table, or none before load() is called.
class LoadedTable : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(SmBiosTerm(), 0); }

  static void load(const SmbiosTable& table) { ASSERT_EQ(init_from(table.device_image()), 0); }

  // The first structure of a type; fails the test without one.
  static const uint8_t* structure_of(uint8_t type, uint16_t index = 0);

  // What the call logs while the "smbios" messages, and no others, are let
  // through. The lines begin with their priority.
  static Lines lines_of(const std::function<void()>& call);
};

#endif  // TVUREV_TESTS_UNIT_SMBIOS_LOADED_TABLE_H_
