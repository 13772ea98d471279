// SPDX-License-Identifier: Apache-2.0
// The structures of the SMBIOS table, read by the library's own reader from
// tables that are made here.
#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string_view>

#include "ortinv/choices.h"
#include "tests/unit/ortinv/command_line_fixture.h"

namespace {

using nlohmann::json;

class SmbiosCommandTest : public CommandLineTest {
 protected:
  SmbiosCommandTest() : dump_(path_ + ".dump") {}
  ~SmbiosCommandTest() override { remove(dump_.c_str()); }

  // Runs on a dump of the table.
  Result run_on(const SmbiosTable& table, std::vector<const char*> arguments) {
    EXPECT_TRUE(write_file(dump_, table.dmidecode_dump()));
    arguments.insert(arguments.end(), {"--from-dump", dump_.c_str()});
    return run(arguments);
  }

  std::string dump_;
};

SmbiosStructure memory_device(uint16_t handle, const char* locator, uint16_t megabytes) {
  SmbiosStructure structure(17, handle, 40);
  structure.u16(12, megabytes).string(16, locator).u8(18, 26);
  return structure;
}

SmbiosTable small_server() {
  SmbiosTable table;
  table.add(SmbiosStructure(0, 0, 24).string(4, "Firmware Works").string(5, "EX1"));
  table.add(SmbiosStructure(1, 0x100, 27).string(5, "Server").string(7, "SN-1"));
  table.add(SmbiosStructure(4, 0x400, 48).string(7, "Maker").string(4, "CPU 1").u8(24, 0x41));
  table.add(SmbiosStructure(4, 0x401, 48).string(7, "Maker").string(4, "CPU 2"));
  table.add(memory_device(0x1100, "DIMM 1", 16384));
  table.add(memory_device(0x1101, "DIMM 2", 0));
  table.add(SmbiosStructure(200, 0xC800, 6).u8(4, 0xAB).string("known to the maker"));
  table.add(SmbiosStructure(127, 0x7F00, 4));
  return table;
}

TEST_F(SmbiosCommandTest, TextShowsTheFieldsOfAStructure) {
  const Result result = run_on(small_server(), {"smbios", "--handle", "0x100"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.out.find("Handle 0x0100, type 1, 27 bytes\nSystem Information\n"), 0U)
      << result.out;
  EXPECT_NE(result.out.find("\tProduct Name: Server\n"), std::string::npos);
  EXPECT_NE(result.out.find("\tSerial Number: SN-1\n"), std::string::npos);
}

TEST_F(SmbiosCommandTest, EveryStructureOfATypeIsShown) {
  SmbiosTable table;
  for (const uint8_t type : std::array<uint8_t, 4>{0, 1, 195, 222}) {
    table.add(SmbiosStructure(type, static_cast<uint16_t>(type * 2), type == 195 ? 5 : 27));
    table.add(SmbiosStructure(type, static_cast<uint16_t>(type * 2 + 1), type == 195 ? 5 : 27));
  }
  table.add(SmbiosStructure(127, 0x7F00, 4));
  for (const char* type : {"0", "1", "195", "222"}) {
    const Result text = run_on(table, {"smbios", "--type", type});
    EXPECT_EQ(text.status, 0);
    size_t headings = 0;
    for (size_t at = text.out.find("Handle "); at != std::string::npos;
         at = text.out.find("Handle ", at + 1)) {
      ++headings;
    }
    EXPECT_EQ(headings, 2U) << type;
    EXPECT_EQ(run_on(table, {"smbios", "--type", type, "--json"}).document()["smbios"].size(), 2U);
  }
}

TEST_F(SmbiosCommandTest, AShortStructureHasNoFieldsThatItLacks) {
  SmbiosTable table;
  table.add(SmbiosStructure(1, 1, 8).string(4, "Maker"));
  table.add(SmbiosStructure(9, 2, 13).string(4, "Slot 1"));
  table.add(SmbiosStructure(204, 3, 10));
  table.add(SmbiosStructure(222, 4, 22).bytes(6, {0x11, 0x80}));
  table.add(SmbiosStructure(127, 5, 4));
  const json records = run_on(table, {"smbios", "--json"}).document()["smbios"];
  EXPECT_EQ(records[0]["manufacturer"], "Maker");
  EXPECT_FALSE(records[0].contains("uuid"));
  EXPECT_FALSE(records[0].contains("sku"));
  EXPECT_FALSE(records[0]["fields"].contains("uuid"));
  EXPECT_EQ(records[1]["slot_id"], 0);
  EXPECT_FALSE(records[1].contains("bus"));
  EXPECT_FALSE(records[2].contains("total_bays"));
  EXPECT_EQ(records[3]["connectors"].size(), 1U);
  EXPECT_EQ(records[3]["connectors"][0][0]["connection"], 0x11);
}

TEST_F(SmbiosCommandTest, EachStructureHasHandleLengthAndStrings) {
  const json records = run_on(small_server(), {"smbios", "--json"}).document()["smbios"];
  ASSERT_EQ(records.size(), 8U);
  EXPECT_EQ(records[1]["handle"], 0x100);
  EXPECT_EQ(records[1]["length"], 27);
  EXPECT_EQ(records[1]["strings"], json({"Server", "SN-1"}));
  EXPECT_EQ(records[6]["strings"], json({"known to the maker"}));
  EXPECT_EQ(records[6]["name"], "OEM-specific type");
  EXPECT_EQ(records[6]["bytes"], "C80600C8AB00");  // there is nothing else to show
  EXPECT_FALSE(records[1].contains("bytes"));
}

TEST_F(SmbiosCommandTest, ASizeThatTheRecordCannotHoldIsLeftOut) {
  SmbiosTable table;
  table.add(SmbiosStructure(0, 1, 24).u8(9, 0x7F));
  table.add(SmbiosStructure(0, 2, 24).u8(9, 0x80));
  const json records = run_on(table, {"smbios", "--json"}).document()["smbios"];
  EXPECT_EQ(records[0]["rom_size_kib"], 8192);
  EXPECT_FALSE(records[1].contains("rom_size_kib"));
}

TEST_F(SmbiosCommandTest, WordsAreTextsAndNumbersAreNumbers) {
  const json records =
      run_on(small_server(), {"smbios", "-t", "17", "--json"}).document()["smbios"];
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0]["fields"]["memory_type"], "DDR4");
  EXPECT_EQ(records[0]["fields"]["size"], uint64_t{16} * 1024 * 1024 * 1024);
  EXPECT_EQ(records[1]["fields"]["size"], "No Module Installed");
}

TEST_F(SmbiosCommandTest, TypesAreNumbersAndKeywordsJoinedByCommas) {
  EXPECT_EQ(
      run_on(small_server(), {"smbios", "--type", "memory", "--json"}).document()["smbios"].size(),
      2U);
  EXPECT_EQ(run_on(small_server(), {"smbios", "-t", "bios,0x04", "-t", "1", "--json"})
                .document()["smbios"]
                .size(),
            4U);
  EXPECT_EQ(run_on(small_server(), {"smbios", "--type", "Memory,BIOS"}).out,
            run_on(small_server(), {"smbios", "--type", "memory,bios"}).out);
  const Result none = run_on(small_server(), {"smbios", "--type", "cache"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.error, "ortinv: no SMBIOS structure of type cache\n");
}

TEST_F(SmbiosCommandTest, ListHasALineForEachStructure) {
  EXPECT_EQ(run_on(small_server(), {"smbios", "--list"}).out,
            "Handle  Type  Length  Name\n"
            "0x0000     0      24  BIOS Information: Firmware Works\n"
            "0x0100     1      27  System Information: Server\n"
            "0x0400     4      48  Processor Information: CPU 1\n"
            "0x0401     4      48  Processor Information: CPU 2\n"
            "0x1100    17      40  Memory Device: DIMM 1\n"
            "0x1101    17      40  Memory Device: DIMM 2\n"
            "0xC800   200       6  OEM-specific type\n"
            "0x7F00   127       4  End-of-Table\n");
}

TEST_F(SmbiosCommandTest, RawShowsBytesAndStrings) {
  EXPECT_EQ(run_on(small_server(), {"smbios", "--raw", "--type", "200"}).out,
            "Handle 0xC800, type 200, 6 bytes\n"
            "OEM-specific type\n"
            "\tHeader and Data:\n"
            "\t\tC8 06 00 C8 AB 00\n"
            "\tStrings:\n"
            "\t\tknown to the maker\n");
  const json records =
      run_on(small_server(), {"smbios", "--raw", "--type", "200", "--json"}).document()["smbios"];
  EXPECT_EQ(records[0]["bytes"], "C80600C8AB00");
}

TEST_F(SmbiosCommandTest, AKeywordPrintsOneTextForEachStructureThatHasIt) {
  EXPECT_EQ(run_on(small_server(), {"smbios", "--string", "system-serial-number"}).out, "SN-1\n");
  EXPECT_EQ(run_on(small_server(), {"smbios", "--string", "System-Serial-Number"}).out, "SN-1\n");
  EXPECT_EQ(run_on(small_server(), {"smbios", "-s", "processor-manufacturer"}).out,
            "Maker\nMaker\n");
  const json strings =
      run_on(small_server(), {"smbios", "-s", "bios-version", "--json"}).document()["strings"];
  EXPECT_EQ(strings, json::parse(R"({"keyword": "bios-version", "values": ["EX1"]})"));
  const Result none = run_on(small_server(), {"smbios", "-s", "baseboard-asset-tag"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: the SMBIOS table has no baseboard-asset-tag\n");
}

TEST_F(SmbiosCommandTest, StructuresBehindTheEndAreShownAsSuchWithAWarning) {
  SmbiosTable table = small_server();
  table.add(SmbiosStructure(1, 0x200, 27).string(7, "GHOST"));
  const Result text = run_on(table, {"smbios", "--handle", "0x200"});
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out.find("Handle 0x0200, type 1, 27 bytes, behind the end of the table\n"), 0U);
  EXPECT_EQ(text.error.find("ortinv: warning: the SMBIOS table is broken: "), 0U) << text.error;
  const json document = run_on(table, {"smbios", "--handle", "0x200", "--json"}).document();
  EXPECT_EQ(document["smbios"][0]["behind_end"], true);
  EXPECT_EQ(document["warnings"].size(), 1U);
  // The one that counts.
  EXPECT_NE(run_on(table, {}).out.find("Serial    SN-1\n"), std::string::npos);
}

TEST_F(SmbiosCommandTest, ADumpIsNotMixedWithThisHost) {
  const json document = run_on(small_server(), {"all", "--json"}).document();
  for (const char* section : {"host", "software", "bmc", "entity_mib"}) {
    EXPECT_FALSE(document.contains(section));
  }
  const std::string screen = run_on(small_server(), {}).out;
  EXPECT_EQ(screen.find("BMC"), std::string::npos);
  EXPECT_NE(screen.find("CPUs      CPU 1"), std::string::npos) << screen;
  EXPECT_NE(screen.find("Memory    16 GB, 1 of 2 slots filled\n"
                        "          DIMM 1  16 GB  DDR4"),
            std::string::npos)
      << screen;
}

TEST_F(SmbiosCommandTest, OneScreenNamesUsedSlotsWithoutTheMakersStructures) {
  constexpr uint8_t kAvailable = 3;
  constexpr uint8_t kInUse = 4;
  const auto slot = [](const char* name, uint8_t usage, uint8_t bus) {
    return SmbiosStructure(9, bus, 17).string(4, name).u8(7, usage).u8(15, bus);
  };
  SmbiosTable table;
  table.add(slot("Slot 1", kInUse, 1)).add(slot("Slot 2", kAvailable, 2));
  table.add(SmbiosStructure(41, 3, 11).string(4, "NIC 1").u8(5, 0x85).u8(9, 3));
  table.add(SmbiosStructure(41, 4, 11).string(4, "NIC 2").u8(5, 0x05).u8(9, 4));
  table.add(SmbiosStructure(127, 5, 4));
  g_host.pci = {
      {"0000:01:00.0", {}}, {"0000:02:00.0", {}}, {"0000:03:00.0", {}}, {"0000:04:00.0", {}}};
  const std::string screen = run_on(table, {}).out;
  EXPECT_NE(screen.find("PCI       1 of 2 slots in use\n"
                        "          0000:01:00.0  Slot 1\n"
                        "          0000:03:00.0  NIC 1\n"),
            std::string::npos)
      << screen;
  EXPECT_EQ(screen.find("Slot 2"), std::string::npos);
  EXPECT_EQ(screen.find("NIC 2"), std::string::npos);
  const json summary = run_on(table, {"--json"}).document()["summary"];
  EXPECT_EQ(summary["slots"][1]["usage"], "Available");
  EXPECT_EQ(summary["onboard"][0]["address"], "0000:03:00.0");
}

TEST_F(SmbiosCommandTest, WhatIsNoDumpIsNamed) {
  std::ofstream(dump_) << "no table at all";
  const Result result = run({"smbios", "--from-dump", dump_.c_str()});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.error.find("ortinv: " + dump_), 0U) << result.error;
}

TEST_F(SmbiosCommandTest, AMissingTableSaysHowToReadAnother) {
  g_host.has_smbios = false;
  EXPECT_EQ(run({"smbios"}).error,
            "ortinv: /vmfs/devices/char/mem/smbios: No such file or directory; run ortinv as root "
            "on the host itself\n");
  g_host.has_bmc_driver = false;  // nor anything else of a host
  EXPECT_EQ(run({"smbios"}).error,
            "ortinv: /vmfs/devices/char/mem/smbios: No such file or directory; on a Linux machine "
            "its own table is read with --from-dump /sys/firmware/dmi/tables\n");
}

TEST_F(SmbiosCommandTest, TextsOfTheTableCannotSteerATerminal) {
  SmbiosTable table;
  table.add(SmbiosStructure(200, 1, 4).string("a\x1B[31m\xC2\x9B\xFFz"));
  table.add(SmbiosStructure(127, 2, 4));
  EXPECT_NE(run_on(table, {"smbios"}).out.find("\t\ta\\x1b[31m\\x9b\\xffz\n"), std::string::npos);
  const Result document = run_on(table, {"smbios", "--json"});
  EXPECT_EQ(document.document()["smbios"][0]["strings"][0], "a\x1B[31m\xC2\x9B\xEF\xBF\xBDz");
  EXPECT_EQ(document.out.find('\x9B'), std::string::npos);
}

TEST_F(SmbiosCommandTest, JsonLinesHaveOneStructureALine) {
  std::istringstream lines(run_on(small_server(), {"smbios", "--jsonl"}).out);
  size_t structures = 0;
  std::string line;
  while (std::getline(lines, line) && json::parse(line)["section"] == "smbios") {
    EXPECT_TRUE(json::parse(line)["value"].contains("handle"));
    ++structures;
  }
  EXPECT_EQ(structures, 8U);
  EXPECT_EQ(json::parse(line)["section"], "end");
}

// A generator that is the same everywhere.
class Dice {
 public:
  explicit Dice(uint32_t seed) : state_(seed) {}
  uint32_t roll(uint32_t sides) {
    state_ = state_ * 1664525U + 1013904223U;
    return (state_ >> 8U) % sides;
  }

 private:
  uint32_t state_;
};

// One structure of each type that has fields, of any length, with bytes and
// strings of any kind.
SmbiosTable table_of_every_type(Dice& dice) {
  SmbiosTable table;
  for (const std::string& word : type_choices()) {
    const int type = isdigit(word[0]) != 0 ? std::stoi(word) : 127;
    if (type == 127) {
      continue;
    }
    const auto length = static_cast<uint8_t>(4 + dice.roll(100));
    SmbiosStructure structure(static_cast<uint8_t>(type), static_cast<uint16_t>(type), length);
    for (uint8_t offset = 4; offset < length; ++offset) {
      structure.u8(offset, static_cast<uint8_t>(dice.roll(dice.roll(2) == 0 ? 8 : 256)));
    }
    for (uint32_t text = dice.roll(6); text > 0; --text) {
      structure.string(std::string("t\x1B\x9B") + static_cast<char>(1 + dice.roll(255)));
    }
    table.add(structure);
  }
  return table.add(SmbiosStructure(127, 0x7F00, 4));
}

void damage(std::vector<uint8_t>& dump, Dice& dice) {
  constexpr uint32_t kTable = 32;
  const uint32_t size = static_cast<uint32_t>(dump.size()) - kTable;
  for (uint32_t wound = dice.roll(8); wound > 0; --wound) {
    dump[kTable + dice.roll(size)] = static_cast<uint8_t>(dice.roll(256));
  }
  if (dice.roll(4) == 0) {
    dump.resize(kTable + 1 + dice.roll(size));
  }
}

bool is_harmless_text(const std::string& text) {
  const bool has_controls = std::ranges::any_of(text, [](char character) {
    return (character >= 0 && character < ' ' && character != '\n' && character != '\t') ||
           character == '\x7F';
  });
  // What begins with 0xC2 and goes on below 0xA0 is U+0080 to U+009F.
  bool has_c1 = false;
  for (size_t i = 0; i + 1 < text.size(); ++i) {
    has_c1 = has_c1 || (text[i] == '\xC2' && static_cast<uint8_t>(text[i + 1]) < 0xA0);
  }
  // A document in quotes is valid where its UTF-8 is.
  std::string document = text;
  std::ranges::replace_if(
      document,
      [](char character) {
        return character == '"' || character == '\\' || character == '\n' || character == '\t';
      },
      '.');
  return !has_controls && !has_c1 && json::accept('"' + document + '"');
}

bool are_json_lines(const std::string& text) {
  std::istringstream lines(text);
  bool valid = !text.empty();
  for (std::string line; std::getline(lines, line);) {
    valid = valid && json::accept(line);
  }
  return valid;
}

TEST_F(SmbiosCommandTest, DamagedTablesGiveValidOutput) {
  const std::vector<std::vector<const char*>> commands = {{"smbios"},
                                                          {"smbios", "--raw"},
                                                          {"smbios", "--list"},
                                                          {"smbios", "--json"},
                                                          {"smbios", "--jsonl"},
                                                          {"smbios", "--raw", "--json"},
                                                          {"--json"},
                                                          {"all", "--jsonl"},
                                                          {"smbios", "--string", "bios-vendor"},
                                                          {"all"},
                                                          {}};
  for (uint32_t seed = 1; seed <= 40 && !HasFailure(); ++seed) {
    Dice dice(seed);
    std::vector<uint8_t> damaged = table_of_every_type(dice).dmidecode_dump();
    damage(damaged, dice);
    ASSERT_TRUE(write_file(dump_, damaged));
    for (std::vector<const char*> command : commands) {
      const std::string_view form = command.empty() ? "" : command.back();
      command.insert(command.end(), {"--from-dump", dump_.c_str()});
      const Result result = run(command);
      EXPECT_TRUE(result.status == 0 || result.status == 1 || result.status == 3) << seed;
      EXPECT_TRUE(is_harmless_text(result.out)) << seed << ' ' << form << '\n' << result.out;
      EXPECT_TRUE(is_harmless_text(result.error)) << seed << ' ' << form;
      EXPECT_TRUE(form != "--json" || json::accept(result.out)) << seed;
      EXPECT_TRUE(form != "--jsonl" || are_json_lines(result.out)) << seed;
    }
  }
}

}  // namespace
