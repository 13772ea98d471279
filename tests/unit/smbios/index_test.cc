// SPDX-License-Identifier: Apache-2.0
// The structures by what the queries look for, against a walk that shares no code
// with them; and how many steps all queries of a table take.
#include "smbios/index.h"

#include <atomic>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ortinv/oem_queries.h"
#include "tests/unit/smbios/loaded_table.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names that --wrap gives
extern "C" {
int __real_SmBiosNextStructure(const uint8_t** cursor);
int __wrap_SmBiosNextStructure(const uint8_t** cursor);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Of every walk that was made.
std::atomic<long> g_steps;

}  // namespace

int __wrap_SmBiosNextStructure(const uint8_t** cursor) {
  ++g_steps;
  return __real_SmBiosNextStructure(cursor);
}

namespace {

constexpr int kSeeds = 40;
constexpr int kHandles = 6;

uint32_t word(const uint8_t* structure, size_t offset) {
  return structure[offset] | static_cast<uint32_t>(structure[offset + 1]) << 8U;
}

using Matches = std::function<bool(const uint8_t*)>;

const uint8_t* first_of(uint8_t type, const Matches& matches) {
  const uint8_t* structure = nullptr;
  for (uint16_t index = 0; SmBiosFindStructure(type, index, &structure) == 1; ++index) {
    if (matches(structure)) {
      return structure;
    }
  }
  return nullptr;
}

Matches has_address(size_t segment, size_t bus, size_t device_function, uint64_t value) {
  return [=](const uint8_t* structure) {
    return word(structure, segment) == value >> 16U && structure[bus] == (value >> 8U & 0xFFU) &&
           structure[device_function] == (value & 0xFFU);
  };
}

Matches has_word(size_t offset, uint64_t value) {
  return [=](const uint8_t* structure) { return word(structure, offset) == value; };
}

const uint8_t* linked_to_device(uint64_t handle) {
  const uint8_t* linked = nullptr;
  first_of(203, [&](const uint8_t* structure) {
    if (word(structure, 4) == handle) {
      linked = first_of(240, has_word(4, word(structure, 2)));
    }
    return linked != nullptr;
  });
  return linked;
}

const uint8_t* expected(By by, uint64_t value) {
  switch (by) {
    case By::kSlotBus:
      return first_of(9, [&](const uint8_t* structure) {
        return word(structure, 13) == value >> 8U && structure[15] == (value & 0xFFU);
      });
    case By::kOnboardAddress:
      return first_of(41, has_address(7, 9, 10, value));
    case By::kCorrelation:
      return value != 0 ? nullptr : first_of(203, [](const uint8_t*) { return true; });
    case By::kShortCorrelation:
      return value != 0 ? nullptr
                        : first_of(203, [](const uint8_t* structure) { return structure[1] < 36; });
    case By::kCorrelationDevice:
      return first_of(203, has_word(4, value));
    case By::kCorrelationAddress:
      return first_of(203, has_address(36, 38, 39, value));
    case By::kNicAddress:
      return first_of(233, has_address(4, 6, 7, value));
    case By::kLinkedCorrelation:
      return first_of(240, has_word(4, value));
    case By::kLinkedDevice:
      return linked_to_device(value);
  }
  return nullptr;
}

constexpr By kAll[] = {By::kSlotBus,          By::kOnboardAddress,    By::kCorrelation,
                       By::kShortCorrelation, By::kCorrelationDevice, By::kCorrelationAddress,
                       By::kNicAddress,       By::kLinkedCorrelation, By::kLinkedDevice};

// Few handles and addresses, so that many structures have the same; lengths that
// leave fields to what follows.
SmbiosTable table_of_seed(unsigned seed) {
  std::mt19937 random(seed);
  const auto below = [&](unsigned limit) { return static_cast<uint8_t>(random() % limit); };
  constexpr uint8_t kTypes[] = {9, 41, 203, 233, 240, 242};
  constexpr uint8_t kLengths[] = {4, 8, 11, 17, 35, 36, 40, 43};
  SmbiosTable table;
  for (int number = 0; number < 60; ++number) {
    const uint8_t length = kLengths[below(8)];
    SmbiosStructure structure(kTypes[below(6)], below(kHandles), length);
    for (size_t offset = 4; offset < length; ++offset) {
      structure.u8(offset, offset % 2 == 0 ? below(kHandles) : uint8_t{0});
    }
    table.add(below(2) == 0 ? structure : structure.string("\x01\x01\x01\x01\x01\x01"));
  }
  return table;
}

void expect_all_found(const std::string& when) {
  for (const By by : kAll) {
    for (const uint64_t high :
         {uint64_t{0}, uint64_t{0x100}, uint64_t{0x010101}, uint64_t{0x2E2E}}) {
      for (uint64_t low = 0; low < kHandles; ++low) {
        ASSERT_EQ(first_by(by, high + low), expected(by, high + low))
            << when << ", by " << static_cast<int>(by) << ", value " << high + low;
      }
    }
  }
}

class Index : public LoadedTable {};

TEST_F(Index, FindsWhatAWalkWouldFindFirst) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    load(table_of_seed(seed));
    expect_all_found("seed " + std::to_string(seed));
    ASSERT_EQ(SmBiosTerm(), 0);
  }
}

TEST_F(Index, IsNotNeededToFindIt) {
  for (unsigned seed = 0; seed < kSeeds; ++seed) {
    load(table_of_seed(seed));
    for (const By by : kAll) {
      for (uint64_t value = 0; value < kHandles; ++value) {
        drop_index();
        CallScript script;
        script.fail_calloc(1);
        ASSERT_EQ(first_by(by, value), expected(by, value))
            << "seed " << seed << ", by " << static_cast<int>(by) << ", value " << value;
      }
    }
    ASSERT_EQ(SmBiosTerm(), 0);
  }
}

TEST_F(Index, FollowsTextsThatAreCleanedWhereFieldsAreRead) {
  load(SmbiosTable().add(SmbiosStructure(203, 1, 4).string("\x01\x02")));
  const uint8_t* structure = structure_of(203);
  EXPECT_EQ(first_by(By::kCorrelationDevice, 0x0201), structure);
  EXPECT_STREQ(SmBiosGetCleanString(structure, 4, 1), "..");
  EXPECT_EQ(first_by(By::kCorrelationDevice, 0x0201), nullptr);
  EXPECT_EQ(first_by(By::kCorrelationDevice, 0x2E2E), structure);
}

TEST_F(Index, GoesWithItsTable) {
  EXPECT_EQ(first_by(By::kCorrelation, 0), nullptr);
  load(SmbiosTable().add(SmbiosStructure(203, 1, 40)));
  EXPECT_NE(first_by(By::kCorrelation, 0), nullptr);
  ASSERT_EQ(SmBiosTerm(), 0);
  EXPECT_EQ(first_by(By::kCorrelation, 0), nullptr);
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17)));
  EXPECT_EQ(first_by(By::kCorrelation, 0), nullptr);
}

TEST_F(Index, HasNoStructureOnABusThatNoneCanHold) {
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17)).add(SmbiosStructure(233, 2, 41)));
  EXPECT_NE(first_by(By::kSlotBus, bus_value(0, 0)), nullptr);
  EXPECT_EQ(first_by(By::kSlotBus, bus_value(0x10000, 0)), nullptr);
  EXPECT_EQ(first_by(By::kSlotBus, bus_value(0, 0x100)), nullptr);
  EXPECT_EQ(first_by(By::kNicAddress, address_value(0x10000, 0, 0)), nullptr);
  EXPECT_EQ(first_by(By::kNicAddress, address_value(0, 0x100, 0)), nullptr);
}

TEST_F(Index, IsMadeByQueriesInParallel) {
  load(table_of_seed(1));
  const uint8_t* correlation = structure_of(203);
  for (int round = 0; round < 50; ++round) {
    drop_index();
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int number = 0; number < 4; ++number) {
      threads.emplace_back([&] { right += first_by(By::kCorrelation, 0) == correlation ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    ASSERT_EQ(right, 4);
  }
}

class PciDevices : public LoadedTable {
 protected:
  // Of listing every PCI function of a table of so many and asking all about each.
  static long steps_for(int functions) {
    SmbiosTable table;
    for (int number = 0; number < functions; ++number) {
      table.add(SmbiosStructure(233, 1, 8)
                    .u8(6, static_cast<uint8_t>(number / 256))
                    .u8(7, static_cast<uint8_t>(number % 256)));
    }
    table.add(SmbiosStructure(203, 2, 40).u16(4, 0x7777).u8(38, 0xFF));
    load(table);
    g_steps = 0;
    SmbPciAddress* list = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(SmbListPciDevices(&list, &count), 0);
    EXPECT_EQ(count, static_cast<uint32_t>(functions));
    for (uint32_t index = 0; index < count; ++index) {
      ask_all_about(list[index]);
    }
    free(list);
    const long steps = g_steps;
    EXPECT_EQ(SmBiosTerm(), 0);
    return steps;
  }

  static void ask_all_about(const SmbPciAddress& at) {
    EXPECT_EQ(SmbGetPciLocation(at.segment, at.bus, at.device, at.function), nullptr);
    EXPECT_EQ(SmbGetPciName(at.segment, at.bus, at.device, at.function), nullptr);
    EXPECT_EQ(SmbGetPartNumber(at.segment, at.bus, at.device, at.function), nullptr);
    EXPECT_EQ(
        SmbGetPciLinkedString(static_cast<uint8_t>(at.segment), at.bus, at.device, at.function),
        nullptr);
    SmbGetNicPortNum(static_cast<uint8_t>(at.segment), at.bus,
                     static_cast<uint8_t>(at.device << 3U | at.function));
  }
};

TEST_F(PciDevices, TakeAFixedNumberOfWalksHoweverManyTheTableHas) {
  constexpr int kFunctions = 3000;
  const long once = steps_for(kFunctions);
  EXPECT_GT(once, kFunctions);
  EXPECT_LE(once, 6 * (kFunctions + 2));
  EXPECT_LE(steps_for(2 * kFunctions), 2 * once);
}

}  // namespace
