// SPDX-License-Identifier: Apache-2.0
// Structures as the rows of their types read them. The words and most of the
// formats are held by the comparison with dmidecode, tests/smbios_compare/.
#include <map>
#include <span>
#include <string>

#include "ortinv/smbios_standard.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

struct Value {
  std::string text;
  uint64_t number = 0;
  SmbValueState state = kSmbValueGiven;
  std::vector<std::string> items;
};
using Values = std::map<std::string, Value>;

class Decode : public testing::Test {
 protected:
  void TearDown() override { SmBiosTerm(); }

  static SmbStructure load(const SmbiosStructure& structure) {
    SmBiosTerm();
    const auto dump = SmbiosTable().add(structure).dmidecode_dump();
    char reason[SMB_REASON_SIZE];
    EXPECT_EQ(SmBiosLoadDump(dump.data(), dump.size(), reason, sizeof reason), 0) << reason;
    SmbStructure* list = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(SmbListStructures(&list, &count), 0);
    EXPECT_EQ(count, 1U);
    const SmbStructure first = *list;
    free(list);
    return first;
  }

  static Values values_of(const SmbiosStructure& structure) {
    const SmbStructure loaded = load(structure);
    SmbDecoded* decoded = nullptr;
    EXPECT_EQ(SmbDecode(&loaded, &decoded), 0);
    Values values;
    for (const SmbValue& value : std::span(decoded->values, decoded->value_count)) {
      values[value.field->key] = {
          value.text, value.number, value.state, {value.items, value.items + value.item_count}};
    }
    free(decoded);
    return values;
  }
};

TEST_F(Decode, LeavesOutWhatAShortStructureHasNot) {
  const Values values = values_of(SmbiosStructure(1, 1, 25).string(4, "Maker"));
  EXPECT_EQ(values.at("manufacturer").text, "Maker");
  EXPECT_TRUE(values.contains("wake_up_type"));
  EXPECT_FALSE(values.contains("sku_number"));
  EXPECT_FALSE(values.contains("family"));
}

TEST_F(Decode, LeavesOutStringsThatAreNotInTheSet) {
  const Values values = values_of(SmbiosStructure(1, 1, 27).string(4, "Maker").u8(5, 2));
  EXPECT_FALSE(values.contains("product_name"));
  EXPECT_EQ(values.at("version").text, "Not Specified");
  EXPECT_EQ(values.at("version").state, kSmbValueSpecial);
}

TEST_F(Decode, CleansTextsAndLeavesTheTableAsItIs) {
  const SmbStructure loaded = load(SmbiosStructure(1, 1, 27).string(4, "a\x01\xC3\xA9z"));
  SmbDecoded* decoded = nullptr;
  ASSERT_EQ(SmbDecode(&loaded, &decoded), 0);
  EXPECT_STREQ(decoded->values[0].text, "a...z");
  free(decoded);
  EXPECT_STREQ(SmbStructureString(&loaded, 1), "a\x01\xC3\xA9z");
}

TEST_F(Decode, TakesAMemorySizeFromTheExtendedFieldWhereItDoesNotFit) {
  SmbiosStructure device(17, 1, 34);
  device.u16(12, 0x7FFF).u16(28, 0x0000).u16(30, 0x0002);
  EXPECT_EQ(values_of(device).at("size").text, "128 GB");
  EXPECT_EQ(values_of(device).at("size").number, uint64_t{128} << 30);
}

TEST_F(Decode, ReadsMemorySizesInBothUnits) {
  EXPECT_EQ(values_of(SmbiosStructure(17, 1, 27).u16(12, 0x8000 | 512)).at("size").text, "512 kB");
  EXPECT_EQ(values_of(SmbiosStructure(17, 1, 27).u16(12, 8192)).at("size").text, "8 GB");
  const Values empty = values_of(SmbiosStructure(17, 1, 27));
  EXPECT_EQ(empty.at("size").text, "No Module Installed");
  EXPECT_EQ(empty.at("size").state, kSmbValueSpecial);
}

TEST_F(Decode, SaysTheNumberOfAValueWithoutMeaning) {
  const Values values = values_of(SmbiosStructure(17, 1, 27).u8(14, 0xEE));
  EXPECT_EQ(values.at("form_factor").text, "Reserved (0xEE)");
  EXPECT_EQ(values.at("form_factor").state, kSmbValueReserved);
  EXPECT_EQ(values.at("form_factor").number, 0xEEU);
}

TEST_F(Decode, GivesSignedNumbersAsSuch) {
  const Values values = values_of(SmbiosStructure(28, 1, 22).u16(6, 1050).u16(8, 0xFFCE));
  EXPECT_EQ(values.at("maximum_value").text, "105.0 deg C");
  EXPECT_EQ(values.at("minimum_value").text, "-5.0 deg C");
  EXPECT_EQ(static_cast<int64_t>(values.at("minimum_value").number), -50);
}

TEST_F(Decode, ListsWhatIsThereOfAListThatIsCutOff) {
  const Values values = values_of(SmbiosStructure(2, 1, 17).u8(13, 10).u8(14, 4).u16(15, 0x0400));
  EXPECT_EQ(values.at("contained_object_handles").items, std::vector<std::string>{"0x0400"});
  EXPECT_EQ(values.at("contained_object_handles").number, 4U);
}

TEST_F(Decode, FindsTheFieldsBehindAList) {
  SmbiosStructure chassis(3, 1, 28);
  chassis.u8(19, 2).u8(20, 3).bytes(21, {0x91, 8, 32, 0x0A, 1, 1}).string(27, "SKU");
  const Values values = values_of(chassis);
  EXPECT_EQ(values.at("contained_elements").items,
            (std::vector<std::string>{"Memory Device (8-32)", "Motherboard (1)"}));
  EXPECT_EQ(values.at("sku_number").text, "SKU");
}

TEST_F(Decode, GivesWordsAndTheNumberOfASetOfBits) {
  const Values values = values_of(SmbiosStructure(2, 1, 15).u8(9, 0x89));
  EXPECT_EQ(values.at("features").items,
            (std::vector<std::string>{"Board is a hosting board", "Board is replaceable"}));
  EXPECT_EQ(values.at("features").number, 0x89U);
}

TEST_F(Decode, ShowsRecordsOfProtocols) {
  SmbiosStructure interface(42, 1, 15);
  interface.bytes(4, {0x40, 2, 0xAA, 0xBB, 1, 4, 3, 1, 2, 3});
  const Values values = values_of(interface);
  EXPECT_EQ(values.at("interface_type").text, "Network Host Interface");
  EXPECT_EQ(values.at("interface_specific_data").items, std::vector<std::string>{"AA BB"});
  EXPECT_EQ(values.at("protocol_records").items,
            std::vector<std::string>{"Redfish over IP: 01 02 03"});
}

TEST_F(Decode, KnowsTheMakersDrives) {
  const Values values =
      values_of(SmbiosStructure(242, 1, 43).string(39, "SN1").string(40, "SSD").string(42, "Bay"));
  EXPECT_EQ(values.at("serial_number").text, "SN1");
  EXPECT_EQ(values.at("location").text, "Bay");
}

TEST_F(Decode, GivesNoValuesOfOtherTypes) {
  const SmbStructure loaded = load(SmbiosStructure(200, 1, 20));
  SmbDecoded* decoded = nullptr;
  ASSERT_EQ(SmbDecode(&loaded, &decoded), 0);
  EXPECT_EQ(decoded->type, nullptr);
  EXPECT_EQ(decoded->value_count, 0U);
  free(decoded);
}

TEST_F(Decode, RefusesWhatIsNoStructureOfTheTable) {
  SmbStructure loaded = load(SmbiosStructure(1, 1, 27));
  SmbDecoded* decoded = nullptr;
  EXPECT_EQ(SmbDecode(nullptr, &decoded), -1);
  EXPECT_EQ(SmbDecode(&loaded, nullptr), -1);
  SmbStructure other = loaded;
  other.size = 1U << 30;
  EXPECT_EQ(SmbDecode(&other, &decoded), -1);
  SmBiosTerm();
  EXPECT_EQ(SmbDecode(&loaded, &decoded), -1);
  EXPECT_EQ(decoded, nullptr);
}

TEST_F(Decode, ReadsTheFirstPartsOfAUuidByTheTablesVersion) {
  auto dump = SmbiosTable()
                  .add(SmbiosStructure(1, 1, 27).bytes(
                      8, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}))
                  .dmidecode_dump();
  const auto uuid_at = [&](uint8_t minor) {
    dump[4] = static_cast<uint8_t>(dump[4] + dump[7] - minor);
    dump[7] = minor;
    EXPECT_EQ(SmBiosLoadDump(dump.data(), dump.size(), nullptr, 0), 0);
    SmbStructure* list = nullptr;
    uint32_t count = 0;
    SmbDecoded* decoded = nullptr;
    EXPECT_EQ(SmbListStructures(&list, &count), 0);
    EXPECT_EQ(SmbDecode(list, &decoded), 0);
    const std::string uuid = decoded->values[4].text;
    free(decoded);
    free(list);
    SmBiosTerm();
    return uuid;
  };
  EXPECT_EQ(uuid_at(5), "00010203-0405-0607-0809-0a0b0c0d0e0f");
  EXPECT_EQ(uuid_at(6), "03020100-0504-0706-0809-0a0b0c0d0e0f");
}

TEST(StandardTypes, AreAscendingAndFoundByNumber) {
  ASSERT_EQ(SmbStandardTypeCount(), 39U);
  for (uint32_t index = 0; index < SmbStandardTypeCount(); ++index) {
    const SmbStandardType* type = SmbStandardTypeAt(index);
    EXPECT_EQ(SmbFindStandardType(type->type), type);
    EXPECT_TRUE(index == 0 || SmbStandardTypeAt(index - 1)->type < type->type);
  }
  EXPECT_EQ(SmbStandardTypeAt(SmbStandardTypeCount()), nullptr);
  EXPECT_EQ(SmbFindStandardType(256), nullptr);
  EXPECT_EQ(SmbFindStandardType(200), nullptr);
}

TEST(StandardTypes, HaveTheFieldsThatKeyWordsName) {
  const SmbStringKeyword* keyword = nullptr;
  uint32_t count = 0;
  for (; (keyword = SmbStringKeywordAt(count)) != nullptr; ++count) {
    const SmbStandardType* type = SmbFindStandardType(keyword->type);
    ASSERT_NE(type, nullptr) << keyword->keyword;
    int found = 0;
    for (const SmbStandardField& field : std::span(type->fields, type->field_count)) {
      found += std::string(field.key) == keyword->key ? 1 : 0;
    }
    EXPECT_EQ(found, 1) << keyword->keyword;
  }
  EXPECT_EQ(count, 26U);
}

TEST(StandardTypes, AreNamedByKeyWords) {
  uint32_t count = 7;
  const uint8_t* types = SmbKeywordTypes("memory", &count);
  EXPECT_EQ(std::vector<uint8_t>(types, types + count), (std::vector<uint8_t>{5, 6, 16, 17}));
  EXPECT_EQ(SmbKeywordTypes("Memory", &count), nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(SmbKeywordTypes(nullptr, nullptr), nullptr);
}

}  // namespace
