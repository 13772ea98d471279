// SPDX-License-Identifier: Apache-2.0
// The rows of the structure types: what they say of the records, and the dump
// that is made from them.
#include "ortinv/smbios_types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <set>
#include <string>

#include "ortinv/smbios_records.h"
#include "smbios/dumps.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

size_t width_of(const SmbField& field) {
  switch (field.kind) {
    case kSmbFieldText:
    case kSmbFieldBytes:
      return field.size_or_count;
    case kSmbFieldU8:
      return 1;
    case kSmbFieldU16:
      return 2;
    case kSmbFieldU32:
      return 4;
    case kSmbFieldPortMaps:
      return field.size_or_count * sizeof(GbxConnectorEntry);
  }
  return 0;
}

// What a call prints to the stream that it is given.
template <typename Call>
std::string streamed_by(Call call) {
  char* text = nullptr;
  size_t size = 0;
  FILE* stream = open_memstream(&text, &size);
  call(stream);
  fclose(stream);
  std::string printed(text, size);
  free(text);
  return printed;
}

template <size_t Size>
void set_text(char (&field)[Size], std::string_view text) {
  text.copy(field, Size - 1);
}

std::vector<uint32_t> types_with_records() {
  std::vector<uint32_t> types;
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    types.push_back(SmbTypeAt(index)->type);
  }
  return types;
}

class Types : public LoadedTable {};

TEST_F(Types, AreListedAscending) {
  const std::vector<uint32_t> types = types_with_records();
  EXPECT_EQ(std::adjacent_find(types.begin(), types.end(), std::greater_equal<>()), types.end());
  EXPECT_EQ(types.size(), SmbTypeCount());
  EXPECT_NE(SmbTypeCount(), 0U);
  EXPECT_EQ(SmbTypeAt(SmbTypeCount()), nullptr);
  EXPECT_EQ(SmbTypeAt(0xFFFFFFFF), nullptr);
}

TEST_F(Types, AreFoundByTheirWholeNumber) {
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    EXPECT_EQ(SmbFindType(SmbTypeAt(index)->type), SmbTypeAt(index));
    EXPECT_EQ(SmbFindType(SmbTypeAt(index)->type + 256U), nullptr);
  }
  EXPECT_EQ(SmbFindType(2), nullptr);
  EXPECT_EQ(SmbFindType(203), nullptr);
}

TEST_F(Types, HaveTheirNamesAndRecordSizes) {
  struct Expected {
    uint32_t type;
    const char* name;
    uint32_t record_size;
  };
  const std::array expected = {
      Expected{0, "BIOS information", 276},
      Expected{1, "System information", 900},
      Expected{9, "System slot", 145},
      Expected{195, "Server system ID", 36},
      Expected{204, "Enclosure and bay of a blade server", 647},
      Expected{222, "GbX connector table", 70},
  };
  for (const auto& [type, name, record_size] : expected) {
    ASSERT_NE(SmbFindType(type), nullptr) << type;
    EXPECT_STREQ(SmbFindType(type)->name, name);
    EXPECT_EQ(SmbFindType(type)->record_size, record_size);
  }
}

TEST_F(Types, AreThoseThatRecordsCanBeHadOf) {
  SmbiosTable table;
  for (int type = 0; type < 256; ++type) {
    table.add(SmbiosStructure(static_cast<uint8_t>(type), 1, 40));
  }
  load(table);
  for (uint32_t type = 0; type < 256; ++type) {
    void* records = nullptr;
    const int result = SmBiosGetRecords(type, &records, nullptr);
    free(records);
    EXPECT_EQ(result, SmbFindType(type) == nullptr ? -1 : 0) << type;
  }
}

// Each byte of a record belongs to one field, to the header, or to the slot's
// SegmentNum, which nothing fills.
TEST_F(Types, HaveAFieldForEveryByteOfTheirRecord) {
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    const SmbType& type = *SmbTypeAt(index);
    std::vector<int> owners(type.record_size, 0);
    const auto own = [&](size_t offset, size_t width) {
      for (size_t byte = offset; byte < offset + width; ++byte) {
        ++owners.at(byte);
      }
    };
    own(0, sizeof(SmbRecordHeader));
    if (type.type == 9) {
      own(offsetof(SmbSlotRec, SegmentNum), 1);
    }
    for (uint32_t field = 0; field < type.field_count; ++field) {
      own(type.fields[field].offset, width_of(type.fields[field]));
    }
    EXPECT_EQ(owners, std::vector<int>(type.record_size, 1)) << type.name;
  }
}

TEST_F(Types, NameEachFieldOnceInLowerCase) {
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    const SmbType& type = *SmbTypeAt(index);
    std::set<std::string> keys = {"type", "handle"};
    for (uint32_t field = 0; field < type.field_count; ++field) {
      const std::string key = type.fields[field].key;
      EXPECT_EQ(key.find_first_not_of("abcdefghijklmnopqrstuvwxyz_"), std::string::npos) << key;
      EXPECT_TRUE(keys.insert(key).second) << type.name << " " << key;
    }
  }
}

TEST_F(Types, PrintToAStreamWhatTheirDumpsPrintToStandardOutput) {
  SmbBiosInfoRec bios[2] = {};
  SmbSystemInfoRec system[2] = {};
  SmbSlotRec slots[2] = {};
  SmbServerIdRec server[1] = {};
  SmbEnclosureRec enclosures[2] = {};
  SmbGbxTableRec tables[2] = {};
  set_text(bios[0].vendor, "Vendor");
  set_text(system[0].sku, "SKU");
  set_text(slots[1].designation, "Slot 2");
  set_text(server[0].serverSystemIdStr, "SERVER");
  set_text(enclosures[1].rackName, "Rack");
  tables[0].GbxTableVersion = 3;
  const auto expect_same = [](uint32_t type, const void* records, uint32_t count,
                              const std::function<void()>& dump) {
    const OutputCapture output;
    dump();
    const std::string printed = output.text();
    EXPECT_FALSE(printed.empty()) << type;
    EXPECT_EQ(
        streamed_by([&](FILE* to) { EXPECT_EQ(SmbDumpRecords(type, records, count, to), 0); }),
        printed);
  };
  expect_same(0, bios, 2, [&] { SmbDumpBiosInfo(bios); });
  expect_same(1, system, 2, [&] { SmbDumpSystemInfo(system); });
  expect_same(9, slots, 2, [&] { SmbDumpSlots(slots, 2); });
  expect_same(195, server, 1, [&] { SmbDumpServerId(server, 1); });
  expect_same(204, enclosures, 2, [&] { SmbDumpEnclosure(enclosures, 2); });
  expect_same(222, tables, 2, [&] { SmbDumpGbxTable(tables, 2); });
}

TEST_F(Types, PrintNothingForNoRecords) {
  const std::vector<uint8_t> zeros(1000);
  for (const uint32_t type : types_with_records()) {
    EXPECT_EQ(streamed_by([&](FILE* to) {
                EXPECT_EQ(SmbDumpRecords(type, zeros.data(), 0, to), 0);
                EXPECT_EQ(SmbDumpRecords(type, nullptr, 1, to), -1);
                EXPECT_EQ(SmbDumpRecords(type, zeros.data(), 1, nullptr), -1);
              }),
              "")
        << type;
  }
}

TEST_F(Types, WithoutRecordsHaveNoDump) {
  const std::vector<uint8_t> zeros(1000);
  EXPECT_EQ(streamed_by([&](FILE* to) {
              EXPECT_EQ(SmbDumpRecords(2, zeros.data(), 1, to), -1);
              EXPECT_EQ(SmbDumpRecords(256, zeros.data(), 1, to), -1);
            }),
            "");
}

TEST_F(Types, CanBeDumpedByTheirFields) {
  SmbSlotRec slots[2] = {};
  slots[0].header = {9, 17, 0x0A01};
  set_text(slots[0].designation, "Slot 1");
  slots[0].type = 165;
  slots[0].id = 0x0201;
  slots[0].characteristics1 = 0x0C;
  slots[0].characteristics2 = 5;
  slots[0].segmentGroupNum = 0xFFFF;
  slots[1].header = {9, 17, 0x0A02};
  set_text(slots[1].designation, "Slot 2");
  EXPECT_EQ(streamed_by([&](FILE* to) { dump_by_fields(*SmbFindType(9), slots, 2, to); }),
            "System slot record #1  (Type 9)\n"
            "   handle                   : 0x0A01\n"
            "   designation              : Slot 1\n"
            "   slot_type                : 165\n"
            "   data_bus_width           : 0\n"
            "   current_usage            : 0\n"
            "   slot_length              : 0\n"
            "   slot_id                  : 513\n"
            "   characteristics          : 0x0c 0x05\n"
            "   segment                  : 65535\n"
            "   bus                      : 0\n"
            "   device_function          : 0\n"
            "\n"
            "System slot record #2  (Type 9)\n"
            "   handle                   : 0x0A02\n"
            "   designation              : Slot 2\n"
            "   slot_type                : 0\n"
            "   data_bus_width           : 0\n"
            "   current_usage            : 0\n"
            "   slot_length              : 0\n"
            "   slot_id                  : 0\n"
            "   characteristics          : 0x00 0x00\n"
            "   segment                  : 0\n"
            "   bus                      : 0\n"
            "   device_function          : 0\n"
            "\n");
}

TEST_F(Types, AreDumpedByFieldsWithEveryKindOfField) {
  SmbBiosInfoRec bios = {};
  bios.address = 0xFFFFFFFF;
  EXPECT_NE(streamed_by([&](FILE* to) {
              dump_by_fields(*SmbFindType(0), &bios, 1, to);
            }).find("   address_segment          : 4294967295\n"),
            std::string::npos);
  SmbGbxTableRec table = {};
  table.GbxConnectorEntry[0].portMap[0] = {0x11, 0x80};
  table.GbxConnectorEntry[3].portMap[7] = {0xF2, 0x1F};
  std::string connectors = "   connectors               : 0x11 0x80";
  for (int byte = 0; byte < 60; ++byte) {
    connectors += " 0x00";
  }
  EXPECT_NE(streamed_by([&](FILE* to) {
              dump_by_fields(*SmbFindType(222), &table, 1, to);
            }).find(connectors + " 0xf2 0x1f\n"),
            std::string::npos);
  EXPECT_EQ(streamed_by([](FILE* to) { dump_by_fields(*SmbFindType(9), nullptr, 1, to); }), "");
}

}  // namespace
