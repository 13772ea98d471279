// SPDX-License-Identifier: Apache-2.0
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/ortinv/command_line_fixture.h"

namespace {

using nlohmann::json;

class DiffTest : public CommandLineTest {
 protected:
  DiffTest() : before_(path_ + ".before"), after_(path_ + ".after") {}
  ~DiffTest() override {
    remove(before_.c_str());
    remove(after_.c_str());
  }

  static json document(const json& sections) {
    json made = {{"schema", "ortinv/1"}, {"missing", nullptr}, {"problems", json::array()}};
    made.update(sections);
    return made;
  }

  Result diff(const json& before, const json& after, std::vector<const char*> options = {}) {
    std::ofstream(before_) << before;
    std::ofstream(after_) << after;
    options.insert(options.begin(), {"diff", before_.c_str(), after_.c_str()});
    return run(options);
  }

  static constexpr uint64_t kGigabyte = 1024 * 1024 * 1024;

  static json drive(const char* bay, const char* serial) {
    return {{"serial_number", serial}, {"location", bay}, {"text", nullptr}};
  }

  static json module(int handle, const char* locator, const json& size) {
    return {{"type", 17},
            {"name", "Memory Device"},
            {"handle", handle},
            {"length", 40},
            {"strings", json::array()},
            {"fields", {{"device_locator", locator}, {"size", size}}}};
  }

  std::string before_;
  std::string after_;
};

TEST_F(DiffTest, TheSameInventoryHasNoDifferences) {
  const std::string saved = run({"all", "--json"}).out;
  std::ofstream(before_) << saved;
  std::ofstream(after_) << saved;
  const Result result = run({"diff", before_.c_str(), after_.c_str()});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "no differences\n");
  EXPECT_EQ(result.error, "");
  const Result as_json = run({"diff", before_.c_str(), after_.c_str(), "--json"});
  EXPECT_EQ(as_json.status, 0);
  EXPECT_EQ(as_json.document()["diff"], json::array());
}

TEST_F(DiffTest, ASwappedDriveIsOneChange) {
  const Result result =
      diff(document({{"drives", {drive("Bay 1", "SN1"), drive("Bay 2", "SN2")}}}),
           document({{"drives", {drive("Bay 2", "SN9"), drive("Bay 1", "SN1")}}}));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "changed  drives: Bay 2: serial_number: SN2 -> SN9\n");
}

TEST_F(DiffTest, WhatCameAndWentIsSaid) {
  const json before = document({{"drives", {drive("Bay 1", "SN1")}}});
  const json after = document({{"drives", {drive("Bay 2", "SN2")}}});
  const Result text = diff(before, after);
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.out,
            "removed  drives: Bay 1 (location Bay 1, serial_number SN1)\n"
            "added    drives: Bay 2 (location Bay 2, serial_number SN2)\n");
  const json differences = diff(before, after, {"--json"}).document()["diff"];
  ASSERT_EQ(differences.size(), 2U);
  EXPECT_EQ(differences[0]["change"], "removed");
  EXPECT_EQ(differences[0]["before"]["serial_number"], "SN1");
  EXPECT_EQ(differences[1], json({{"change", "added"},
                                  {"section", "drives"},
                                  {"item", "Bay 2"},
                                  {"field", nullptr},
                                  {"before", nullptr},
                                  {"after", drive("Bay 2", "SN2")}}));
}

TEST_F(DiffTest, ANewModuleIsSeenAlsoWhenHandlesMove) {
  const json empty = document(
      {{"smbios", {module(1, "DIMM 1", kGigabyte), module(2, "DIMM 2", "No Module Installed")}}});
  const json filled =
      document({{"smbios", {module(7, "DIMM 1", kGigabyte), module(8, "DIMM 2", 16 * kGigabyte)}}});
  const Result result = diff(empty, filled);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "added    smbios: Memory Device, DIMM 2 (size 16 GB)\n");
  EXPECT_EQ(diff(filled, empty).out, "removed  smbios: Memory Device, DIMM 2 (size 16 GB)\n");
  const json difference = diff(empty, filled, {"--json"}).document()["diff"][0];
  EXPECT_EQ(difference["change"], "added");
  EXPECT_EQ(difference["before"], nullptr);
  EXPECT_EQ(difference["after"], module(8, "DIMM 2", 16 * kGigabyte));
}

TEST_F(DiffTest, ALargerModuleIsAChange) {
  EXPECT_EQ(diff(document({{"smbios", {module(1, "DIMM 1", kGigabyte)}}}),
                 document({{"smbios", {module(1, "DIMM 1", 2 * kGigabyte)}}}))
                .out,
            "changed  smbios: Memory Device, DIMM 1: size: 1073741824 -> 2147483648\n");
}

TEST_F(DiffTest, ADriveThatIsAStructureTooIsSaidOnce) {
  const auto saved = [](const char* serial) {
    const json structure = {{"type", 242},
                            {"name", "OEM: Drive"},
                            {"handle", 1},
                            {"length", 43},
                            {"fields", {{"location", "Bay 1"}, {"serial_number", serial}}}};
    return document({{"smbios", {structure}}, {"drives", {drive("Bay 1", serial)}}});
  };
  EXPECT_EQ(diff(saved("SN1"), saved("SN2")).out,
            "changed  drives: Bay 1: serial_number: SN1 -> SN2\n");
}

TEST_F(DiffTest, ASerialNumberOfTheSystemIsAField) {
  const auto saved = [](const char* serial) {
    const json structure = {
        {"type", 1},    {"name", "System Information"}, {"handle", 1},
        {"length", 27}, {"serial_number", serial},      {"fields", {{"serial_number", serial}}}};
    return document({{"smbios", {structure}}});
  };
  EXPECT_EQ(diff(saved("SN1"), saved("SN2")).out,
            "changed  smbios: System Information: serial_number: SN1 -> SN2\n");
}

TEST_F(DiffTest, HandlesInBytesAreNoDifference) {
  const auto saved = [](int handle, const char* bytes) {
    const json unknown = {{"type", 200},
                          {"name", "OEM-specific type"},
                          {"handle", handle},
                          {"length", 5},
                          {"bytes", bytes}};
    return document({{"smbios", {unknown, module(handle + 1, "DIMM 1", kGigabyte)}}});
  };
  EXPECT_EQ(diff(saved(1, "C805010007"), saved(2, "C805020007")).status, 0);
  EXPECT_EQ(diff(saved(1, "C805010007"), saved(2, "C805020008")).out,
            "changed  smbios: OEM-specific type: bytes: 07 -> 08\n");
}

TEST_F(DiffTest, DocumentsWithNothingInCommonAreNotTheSame) {
  const json drives = document({{"drives", {drive("Bay 1", "SN1")}}});
  json listed = module(1, "DIMM 1", kGigabyte);
  listed.erase("fields");
  for (const auto& [before, after] : std::vector<std::pair<json, json>>{
           {drives, document({{"pci", json::array()}})},
           {document({{"smbios", {listed}}}),
            document({{"smbios", {module(1, "DIMM 1", kGigabyte)}}})}}) {
    const Result result = diff(before, after);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.error.find("has nothing that can be compared"), std::string::npos);
  }
}

TEST_F(DiffTest, WhatMovesAllTheTimeIsLeftOut) {
  const Result result =
      diff(document({{"host", {{"uptime_seconds", 1}, {"memory", {{"free_physical_mb", 1}}}}}}),
           document({{"host", {{"uptime_seconds", 2}, {"memory", {{"free_physical_mb", 2}}}}}}));
  EXPECT_EQ(result.status, 0);
}

TEST_F(DiffTest, WhatOneCouldNotReadWasNotRemoved) {
  json after = document({{"drives", json::array()}});
  after["problems"] = {{{"source", "table"}, {"message", "gone"}}};
  const Result result = diff(document({{"drives", {drive("Bay 1", "SN1")}}}), after);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "ortinv: warning: the second could not read drives; not compared\n");
}

TEST_F(DiffTest, TwoOfOneNameAreTwo) {
  const Result result = diff(document({{"drives", {drive("", "SN"), drive("", "SN")}}}),
                             document({{"drives", {drive("", "SN")}}}));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "removed  drives: SN #2 (serial_number SN)\n");
}

TEST_F(DiffTest, WhatIsNoDocumentIsAUsageError) {
  std::ofstream(before_) << R"({"schema": "ortinv/1"})";
  for (const std::string& content :
       {std::string(""), std::string("{"), std::string("[]"), std::string("{}"),
        std::string(R"({"schema": 1})"), std::string(R"({"schema": "ortinv/2"})"),
        R"({"schema": "ortinv/1", "pci": )" + std::string(100000, '[') + std::string(100000, ']') +
            "}"}) {
    std::ofstream(after_) << content;
    const Result result = run({"diff", before_.c_str(), after_.c_str(), "--json"});
    EXPECT_EQ(result.status, 2) << content.substr(0, 40);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error.find("ortinv: " + after_ + ": "), 0U) << result.error;
  }
  EXPECT_EQ(run({"diff", before_.c_str(), "/nowhere/at/all"}).error,
            "ortinv: /nowhere/at/all: No such file or directory\n");
}

}  // namespace
