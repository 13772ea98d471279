// SPDX-License-Identifier: Apache-2.0
// Many threads asking for records of one table at once; the thread sanitizer
// watches the texts that are cleaned in place.
#include <string>
#include <thread>

#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class Threads : public LoadedTable {};

constexpr int kThreads = 8;
constexpr int kRounds = 50;

constexpr int kSlots = 12;

SmbiosTable table_to_be_cleaned() {
  SmbiosTable table;
  table.add(SmbiosStructure(0, 1, 24).string(4, "Vendor\x01").string(5, "Version\x02"));
  table.add(SmbiosStructure(1, 2, 27).string(4, "Maker\x03").string(26, "Family\x7F"));
  for (uint16_t handle = 0; handle < kSlots; ++handle) {
    table.add(SmbiosStructure(9, handle, 17).string(4, "Slot\t1"));
  }
  table.add(SmbiosStructure(204, 3, 11).string(4, "Rack\x80").string(7, "12"));
  return table.add(SmbiosStructure(195, 4, 5).string(4, "Server\xFF"));
}

// Counts the records of all kinds that read as they should.
int good_records() {
  int good = 0;
  for (const auto& bios : records_of<SmbBiosInfoRec>(0)) {
    good += std::string(bios.vendor) == "Vendor." && std::string(bios.version) == "Version.";
  }
  for (const auto& system : records_of<SmbSystemInfoRec>(1)) {
    good += std::string(system.manufacturer) == "Maker." && std::string(system.family) == "Family.";
  }
  for (const auto& slot : records_of<SmbSlotRec>(9)) {
    good += std::string(slot.designation) == "Slot.1";
  }
  for (const auto& enclosure : records_of<SmbEnclosureRec>(204)) {
    good += std::string(enclosure.rackName) == "Rack." && enclosure.enclosureBayNumber == 12;
  }
  for (const auto& server : records_of<SmbServerIdRec>(195)) {
    good += std::string(server.serverSystemIdStr) == "Server.";
  }
  return good;
}

TEST_F(Threads, GetTheSameRecords) {
  load(table_to_be_cleaned());
  std::vector<int> good(kThreads, 0);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int& own : good) {
    threads.emplace_back([&own] {
      for (int round = 0; round < kRounds; ++round) {
        own += good_records();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds * (kSlots + 4)));
}

}  // namespace
