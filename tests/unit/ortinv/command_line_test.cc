// SPDX-License-Identifier: Apache-2.0
#include "ortinv/command_line.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <map>
#include <sstream>

#include "tests/unit/ortinv/command_line_fixture.h"

namespace {

using nlohmann::json;

TEST_F(CommandLineTest, VersionAndHelpSucceed) {
  const Result version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "ortinv " PROJECT_VERSION "\n");
  EXPECT_EQ(run({"--help"}).status, 0);
  EXPECT_NE(run({"bmc", "interval", "--help"}).out.find("8, 9 or 10"), std::string::npos);
}

TEST_F(CommandLineTest, MistakesAreUsageErrorsOnOneLine) {
  const std::vector<std::vector<const char*>> mistakes = {
      {"bogus"},
      {"host", "extra"},
      {"host", "--bogus"},
      {"smbios", "--type", "256"},
      {"smbios", "--type", "017"},
      {"smbios", "--type", "17,"},
      {"smbios", "--type", ""},
      {"smbios", "--handle", "0x10000"},
      {"smbios", "--handle", "0011"},
      {"smbios", "--string", "bios"},
      {"smbios", "--string", "bios-vendor", "--list"},
      {"smbios", "--list", "--raw"},
      {"host", "--json", "--jsonl"},
      {"host", "--from-dump", "table"},
      {"host", "--timeout", "1.5"},
      {"host", "--timeout", "86401"},
      {"host", "--timeout", "-1"},
      {"diff", "one"},
      {"smbios", "--type", "x"},
      {"pci"},
      {"pci", "0000:03:00"},
      {"pci", "0000:03:00.0x"},
      {"pci", "0000:03:00.8"},
      {"pci", "0000:03:20.0"},
      {"pci", "10000:03:00.0"},
      {"pci", "0000:003:00.0"},
      {"pci", "0000::00.0"},
      {"pci", "0000:-3:00.0"},
      {"pci", ""},
      {"drive"},
      {"drive", ""},
      {"bmc"},
      {"bmc", "mode", "maybe"},
      {"bmc", "interval"},
      {"bmc", "interval", "7"},
      {"bmc", "interval", "8", "-1"},
      {"bmc", "interval", "8", "4294967296"},
      {"bmc", "interval", "8", "ten"},
      {"bmc", "interval", "8", "010"},
      {"bmc", "interval", "8", "0x10"},
      {"bmc", "interval", "8", "+10"},
      {"bmc", "interval", "8", " 10"},
      {"bmc", "interval", "8", "1e1"},
      {"bmc", "interval", "0x8"},
      {"bmc", "interval", "08"},
      {"software", ""},
  };
  for (const auto& mistake : mistakes) {
    const Result result = run(mistake);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error.find("ortinv: "), 0U);
    EXPECT_EQ(result.error.find('\n'), result.error.size() - 1) << result.error;
  }
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(CommandLineTest, AnOptionOfAnotherCommandIsSaidToBeOne) {
  for (const auto& words : std::vector<std::vector<const char*>>{
           {"-t", "memory"}, {"--type=memory"}, {"host", "-t", "4"}}) {
    EXPECT_NE(run(words).error.find(" is an option of \"ortinv smbios\"; see \"ortinv smbios "
                                    "--help\"\n"),
              std::string::npos);
  }
  EXPECT_EQ(run({"bmc", "mode", "maybe"}).error,
            "ortinv: VALUE: \"maybe\" is not on or off; see \"ortinv bmc mode --help\"\n");
}

TEST_F(CommandLineTest, PciShowsTheDeviceInAlignedColumns) {
  const Result result = run({"pci", "0:3:0.0"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "PCI devices\n"
            "  Address      0000:03:00.0\n"
            "  Location     PCI-E Slot 1\n"
            "  Name         Network adapter\n"
            "  Part number  P12345-001\n"
            "  Linked text  Linked\n"
            "  NIC port     2\n");
  EXPECT_EQ(result.error, "");
}

TEST_F(CommandLineTest, PciGivesNullForWhatIsAbsent) {
  const Result result = run({"pci", "0000:5E:1F.7", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document(), json::parse(R"({"schema": "ortinv/1", "revision": 2, "pci": [{
      "address": "0000:5e:1f.7", "location": "Embedded", "name": null, "part_number": null,
      "linked_text": null, "nic_port": null}], "missing": null, "problems": [], "warnings": []})"));
}

TEST_F(CommandLineTest, PciOfAHighSegmentIsNotMistakenForALowOne) {
  // Cut to eight bits, the segment would be that of a device with a NIC port.
  const Result result = run({"pci", "0100:03:00.0"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "ortinv: the SMBIOS table knows no PCI device 0100:03:00.0\n");
}

TEST_F(CommandLineTest, DriveShowsLocationAndText) {
  const Result result = run({"drive", "ABC"});
  EXPECT_EQ(result.out,
            "Drives\n"
            "  Serial number  ABC123\n"
            "  Location       Port=1I:Box=1:Bay=1\n"
            "  Text           SAS\n");
  const Result none = run({"drive", "nothing"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: the SMBIOS table knows no drive with serial number nothing\n");
}

TEST_F(CommandLineTest, DrivesAreListedAsTheTableHasThem) {
  g_host.drives = {
      {"SN10", "Bay 10", ""}, {"SN1", "Bay 1", ""}, {"SN1", "Bay 2", ""}, {"", "Bay 3", ""}};
  const json drives = run({"all", "--json"}).document()["drives"];
  EXPECT_EQ(drives, json::parse(R"([
      {"serial_number": "SN10", "location": "Bay 10", "text": null},
      {"serial_number": "SN1", "location": "Bay 1", "text": null},
      {"serial_number": "SN1", "location": "Bay 2", "text": null},
      {"serial_number": null, "location": "Bay 3", "text": null}])"));
}

TEST_F(CommandLineTest, DriveOfExactlyThisSerialNumberWins) {
  g_host.drives = {{"SN10", "Bay 10", ""}, {"SN1", "Bay 1", ""}};
  const Result result = run({"drive", "SN1"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "Drives\n"
            "  Serial number  SN1\n"
            "  Location       Bay 1\n"
            "  Text           -\n");
}

TEST_F(CommandLineTest, DriveOfAnAmbiguousBeginningShowsAllOfThem) {
  g_host.drives = {{"SN10", "Bay 10", ""}, {"SN1", "Bay 1", ""}, {"OTHER", "Bay 2", ""}};
  const Result result = run({"drive", "SN"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out,
            "Drives\n"
            "  Serial number  Location  Text\n"
            "  SN10           Bay 10    -\n"
            "  SN1            Bay 1     -\n");
  EXPECT_EQ(result.error, "ortinv: 2 drives have a serial number that begins with SN\n");
}

TEST_F(CommandLineTest, DriveShowsItsOwnSerialNumber) {
  g_host.drives = {{"SN10", "Bay 10", ""}};
  EXPECT_EQ(run({"drive", "S", "--json"}).document()["drives"][0]["serial_number"], "SN10");
  const Result exact = run({"drive", "--exact", "S"});
  EXPECT_EQ(exact.status, 1);
  EXPECT_EQ(exact.error, "ortinv: the SMBIOS table knows no drive with serial number S\n");
}

TEST_F(CommandLineTest, PciShowsADeviceWhoseTextsAreEmpty) {
  g_host.pci["0000:07:00.0"] = {};
  const Result result = run({"pci", "0000:07:00.0"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(run({"all", "--json"}).document()["pci"].size(), 3U);
}

TEST_F(CommandLineTest, WithoutACommandThereIsOneScreen) {
  const Result result = run({});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.out,
            "Product   Example Server\n"
            "Serial    SN1\n"
            "BIOS      Example BIOS\n"
            "CPUs      not told\n"
            "Memory    not told\n"
            "Drives    Port=1I:Box=1:Bay=1  ABC123  SAS\n"
            "          Port=1I:Box=1:Bay=2  XYZ\n"
            "PCI       0 of 1 slots in use\n"
            "          0000:03:00.0  PCI-E Slot 1  Network adapter  P12345-001\n"
            "          0000:5e:1f.7  Embedded\n"
            "BMC       192.0.2.10  fe80::1122\n"
            "Host      VMware ESXi 8.0.2 Build-1234 Update 2\n");
}

TEST_F(CommandLineTest, OneScreenSaysWhatCannotBeHad) {
  g_host = bare_host();
  const Result result = run({});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error, "");
  EXPECT_EQ(result.out,
            "Firmware  unknown: /vmfs/devices/char/mem/smbios: No such file or directory; on a "
            "Linux machine its own table is read with --from-dump /sys/firmware/dmi/tables\n"
            "BMC       unknown: BMC: no driver node /vmfs/devices/char/vmkdriver/zemox-d0ccb0; run "
            "ortinv on the host, with the BMC's driver loaded\n"
            "Host      unknown: libvmkuser.so: gave no version; run ortinv on the host, with the "
            "library on its path\n");
}

TEST_F(CommandLineTest, JsonLinesHaveAnObjectForEachElementAndAnEnd) {
  const Result result = run({"all", "--jsonl"});
  EXPECT_EQ(result.status, 0);
  std::map<std::string, int> sections;
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    const json object = json::parse(line);
    EXPECT_EQ(object["schema"], "ortinv/1");
    ++sections[object["section"].get<std::string>()];
  }
  EXPECT_EQ(sections, (std::map<std::string, int>{{"smbios", 7},
                                                  {"pci", 2},
                                                  {"drives", 2},
                                                  {"host", 1},
                                                  {"software", 2},
                                                  {"bmc", 1},
                                                  {"entity_mib", 1},
                                                  {"end", 1}}));
}

TEST_F(CommandLineTest, AllShowsEverySection) {
  const Result result = run({"all", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  const json document = result.document();
  EXPECT_EQ(document["smbios"].size(), 7U);
  EXPECT_EQ(document["pci"].size(), 2U);
  EXPECT_EQ(document["pci"][1]["address"], "0000:5e:1f.7");
  EXPECT_EQ(document["drives"].size(), 2U);
  EXPECT_EQ(document["drives"][0]["serial_number"], "ABC123");
  EXPECT_EQ(document["software"].size(), 2U);
  EXPECT_EQ(document["bmc"]["mode"]["enabled"], true);
  // One of the three variables is missing: nothing was asked for by name.
  EXPECT_EQ(document["bmc"]["intervals"].size(), 2U);
  EXPECT_EQ(document["entity_mib"]["address"], "198.51.100.1");
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(CommandLineTest, AllPrintsTablesForPeople) {
  const std::string out = run({"all"}).out;
  EXPECT_NE(out.find("Handle 0x1234, type 1, 27 bytes\nSystem Information\n"), std::string::npos);
  EXPECT_NE(
      out.find("\n\nPCI devices\n"
               "  Address       Location      Name             Part number  Linked text  NIC "
               "port\n"
               "  0000:03:00.0  PCI-E Slot 1  Network adapter  P12345-001   Linked       2\n"
               "  0000:5e:1f.7  Embedded      -                -            -            -\n"),
      std::string::npos);
  EXPECT_NE(out.find("BMC intervals\n"
                     "  Selector  Variable  Value\n"
                     "  8         KXHVM8    60\n"
                     "  10        KXHVMA    0\n"),
            std::string::npos);
}

TEST_F(CommandLineTest, AllNamesEachMissingSourceOnce) {
  g_host = bare_host();
  g_host.registration_file = path_;
  remove(path_.c_str());
  const Result result = run({"all", "--json"});
  EXPECT_EQ(result.status, 3);
  std::vector<std::string> sources;
  const json document = result.document();
  for (const json& problem : document["problems"]) {
    sources.push_back(problem["source"]);
  }
  EXPECT_EQ(sources,
            (std::vector<std::string>{"/vmfs/devices/char/mem/smbios", "uname", "libvmkuser.so",
                                      "localcli", "vsish", "/var/db/esximg/bulletins/", "BMC"}));
  EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 7);
}

TEST_F(CommandLineTest, TextFromOutsideCannotSteerATerminal) {
  g_host = odd_host();
  const std::string out = run({"pci", "0000:03:00.0"}).out;
  EXPECT_NE(out.find("  Name         \\xff\\xc3( \\x1b[31m\\x09\"\\\n"), std::string::npos) << out;
  // The document replaces what is no UTF-8.
  EXPECT_EQ(run({"pci", "0000:03:00.0", "--json"}).document()["pci"][0]["name"],
            "\xEF\xBF\xBD\xEF\xBF\xBD( \x1B[31m\t\"\\");
}

TEST_F(CommandLineTest, ControlCharactersAbove127AreEscaped) {
  g_host.pci["0000:03:00.0"].name =
      "a\xC2\x9B"
      "31mb\x9Bz";
  EXPECT_NE(run({"pci", "0000:03:00.0"}).out.find("  Name         a\\x9b31mb\\x9bz\n"),
            std::string::npos);
}

TEST_F(CommandLineTest, EveryControlCharacterOfAsciiIsEscaped) {
  for (int character = 1; character <= 0x7F; ++character) {
    if (character == ' ') {
      character = 0x7F;
    }
    g_host.pci["0000:03:00.0"].name = std::string("a") + static_cast<char>(character) + "b";
    std::array<char, 16> escaped = {};
    snprintf(escaped.data(), escaped.size(), "a\\x%02xb\n", static_cast<unsigned>(character));
    EXPECT_NE(run({"pci", "0000:03:00.0"}).out.find(escaped.data()), std::string::npos)
        << character;
  }
}

TEST_F(CommandLineTest, ColumnsCountCharactersAndNotBytes) {
  g_host.drives = {{"\u00FC", "Bay", "-"}, {"\u6F22\u5B57", "Bay", "-"}, {"e\u0301x", "Bay", "-"}};
  EXPECT_NE(run({"all"}).out.find("Drives\n"
                                  "  Serial number  Location  Text\n"
                                  "  \u00FC              Bay       -\n"
                                  "  \u6F22\u5B57           Bay       -\n"
                                  "  e\u0301x             Bay       -\n"),
            std::string::npos);
}

TEST_F(CommandLineTest, MistakesCannotSteerATerminalEither) {
  const Result result = run({"bogus\x1B[31m\xC2\x9B"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.error.find('\x1B'), std::string::npos);
  EXPECT_EQ(result.error.find('\x9B'), std::string::npos);
}

TEST_F(CommandLineTest, JsonIsAcceptedAnywhere) {
  EXPECT_EQ(run({"--json", "bmc", "mode"}).out, run({"bmc", "mode", "--json"}).out);
  EXPECT_EQ(run({"bmc", "--json", "mode"}).out, run({"bmc", "mode", "--json"}).out);
  EXPECT_EQ(run({"--json", "bmc", "mode"}).document()["bmc"]["mode"]["value"], 1);
}

TEST_F(CommandLineTest, HelpShowsNoTypesOfTheParser) {
  for (const auto& words : std::vector<std::vector<const char*>>{{"--help"},
                                                                 {"smbios", "--help"},
                                                                 {"pci", "--help"},
                                                                 {"drive", "--help"},
                                                                 {"software", "--help"},
                                                                 {"bmc", "mode", "--help"},
                                                                 {"bmc", "interval", "--help"}}) {
    const std::string help = run(words).out;
    for (const char* type : {"TEXT", "UINT", "INT", "REQUIRED", "OPTIONAL", ":{"}) {
      EXPECT_EQ(help.find(type), std::string::npos) << help;
    }
  }
}

TEST_F(CommandLineTest, AFullDiskIsNoticed) {
  const FakeCommands commands;
  for (const char* word : {"host", "--help", "--version", "smbios"}) {
    const std::array<const char*, 2> arguments = {"ortinv", word};
    const OutputCapture error(2);
    const int saved = dup(1);
    fflush(stdout);
    ASSERT_NE(freopen("/dev/full", "w", stdout), nullptr);
    const int status = run_ortinv(2, arguments.data());
    dup2(saved, 1);
    close(saved);
    clearerr(stdout);
    EXPECT_EQ(status, 3) << word;
    EXPECT_EQ(error.text(), "ortinv: standard output: No space left on device\n") << word;
  }
}

}  // namespace
