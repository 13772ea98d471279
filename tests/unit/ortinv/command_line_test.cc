// SPDX-License-Identifier: Apache-2.0
#include "ortinv/command_line.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/call_script.h"
#include "tests/unit/ortinv/fake_host.h"

namespace {

using nlohmann::json;

struct Result {
  int status;
  std::string out;
  std::string error;

  json document() const { return json::parse(out); }
};

class CommandLineTest : public testing::Test {
 protected:
  CommandLineTest() {
    g_host = full_host();
    setenv("PATH", "/nowhere:/bin", 1);
    path_ = testing::TempDir() + "registration_XXXXXX";
    const int fd = mkstemp(path_.data());
    close(fd);
    std::ofstream(path_) << "<logical>\n<TAddress>198.51.100.1</TAddress>\n";
    g_host.registration_file = path_;
  }
  ~CommandLineTest() override { remove(path_.c_str()); }

  static Result run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "ortinv");
    const OutputCapture out(1);
    const OutputCapture error(2);
    const int status = run_ortinv(static_cast<int>(arguments.size()), arguments.data());
    return {status, out.text(), error.text()};
  }

  std::string path_;
};

TEST_F(CommandLineTest, VersionAndHelpSucceed) {
  const Result version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "ortinv " PROJECT_VERSION "\n");
  EXPECT_EQ(run({"--help"}).status, 0);
  EXPECT_NE(run({"bmc", "interval", "--help"}).out.find("8, 9 or 10"), std::string::npos);
}

TEST_F(CommandLineTest, MistakesAreUsageErrorsOnOneLine) {
  const std::vector<std::vector<const char*>> mistakes = {
      {},
      {"bogus"},
      {"host", "extra"},
      {"host", "--bogus"},
      {"smbios", "--type", "2"},
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
  };
  for (const auto& mistake : mistakes) {
    const Result result = run(mistake);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error.find("ortinv: "), 0U);
    EXPECT_EQ(result.error.find('\n'), result.error.size() - 1) << result.error;
  }
  EXPECT_EQ(g_host.writes, 0);
}

TEST_F(CommandLineTest, SmbiosPrintsTheDumpsAsTheyStand) {
  const Result result = run({"smbios", "--type", "1"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "System Information record  (Type 1)\n"
            "   Manufacturer     : \n"
            "   Product Name     : Example Server\n"
            "   Version          : \n"
            "   SerialNumber     : SN1\n"
            "   Wakeup Type      : 0\n"
            "   SKU              : \n");
}

TEST_F(CommandLineTest, SmbiosPrintsAllTypesThatThereAre) {
  g_host.record_types = {222, 1, 0};
  const json records = run({"smbios", "--json"}).document()["smbios"];
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(records[0]["type"], 0);
  EXPECT_EQ(records[0]["rom_size_kib"], 8192);
  EXPECT_EQ(records[1]["handle"], 0x1234);
  EXPECT_EQ(records[2]["connectors"][0][0]["connection"], 0x11);
}

TEST_F(CommandLineTest, SmbiosDecodesEachType) {
  const json records = run({"smbios", "--json"}).document()["smbios"];
  ASSERT_EQ(records.size(), 6U);
  EXPECT_EQ(records[0]["vendor"], "Example BIOS");
  EXPECT_EQ(records[1]["product_name"], "Example Server");
  EXPECT_EQ(records[2]["designation"], "PCI-E Slot 1");
  EXPECT_EQ(records[2]["bus"], 3);
  EXPECT_EQ(records[3]["server_system_id"], "ID1");
  EXPECT_EQ(records[4]["rack_name"], "Rack 1");
  EXPECT_EQ(records[5]["entry_count"], 1);
  EXPECT_EQ(records[5]["connectors"].size(), 4U);
}

TEST_F(CommandLineTest, SmbiosTellsAnUnusableTableFromAMissingOne) {
  g_host.has_smbios = false;
  EXPECT_EQ(run({"smbios"}).error,
            "ortinv: /vmfs/devices/char/mem/smbios: No such file or directory; run ortinv as root "
            "on the host itself\n");
  CallScript script;
  script.open("/vmfs/devices/char/mem/smbios", O_RDONLY | O_NONBLOCK | O_CLOEXEC).returns(50);
  script.close(50);
  const Result result = run({"smbios"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: /vmfs/devices/char/mem/smbios: holds no 32-bit SMBIOS table; ortinv needs a "
            "server whose firmware has one\n");
}

TEST_F(CommandLineTest, SmbiosWithoutRecordsIsNotFound) {
  g_host.record_types = {1};
  const Result one = run({"smbios", "--type", "0"});
  EXPECT_EQ(one.status, 1);
  EXPECT_EQ(one.error, "ortinv: no SMBIOS structure of type 0\n");
  g_host.record_types = {};
  EXPECT_EQ(run({"smbios"}).error, "ortinv: no SMBIOS structure that has a dump\n");
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
  EXPECT_EQ(result.document(), json::parse(R"({"schema": "ortinv/1", "pci": [{
      "address": "0000:5e:1f.7", "location": "Embedded", "name": null, "part_number": null,
      "linked_text": null, "nic_port": null}], "missing": null, "problems": []})"));
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
            "  Serial number  ABC\n"
            "  Location       Port=1I:Box=1:Bay=1\n"
            "  Text           SAS\n");
  const Result none = run({"drive", "nothing"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: the SMBIOS table knows no drive with serial number nothing\n");
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
  unsetenv("PATH");
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
  EXPECT_EQ(g_host.writes, 0);
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
  EXPECT_EQ(g_host.variables["KXHVM6"], 0U);
}

TEST_F(CommandLineTest, BmcVariablesThatAreMissingAreNotCreatedByReading) {
  g_host.variables.clear();
  const Result mode = run({"bmc", "mode"});
  EXPECT_EQ(mode.status, 1);
  EXPECT_EQ(mode.error, "ortinv: the BMC has no variable KXHVM6\n");
  const Result interval = run({"bmc", "interval", "10", "--json"});
  EXPECT_EQ(interval.status, 1);
  EXPECT_EQ(interval.error, "ortinv: the BMC has no variable KXHVMA\n");
  EXPECT_EQ(g_host.writes, 0);
}

TEST_F(CommandLineTest, BmcIntervalKeepsTheLibrarysPrintsOutOfTheDocument) {
  const Result result = run({"bmc", "interval", "9", "4294967295", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document(), json::parse(R"({"schema": "ortinv/1",
      "bmc": {"intervals": [{"selector": 9, "variable": "KXHVM9", "value": 4294967295}]},
      "changes": [{"what": "bmc interval 9", "from": null, "to": 4294967295}],
      "missing": null, "problems": []})"));
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
  EXPECT_EQ(g_host.writes, 0);
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
  g_host.answers_ipv6 = false;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "ortinv: the BMC has no address to register\n");
}

TEST_F(CommandLineTest, AllShowsEverySection) {
  const Result result = run({"all", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  const json document = result.document();
  EXPECT_EQ(document["smbios"].size(), 6U);
  EXPECT_EQ(document["pci"].size(), 2U);
  EXPECT_EQ(document["pci"][1]["address"], "0000:5e:1f.7");
  EXPECT_EQ(document["drives"].size(), 2U);
  EXPECT_EQ(document["drives"][0]["serial_number"], "ABC123");
  EXPECT_EQ(document["software"].size(), 2U);
  EXPECT_EQ(document["bmc"]["mode"]["enabled"], true);
  // One of the three variables is missing: nothing was asked for by name.
  EXPECT_EQ(document["bmc"]["intervals"].size(), 2U);
  EXPECT_EQ(document["entity_mib"]["address"], "198.51.100.1");
  EXPECT_EQ(g_host.writes, 0);
}

TEST_F(CommandLineTest, AllPrintsTablesForPeople) {
  const std::string out = run({"all"}).out;
  EXPECT_NE(out.find("System Information record  (Type 1)\n"), std::string::npos);
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
  EXPECT_NE(out.find("  Name         \xFF\xC3( .[31m.\"\\\n"), std::string::npos) << out;
  // The document replaces what is no UTF-8.
  EXPECT_EQ(run({"pci", "0000:03:00.0", "--json"}).document()["pci"][0]["name"],
            "\xEF\xBF\xBD\xEF\xBF\xBD( \x1B[31m\t\"\\");
}

TEST_F(CommandLineTest, EveryControlCharacterOfAsciiReadsAsADot) {
  for (int character = 1; character <= 0x7F; ++character) {
    if (character == ' ') {
      character = 0x7F;
    }
    g_host.pci["0000:03:00.0"].name = std::string("a") + static_cast<char>(character) + "b";
    EXPECT_NE(run({"pci", "0000:03:00.0"}).out.find("  Name         a.b\n"), std::string::npos)
        << character;
  }
}

TEST_F(CommandLineTest, AFullDiskIsNoticed) {
  std::vector<const char*> arguments = {"ortinv", "host"};
  const OutputCapture error(2);
  const int saved = dup(1);
  fflush(stdout);
  ASSERT_NE(freopen("/dev/full", "w", stdout), nullptr);
  const int status = run_ortinv(2, arguments.data());
  dup2(saved, 1);
  close(saved);
  clearerr(stdout);
  EXPECT_EQ(status, 3);
  EXPECT_EQ(error.text(), "ortinv: standard output: No space left on device\n");
}

}  // namespace
