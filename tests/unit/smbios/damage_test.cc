// SPDX-License-Identifier: Apache-2.0
// A hundred thousand damaged tables through every public function. What may come
// back is checked here; what may be touched, by the address sanitizer.
#include <algorithm>
#include <cstring>
#include <random>
#include <span>
#include <string>

#include "ortinv/oem_queries.h"
#include "ortinv/smbios_types.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr int kRounds = 5'000;  // one thread: slow there, and nothing to be found
#elif defined(__SANITIZE_ADDRESS__)
constexpr int kRounds = 20'000;  // the fuzz target has all the time
#else
constexpr int kRounds = 40'000;
#endif
constexpr uint64_t kSeed = 20240314;

using Random = std::mt19937_64;
using Bytes = std::vector<uint8_t>;

size_t below(Random& random, size_t limit) {
  return random() % limit;
}

SmbiosTable small_table() {
  return SmbiosTable()
      .add(SmbiosStructure(0, 0x10, 24).string(4, "Vendor").string(5, "1.0").string(8, "date"))
      .add(SmbiosStructure(1, 0x11, 27).string(4, "Maker").string(5, "Product").string(26, "F"))
      .add(SmbiosStructure(9, 0x0901, 17).string(4, "Slot").u8(15, 1))
      .add(SmbiosStructure(41, 0x2900, 11).string(4, "NIC").u8(9, 2).u8(10, 0x08))
      .add(SmbiosStructure(195, 0x12, 5).string(4, "SERVER"))
      .add(SmbiosStructure(203, 0x2001, 40)
               .u16(4, 0x0901)
               .string(30, "name")
               .string(31, "location")
               .string(34, "part")
               .u8(38, 3))
      .add(SmbiosStructure(203, 0x2002, 40).u16(4, 0x2900).string(34, "part").u8(38, 2))
      .add(SmbiosStructure(233, 0x13, 41).u8(6, 2).u8(7, 0x08))
      .add(SmbiosStructure(240, 0x14, 11).u16(4, 0x2001).string(10, "linked"))
      .add(SmbiosStructure(242, 0x15, 43).string(39, " SN1  ").string(40, "t").string(42, "bay"))
      .add(SmbiosStructure(204, 0x16, 11).string(4, "Rack").string(7, "07").string(10, "S"))
      .add(SmbiosStructure(222, 0x17, 38).u16(4, 1).u8(6, 0x11))
      .add(SmbiosStructure(127, 0x18, 4));
}

// Where the structures of an image begin; damage to these reaches furthest.
std::vector<size_t> structure_starts(const SmbiosTable& table) {
  const Bytes& bytes = table.structures();
  std::vector<size_t> starts;
  for (size_t position = 0; position < bytes.size();) {
    starts.push_back(position);
    position += bytes[position + 1];
    while (bytes[position] != 0 || bytes[position + 1] != 0) {
      ++position;
    }
    position += 2;
  }
  return starts;
}

uint8_t telling_value(Random& random) {
  constexpr uint8_t kValues[] = {0, 1, 2, 3, 4, 5, 9, 41, 127, 128, 203, 204, 222, 240, 242, 255};
  return below(random, 2) == 0 ? kValues[below(random, std::size(kValues))]
                               : static_cast<uint8_t>(random());
}

// An image of a table, and where its parts are.
class Damaged {
 public:
  explicit Damaged(Random& random) : random_(random) {
    static const SmbiosTable whole = small_table();
    static const std::vector<size_t> starts = structure_starts(whole);
    static const Bytes at_start = whole.device_image();
    static const Bytes at_end = image_at_block_end(whole);
    image = below(random, 2) == 0 ? at_start : at_end;
    table_ = image.size() - whole.structures().size();
    entry_ = (table_ - 31) / 4 * 4;
    starts_ = &starts;
    const size_t wounds = 1 + below(random, 6);
    for (size_t wound = 0; wound < wounds; ++wound) {
      damage();
    }
  }

  Bytes image;

 private:
  void damage() {
    switch (below(random_, 8)) {
      case 0:  // the type or the length of a structure
        put(table_ + (*starts_)[below(random_, starts_->size())] + below(random_, 2));
        break;
      case 1:  // the entry point's length, and rarely the table's
        put(entry_ + 5);
        if (below(random_, 256) == 0) {
          put(entry_ + 22);
          put(entry_ + 23);
        }
        break;
      case 2:  // the rest is missing
        if (below(random_, 4) == 0) {
          image.resize(std::max(table_, image.size() - below(random_, 64)));
        }
        break;
      case 3:  // no zeros for a while
        fill(static_cast<uint8_t>(random_() | 1));
        break;
      case 4:
        fill(0);
        break;
      case 5:  // one part of the table overwrites another
        for (size_t from = somewhere(), to = somewhere(), left = below(random_, 48); left > 0;
             --left) {
          put(to++, from < image.size() ? image[from++] : uint8_t{0});
        }
        break;
      default:
        put(somewhere());
    }
  }

  size_t somewhere() { return table_ + below(random_, image.size() - table_ + 1); }
  void put(size_t position) { put(position, telling_value(random_)); }
  void put(size_t position, uint8_t value) {
    if (position < image.size()) {
      image[position] = value;
    }
  }
  void fill(uint8_t value) {
    for (size_t position = somewhere(), left = below(random_, 40); left > 0; --left) {
      put(position++, value);
    }
  }

  Random& random_;
  size_t table_ = 0;
  size_t entry_ = 0;
  const std::vector<size_t>* starts_ = nullptr;
};

// No text is longer than the block: it was read to its end.
bool ends(const char* text) {
  return text == nullptr || strlen(text) <= kBlockSize;
}

// How many structures of each type the walk meets, having read all of each.
std::vector<uint32_t> walk() {
  std::vector<uint32_t> counts(256);
  uint32_t sum = 0;
  const uint8_t* structure = nullptr;
  while (SmBiosNextStructure(&structure) == 1) {
    const uint32_t earlier = counts[*structure]++;
    if (earlier < 2) {
      const uint8_t* found = nullptr;
      EXPECT_EQ(SmBiosFindStructure(*structure, static_cast<uint16_t>(earlier), &found), 1);
      EXPECT_EQ(found, structure);
      for (size_t offset = 0; offset < 256; ++offset) {
        sum += structure[offset];
      }
      constexpr uint16_t kNumbers[] = {0, 1, 2, 60};
      for (const uint16_t number : kNumbers) {
        EXPECT_TRUE(ends(SmBiosGetString(structure, number)));
      }
    }
  }
  EXPECT_LE(sum, 256U * 2 * 256 * 255);
  return counts;
}

void expect_good_records(const SmbType& type, const std::vector<uint32_t>& counts) {
  void* array = nullptr;
  uint32_t count = 7;
  EXPECT_EQ(SmBiosGetRecords(type.type, &array, &count), counts[type.type] == 0 ? -1 : 0);
  EXPECT_EQ(count, counts[type.type]) << type.name;
  const auto* record = static_cast<const char*>(array);
  for (uint32_t index = 0; index < count; ++index, record += type.record_size) {
    for (const SmbField& field : std::span(type.fields, type.field_count)) {
      const bool ended = field.kind != kSmbFieldText ||
                         strnlen(record + field.offset, field.size_or_count) < field.size_or_count;
      if (!ended) {
        ADD_FAILURE() << "no end of " << field.key << " in " << type.name;
      }
    }
  }
  free(array);
}

void expect_good_lists(const std::vector<uint32_t>& counts) {
  SmbPciAddress* addresses = nullptr;
  uint32_t count = 0;
  EXPECT_EQ(SmbListPciDevices(&addresses, &count), 0);
  EXPECT_LE(count, counts[9] + counts[41] + counts[203] + counts[233]);
  for (uint32_t index = 0; index < count; ++index) {
    if (addresses[index].device > 31 || addresses[index].function > 7) {
      ADD_FAILURE() << "no PCI address";
    }
  }
  free(addresses);
  SmbDriveInfo* drives = nullptr;
  EXPECT_EQ(SmbListDrives(&drives, &count), 0);
  EXPECT_EQ(count, counts[242]);
  for (uint32_t index = 0; drives != nullptr && index < count; ++index) {
    const SmbDriveInfo& drive = drives[index];
    if (strnlen(drive.serial, sizeof drive.serial) == sizeof drive.serial ||
        !ends(drive.location) || !ends(drive.text)) {
      ADD_FAILURE() << "no end of a drive's texts";
    }
  }
  free(drives);
}

void expect_sound_answers(uint8_t bus, uint8_t device_function) {
  const auto device = static_cast<uint8_t>(device_function >> 3);
  const auto function = static_cast<uint8_t>(device_function & 7);
  char* location = SmbGetPciLocation(0, bus, device, function);
  EXPECT_TRUE(ends(location));
  free(location);
  EXPECT_TRUE(ends(SmbGetPartNumber(0, bus, device, function)));
  EXPECT_TRUE(ends(SmbGetPciName(0, bus, device, function)));
  EXPECT_TRUE(ends(SmbGetPciLinkedString(0, bus, device, function)));
  SmbGetNicPortNum(0, bus, device_function);
}

void expect_sound_table(Random& random) {
  const std::vector<uint32_t> counts = walk();
  expect_sound_answers(1, 0);
  expect_sound_answers(2, 0x08);
  expect_sound_answers(3, static_cast<uint8_t>(random()));
  EXPECT_TRUE(ends(SmbGetHdLoc("SN1")));
  EXPECT_TRUE(ends(SmbGetHdString("SN1")));
  expect_good_lists(counts);
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    expect_good_records(*SmbTypeAt(index), counts);
  }
  const uint8_t* structure = nullptr;
  if (SmBiosNextStructure(&structure) == 1) {
    const int length = static_cast<int>(random()) >> (random() % 32);
    EXPECT_TRUE(ends(SmBiosGetCleanString(structure, length, static_cast<uint8_t>(random()))));
    const auto number = static_cast<uint16_t>(random() >> (48 + below(random, 16)));
    EXPECT_TRUE(ends(SmBiosGetString(structure, number)));
  }
}

TEST(Damage, LeadsNoCallOutsideTheBlock) {
  Random random(kSeed);
  int read = 0;
  for (int round = 0; round < kRounds && !testing::Test::HasFailure(); ++round) {
    const Damaged damaged(random);
    if (init_from(damaged.image) == 0) {
      ++read;
      expect_sound_table(random);
    }
    EXPECT_EQ(SmBiosTerm(), 0) << "round " << round;
  }
  EXPECT_GT(read, kRounds * 9 / 10);
}

// Nothing but noise behind an entry point, in blocks of the greatest size.
TEST(Damage, OfAWholeBlockLeadsNoCallOutsideIt) {
  Random random(kSeed + 1);
  for (int round = 0; round < 50 && !testing::Test::HasFailure(); ++round) {
    Bytes image = SmbiosTable().device_image();
    image.resize(kBlockSize);
    const size_t kinds = 1 + below(random, 6);
    constexpr uint8_t kTypes[] = {203, 240, 9, 41, 242, 0};
    for (size_t position = 31; position < kBlockSize; ++position) {
      const bool zero = below(random, 3) == 0;
      image[position] = zero ? uint8_t{0} : kTypes[below(random, kinds)];
    }
    image[22] = 0xFF;
    image[23] = 0xFF;
    ASSERT_EQ(init_from(image), 0);
    expect_sound_table(random);
    EXPECT_EQ(SmBiosTerm(), 0) << "round " << round;
  }
}

}  // namespace
