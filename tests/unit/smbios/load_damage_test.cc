// SPDX-License-Identifier: Apache-2.0
// Damaged dumps through every call that loads, lists and decodes. What may come
// back is checked here; what may be touched, by the address sanitizer.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <span>

#include "ortinv/smbios_standard.h"
#include "tests/support/smbios/sample_host.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Random = std::mt19937_64;

constexpr uint64_t kLoadSeed = 20261121;
constexpr int kLoadRounds = 3'000;

// A structure of each type that has rows, random but for its header.
Bytes random_table(Random& random) {
  Bytes table;
  for (uint32_t index = 0; index < SmbStandardTypeCount(); ++index) {
    const uint8_t type = SmbStandardTypeAt(index)->type;
    const size_t length = 4 + random() % 120;
    const size_t start = table.size();
    table.resize(start + length);
    std::generate(table.begin() + static_cast<ptrdiff_t>(start), table.end(), [&] {
      return static_cast<uint8_t>(random() % 3 == 0 ? random() % 8 : random());
    });
    table[start] = type;
    table[start + 1] = static_cast<uint8_t>(length);
    for (size_t text = random() % 5; text > 0; --text) {
      table.insert(table.end(), {static_cast<uint8_t>(1 + random() % 255), 'x', 0});
    }
    table.insert(table.end(), table.back() == 0 && table.size() > start + length ? 1 : 2, 0);
  }
  return table;
}

void damage(Bytes& table, Random& random) {
  for (size_t wound = random() % 12; wound > 0; --wound) {
    table[random() % table.size()] = static_cast<uint8_t>(random() % 2 == 0 ? 0 : random());
  }
  if (random() % 4 == 0) {
    table.resize(1 + random() % table.size());
  }
}

bool printable(const char* text) {
  return std::all_of(text, text + strlen(text),
                     [](char character) { return character >= 0x20 && character <= 0x7E; });
}

void expect_sound_values(const SmbDecoded& decoded) {
  for (const SmbValue& value : std::span(decoded.values, decoded.value_count)) {
    EXPECT_TRUE(printable(value.text)) << value.field->key;
    EXPECT_EQ(value.shape, SmbKindShape(value.field->kind));
    EXPECT_LE(value.item_count, 256U);
    for (const char* item : std::span(value.items, value.item_count)) {
      EXPECT_TRUE(printable(item)) << value.field->key;
    }
  }
}

void expect_sound_table() {
  SmbTableStatus status{};
  SmbStructure* structures = nullptr;
  uint32_t count = 0;
  ASSERT_EQ(SmbGetTableStatus(&status), 0);
  ASSERT_EQ(SmbListStructures(&structures, &count), 0);
  EXPECT_EQ(status.count, count);
  EXPECT_EQ(status.problems == 0, status.text[0] == '\0');
  uint64_t end = 0;
  for (const SmbStructure& structure : std::span(structures, count)) {
    EXPECT_EQ(structure.offset, end);
    end += structure.size;
    EXPECT_LE(end, status.length);
    SmbDecoded* decoded = nullptr;
    ASSERT_EQ(SmbDecode(&structure, &decoded), 0);
    expect_sound_values(*decoded);
    free(decoded);
    for (uint32_t number = 0; number <= std::min(structure.string_count + 1, 10U); ++number) {
      const char* text = SmbStructureString(&structure, number);
      EXPECT_EQ(text == nullptr, number == 0 || number > structure.string_count);
    }
  }
  free(structures);
}

TEST(LoadDamage, OfATableIsDecodedWithinIt) {
  Random random(kLoadSeed);
  const Bytes entry = sample_host_table().dmidecode_dump();
  for (int round = 0; round < kLoadRounds && !testing::Test::HasFailure(); ++round) {
    Bytes table = random_table(random);
    damage(table, random);
    Bytes point(entry.begin(), entry.begin() + 31);
    point[16 + 6] = 0xFF;
    point[16 + 7] = 0x7F;
    point[16 + 5] = 0;
    point[16 + 5] = static_cast<uint8_t>(-std::accumulate(point.begin() + 16, point.end(), 0));
    point[4] = 0;
    point[4] = static_cast<uint8_t>(-std::accumulate(point.begin(), point.end(), 0));
    char reason[SMB_REASON_SIZE];
    if (SmBiosLoadTable(point.data(), point.size(), table.data(), table.size(), reason,
                        sizeof reason) == 0) {
      expect_sound_table();
    } else {
      EXPECT_STREQ(reason, "The table does not begin with a structure");
    }
    SmBiosTerm();
  }
}

TEST(LoadDamage, OfADumpIsRefusedOrDecodedWithinIt) {
  Random random(kLoadSeed + 1);
  const Bytes whole = sample_host_table().dmidecode_dump();
  int loaded = 0;
  for (int round = 0; round < kLoadRounds && !testing::Test::HasFailure(); ++round) {
    Bytes dump = whole;
    damage(dump, random);
    char reason[SMB_REASON_SIZE] = "";
    if (SmBiosLoadDump(dump.data(), dump.size(), reason, sizeof reason) == 0) {
      ++loaded;
      expect_sound_table();
    } else {
      EXPECT_NE(reason[0], '\0');
    }
    SmBiosTerm();
  }
  EXPECT_GT(loaded, kLoadRounds / 4);
}

}  // namespace
