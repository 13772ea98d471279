// SPDX-License-Identifier: Apache-2.0
#include "ortinv/command_line.h"

#include <fcntl.h>
#include <poll.h>

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

TEST_F(CommandLineTest, HostShowsIdentityAndMemory) {
  const Result result = run({"host"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "Host\n"
            "  Product         VMware ESXi\n"
            "  Version         VMware ESXi 8.0.2 Build-1234 Update 2\n"
            "  Full version    VMware ESXi 8.0.2 Build-1234 Update 2\n"
            "  Short version   8.0.2 Build-1234 Update 2\n"
            "  Major version   8\n"
            "  Build           1234\n"
            "  System type     Server\n"
            "  System subtype  Server_3\n"
            "  Kernel          VMkernel esx1 8.0.2\n"
            "  Uptime (s)      3600\n"
            "\n"
            "Memory\n"
            "  Total physical (MB)  65536\n"
            "  Free physical (MB)   32768\n"
            "  Total virtual (MB)   2048\n"
            "  Free virtual (MB)    1024\n");
}

TEST_F(CommandLineTest, HostSaysOfMemoryBeyond32BitsThatItCannotTell) {
  // 5 TB: what is left in 32 bits is 1 TB.
  g_host.vsish = "   Physical memory estimate:5368709120 KB\n   Free:1073741824 KB\n";
  g_host.memory = {1048576, 1048576, 2048, 1024};
  const Result result = run({"host"});
  EXPECT_EQ(result.status, 3);
  EXPECT_NE(result.out.find("  Total physical (MB)  cannot be told: Physical memory "
                            "estimate:5368709120 KB\n"
                            "  Free physical (MB)   1048576\n"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(result.error,
            "ortinv: vsish: prints \"Physical memory estimate:5368709120 KB\", which does not fit "
            "the 32 bits of the record; the figure cannot be told\n");
  const json memory = run({"host", "--json"}).document()["host"]["memory"];
  EXPECT_TRUE(memory["total_physical_mb"].is_null());
  EXPECT_EQ(memory["free_physical_mb"], 1048576);
  EXPECT_EQ(memory["printed"]["total_physical_mb"], "Physical memory estimate:5368709120 KB");
}

TEST_F(CommandLineTest, HostTakesTheLargestFigureThatFits) {
  g_host.vsish = "   Physical memory estimate:2147483647 KB\n";
  EXPECT_EQ(run({"host"}).status, 0);
  g_host.vsish = "   Physical memory estimate:2147483648 KB\n";
  EXPECT_EQ(run({"host"}).status, 3);
}

// Returns whether nobody holds the other end of the pipe any more.
bool is_at_its_end(int read_end) {
  struct pollfd event = {read_end, POLLIN, 0};
  return poll(&event, 1, 10'000) == 1 && (event.revents & POLLHUP) != 0;
}

TEST_F(CommandLineTest, ACommandThatHangsIsEndedAndTheRestIsShown) {
  g_host.vsish_hangs = true;
  std::array<int, 2> ends = {};
  ASSERT_EQ(pipe(ends.data()), 0);  // which the command inherits, and holds while it lives
  const Result result = run({"host", "--json", "--timeout", "1"});
  close(ends[1]);
  EXPECT_TRUE(is_at_its_end(ends[0]));
  close(ends[0]);
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.error,
            "ortinv: vsish: did not answer within 1 second; find out why it hangs, or allow more "
            "time with --timeout\n");
  const json document = result.document();
  EXPECT_EQ(document["host"]["product"], "VMware ESXi");
  EXPECT_EQ(document["host"]["major_version"], "8");
  EXPECT_TRUE(document["host"]["memory"].is_null());
  EXPECT_EQ(document["problems"][0]["timed_out"], true);
}

TEST_F(CommandLineTest, ABmcThatHangsIsAskedOnce) {
  g_host.bmc_hangs = true;
  const Result result = run({"all", "--json", "--timeout", "1"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
  EXPECT_TRUE(result.document()["bmc"]["address"].is_null());
}

TEST_F(CommandLineTest, WithoutATimeoutTheAnswersAreTheSame) {
  EXPECT_EQ(run({"all", "--json", "--timeout", "0"}).out, run({"all", "--json"}).out);
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
            "PCI       0000:03:00.0  PCI-E Slot 1  Network adapter  P12345-001\n"
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

TEST_F(CommandLineTest, HostNamesTheSourceThatFails) {
  g_host.commands = {"uname", "localcli"};
  g_host.major_version = '<';
  const Result result = run({"host", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: localcli: \"localcli system version get\" gave no version; run it by hand\n"
            "ortinv: vsish: command not found; run ortinv on the host, with /sbin and /bin on "
            "PATH\n");
  const json host = result.document()["host"];
  EXPECT_EQ(host["product"], "VMware ESXi");
  EXPECT_TRUE(host["major_version"].is_null());
  EXPECT_TRUE(host["memory"].is_null());
}

TEST_F(CommandLineTest, HostNamesRubbishOfVsishAndAMissingLibrary) {
  g_host.memory = {};
  g_host.identity.product[0] = '\0';
  const Result result = run({"host", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.document()["problems"][0]["source"], "libvmkuser.so");
  EXPECT_EQ(result.document()["problems"][1]["source"], "vsish");
  EXPECT_TRUE(result.document()["host"]["version"].is_null());
}

TEST_F(CommandLineTest, HostWithoutAPathFindsNoCommand) {
  g_host.has_path = false;
  EXPECT_EQ(run({"host", "--json"}).document()["problems"].size(), 3U);
}

TEST_F(CommandLineTest, HostTakesNoFileForACommandThatCannotBeExecuted) {
  g_host.commands = {"uname", "localcli"};
  g_host.plain_files = {"vsish"};
  const Result result = run({"host"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: vsish: command not found; run ortinv on the host, with /sbin and /bin on "
            "PATH\n");
}

TEST_F(CommandLineTest, SoftwareListsBothFormsInATable) {
  const Result result = run({"software"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(
      result.out,
      "Software\n"
      "  Name            Version  Vendor   Released    Installed   Acceptance  Kind    Form\n"
      "  Example-driver  4.1.9    Example  2023-03-27  -           -           -       component\n"
      "  tools           1.0      Example  2023-03-27  2024-01-02  -           module  bulletin\n");
}

TEST_F(CommandLineTest, SoftwareFindsOnePackageInEitherForm) {
  const json component = run({"software", "Example-driver", "--json"}).document();
  ASSERT_EQ(component["software"].size(), 1U);
  EXPECT_EQ(component["software"][0]["form"], "component");
  EXPECT_EQ(component["software"][0]["summary"], "Summary of Example-driver");
  EXPECT_EQ(run({"software", "tools", "--json"}).document()["software"][0]["kind"], "module");
  const Result none = run({"software", "TOOLS"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: no installed package is named TOOLS\n");
}

TEST_F(CommandLineTest, SoftwareTellsAnEmptyDatabaseFromAMissingOne) {
  g_host.components.clear();
  g_host.bulletins.clear();
  EXPECT_EQ(run({"software"}).status, 1);
  g_host.has_image_database = false;
  const Result result = run({"software"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: /var/db/esximg/bulletins/: No such file or directory; run ortinv on the host "
            "itself\n");
}

TEST_F(CommandLineTest, BmcAddressShowsBoth) {
  EXPECT_EQ(run({"bmc", "address"}).out,
            "BMC address\n"
            "  IPv4 address  192.0.2.10\n"
            "  IPv6 address  fe80::1122\n"
            "  IPv4 enabled  yes\n"
            "  IPv6 enabled  yes\n");
}

TEST_F(CommandLineTest, BmcWithoutAnyAddressIsNotFound) {
  g_host.ipv4 = "0.0.0.0";
  EXPECT_EQ(run({"bmc", "address"}).status, 0);
  g_host.ipv6 = "";
  const Result result = run({"bmc", "address", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.document()["bmc"]["address"]["ipv4"].is_null());
}

TEST_F(CommandLineTest, BmcAddressOfOneFamilyDoesNotHideTheOther) {
  g_host.answers_ipv6 = false;
  const Result result = run({"bmc", "address", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: does not answer for IPv6; check its health, and reset it if need be\n");
  EXPECT_EQ(result.document()["bmc"]["address"], json::parse(R"({"ipv4": "192.0.2.10",
      "ipv6": null, "ipv4_enabled": null, "ipv6_enabled": null})"));
  // The variables are still asked for.
  EXPECT_EQ(run({"all", "--json"}).document()["bmc"]["mode"]["value"], 1);
}

TEST_F(CommandLineTest, BmcFailuresSayWhatIsWrong) {
  const std::vector<std::vector<const char*>> commands = {
      {"bmc", "address"}, {"bmc", "mode"}, {"bmc", "interval", "8"}, {"entity-mib", "--write"}};
  for (const auto& command : commands) {
    g_host = full_host();
    g_host.registration_file = path_;
    g_host.answers = false;
    EXPECT_EQ(run(command).error,
              "ortinv: BMC: does not answer; check its health, and reset it if need be\n");
    g_host.has_channel = false;
    EXPECT_EQ(run(command).error,
              "ortinv: BMC: no channel could be opened; run ortinv as root, and again when other "
              "users of the BMC have closed theirs\n");
    g_host.has_bmc_driver = false;
    const Result result = run(command);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.error,
              "ortinv: BMC: no driver node /vmfs/devices/char/vmkdriver/zemox-d0ccb0; run ortinv "
              "on the host, with the BMC's driver loaded\n");
  }
}

TEST_F(CommandLineTest, BmcModeIsReadWithoutChangingIt) {
  EXPECT_EQ(run({"bmc", "mode"}).out,
            "BMC mode\n"
            "  Enabled   yes\n"
            "  Value     1\n"
            "  Variable  KXHVM6\n");
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(CommandLineTest, BmcModeSaysWhatItChanged) {
  const Result result = run({"bmc", "mode", "off"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "BMC mode\n"
            "  Enabled   no\n"
            "  Value     0\n"
            "  Variable  KXHVM6\n"
            "Changed bmc mode from 1 to 0.\n");
  EXPECT_STREQ(fake_writes().name, "KXHVM6");
  EXPECT_EQ(fake_writes().value, 0U);
}

TEST_F(CommandLineTest, BmcVariablesThatAreMissingAreNotCreatedByReading) {
  g_host.variables.clear();
  const Result mode = run({"bmc", "mode"});
  EXPECT_EQ(mode.status, 1);
  EXPECT_EQ(mode.error, "ortinv: the BMC has no variable KXHVM6\n");
  const Result interval = run({"bmc", "interval", "10", "--json"});
  EXPECT_EQ(interval.status, 1);
  EXPECT_EQ(interval.error, "ortinv: the BMC has no variable KXHVMA\n");
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(CommandLineTest, BmcIntervalKeepsTheLibrarysPrintsOutOfTheDocument) {
  const Result result = run({"bmc", "interval", "9", "4294967295", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document(), json::parse(R"({"schema": "ortinv/1", "revision": 2,
      "bmc": {"intervals": [{"selector": 9, "variable": "KXHVM9", "value": 4294967295}]},
      "changes": [{"what": "bmc interval 9", "from": null, "to": 4294967295}],
      "missing": null, "problems": [], "warnings": []})"));
  EXPECT_EQ(run({"bmc", "interval", "8"}).out,
            "BMC intervals\n"
            "  Selector  8\n"
            "  Variable  KXHVM8\n"
            "  Value     60\n");
}

TEST_F(CommandLineTest, BmcThatRefusesIsAProblem) {
  g_host.takes_values = false;
  EXPECT_EQ(run({"bmc", "mode", "on"}).error,
            "ortinv: BMC: did not take the new value of KXHVM6; try again\n");
  EXPECT_EQ(run({"bmc", "interval", "8", "1"}).error,
            "ortinv: BMC: did not take the new value of KXHVM8; try again\n");
  g_host.variable_status = 0x81;
  const Result result = run({"bmc", "mode"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: refuses variable KXHVM6 with status 129; check its firmware\n");
}

TEST_F(CommandLineTest, BmcStatusOfOneIsARefusalAndNotMissing) {
  g_host.variable_status = 1;
  for (const auto& command : std::vector<std::vector<const char*>>{
           {"bmc", "mode", "on"}, {"bmc", "mode"}, {"bmc", "interval", "8", "5"}}) {
    const Result result = run(command);
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.error.find(" with status 1; check its firmware\n"), std::string::npos);
  }
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(CommandLineTest, EntityMibShowsTheRegistration) {
  const Result result = run({"entity-mib", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document()["entity_mib"]["address"], "198.51.100.1");
  EXPECT_FALSE(result.document().contains("changes"));
  remove(path_.c_str());
  const Result none = run({"entity-mib"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: no registration in " + path_ + "\n");
}

TEST_F(CommandLineTest, EntityMibWriteSaysWhatItChanged) {
  EXPECT_EQ(run({"entity-mib", "--write"}).out,
            "Entity MIB registration\n"
            "  File     " +
                path_ +
                "\n"
                "  Address  192.0.2.10\n"
                "Changed " +
                path_ + " from 198.51.100.1 to 192.0.2.10.\n");
}

TEST_F(CommandLineTest, EntityMibWriteNamesTheFileThatFails) {
  g_host.can_register = false;
  remove(path_.c_str());
  path_ += "/missing";
  g_host.registration_file = path_;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: " + path_ +
                ": could not be created; run ortinv as root, and create its directory\n");
}

TEST_F(CommandLineTest, EntityMibWriteNoticesAFileThatWasNotWritten) {
  g_host.registration_file = "/dev/full";
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error, "ortinv: /dev/full: could not be written; check the free space\n");
}

TEST_F(CommandLineTest, EntityMibWriteLeavesTheFileWithoutAnAddress) {
  g_host.ipv4 = "0.0.0.0";
  g_host.ipv6 = "";
  const Result result = run({"entity-mib", "--write", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "ortinv: the BMC has no address to register\n");
  EXPECT_EQ(result.document()["entity_mib"]["address"], "198.51.100.1");
}

TEST_F(CommandLineTest, EntityMibWriteTellsAFailingQueryFromAMissingAddress) {
  g_host.ipv4 = "0.0.0.0";
  g_host.answers_ipv6 = false;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: does not answer for IPv6; check its health, and reset it if need be\n");
}

TEST_F(CommandLineTest, EntityMibWriteNoticesABmcThatStopsAnswering) {
  g_host.stops_answering = true;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: does not answer; check its health, and reset it if need be\n");
}

TEST_F(CommandLineTest, EntityMibWriteRegistersTheIpv6AddressWithoutAnIpv4One) {
  g_host.ipv4 = "0.0.0.0";
  const Result result = run({"entity-mib", "--write", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document()["changes"][0]["to"], "fe80::1122");
}

TEST_F(CommandLineTest, EntityMibWriteReportsNoChangeWhereThereIsNone) {
  run({"entity-mib", "--write"});
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.find("Changed"), std::string::npos) << result.out;
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
