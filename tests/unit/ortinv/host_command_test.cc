// SPDX-License-Identifier: Apache-2.0
// What the hypervisor and the BMC are asked for, and what does not answer.
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "tests/unit/ortinv/command_line_fixture.h"

namespace {

using nlohmann::json;

class HostCommandTest : public CommandLineTest {};

TEST_F(HostCommandTest, HostShowsIdentityAndMemory) {
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

TEST_F(HostCommandTest, HostSaysOfMemoryBeyond32BitsThatItCannotTell) {
  // 5 TB: what is left in 32 bits is 1 TB.
  g_host.vsish = "   Physical memory estimate:5368709120 KB\n   Free:1073741824 KB\n";
  g_host.memory = {1048576, 1048576, 2048, 1024};
  const Result result = run({"host"});
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("  Total physical (MB)  cannot be told: Physical memory "
                            "estimate:5368709120 KB\n"
                            "  Free physical (MB)   1048576\n"),
            std::string::npos)
      << result.out;
  EXPECT_EQ(result.error,
            "ortinv: warning: vsish prints \"Physical memory estimate:5368709120 KB\", which does "
            "not fit "
            "the 32 bits of the record; the figure cannot be told\n");
  const json memory = run({"host", "--json"}).document()["host"]["memory"];
  EXPECT_TRUE(memory["total_physical_mb"].is_null());
  EXPECT_EQ(memory["free_physical_mb"], 1048576);
  EXPECT_EQ(memory["printed"]["total_physical_mb"], "Physical memory estimate:5368709120 KB");
}

TEST_F(HostCommandTest, HostTakesTheLargestFigureThatFits) {
  g_host.vsish = "   Physical memory estimate:2147483647 KB\n";
  EXPECT_EQ(run({"host"}).error, "");
  g_host.vsish = "   Physical memory estimate:2147483648 KB\n";
  EXPECT_NE(run({"host"}).error, "");
  g_host.vsish = "   Physical memory estimate:1 KB\n   Other Free:2147483648 KB\n";
  EXPECT_EQ(run({"host"}).error, "");  // a line that the library does not read either
}

// Returns whether nobody holds the other end of the pipe any more.
bool is_at_its_end(int read_end) {
  struct pollfd event = {read_end, POLLIN, 0};
  return poll(&event, 1, 10'000) == 1 && (event.revents & POLLHUP) != 0;
}

TEST_F(HostCommandTest, ACommandThatHangsIsEndedAndTheRestIsShown) {
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

TEST_F(HostCommandTest, ABmcThatHangsIsAskedOnce) {
  g_host.bmc_hangs = true;
  const Result result = run({"all", "--json", "--timeout", "1"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(std::count(result.error.begin(), result.error.end(), '\n'), 1) << result.error;
  EXPECT_TRUE(result.document()["bmc"]["address"].is_null());
}

TEST_F(HostCommandTest, WithoutATimeoutTheAnswersAreTheSame) {
  EXPECT_EQ(run({"all", "--json", "--timeout", "0"}).out, run({"all", "--json"}).out);
}

TEST_F(HostCommandTest, HostNamesTheSourceThatFails) {
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

TEST_F(HostCommandTest, HostNamesRubbishOfVsishAndAMissingLibrary) {
  g_host.memory = {};
  g_host.identity.product[0] = '\0';
  const Result result = run({"host", "--json"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.document()["problems"][0]["source"], "libvmkuser.so");
  EXPECT_EQ(result.document()["problems"][1]["source"], "vsish");
  EXPECT_TRUE(result.document()["host"]["version"].is_null());
}

TEST_F(HostCommandTest, HostWithoutAPathFindsNoCommand) {
  g_host.has_path = false;
  EXPECT_EQ(run({"host", "--json"}).document()["problems"].size(), 3U);
}

TEST_F(HostCommandTest, HostTakesNoFileForACommandThatCannotBeExecuted) {
  g_host.commands = {"uname", "localcli"};
  g_host.plain_files = {"vsish"};
  const Result result = run({"host"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: vsish: command not found; run ortinv on the host, with /sbin and /bin on "
            "PATH\n");
}

TEST_F(HostCommandTest, SoftwareListsBothFormsInATable) {
  const Result result = run({"software"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(
      result.out,
      "Software\n"
      "  Name            Version  Vendor   Released    Installed   Acceptance  Kind    Form\n"
      "  Example-driver  4.1.9    Example  2023-03-27  -           -           -       component\n"
      "  tools           1.0      Example  2023-03-27  2024-01-02  -           module  bulletin\n");
}

TEST_F(HostCommandTest, SoftwareFindsOnePackageInEitherForm) {
  const json component = run({"software", "Example-driver", "--json"}).document();
  ASSERT_EQ(component["software"].size(), 1U);
  EXPECT_EQ(component["software"][0]["form"], "component");
  EXPECT_EQ(component["software"][0]["summary"], "Summary of Example-driver");
  EXPECT_EQ(run({"software", "tools", "--json"}).document()["software"][0]["kind"], "module");
  const Result none = run({"software", "TOOLS"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: no installed package is named TOOLS\n");
}

TEST_F(HostCommandTest, SoftwareTellsAnEmptyDatabaseFromAMissingOne) {
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

TEST_F(HostCommandTest, BmcAddressShowsBoth) {
  EXPECT_EQ(run({"bmc", "address"}).out,
            "BMC address\n"
            "  IPv4 address  192.0.2.10\n"
            "  IPv6 address  fe80::1122\n"
            "  IPv4 enabled  yes\n"
            "  IPv6 enabled  yes\n");
}

TEST_F(HostCommandTest, BmcWithoutAnyAddressIsNotFound) {
  g_host.ipv4 = "0.0.0.0";
  EXPECT_EQ(run({"bmc", "address"}).status, 0);
  g_host.ipv6 = "";
  const Result result = run({"bmc", "address", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.document()["bmc"]["address"]["ipv4"].is_null());
}

TEST_F(HostCommandTest, BmcAddressOfOneFamilyDoesNotHideTheOther) {
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

TEST_F(HostCommandTest, BmcFailuresSayWhatIsWrong) {
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

TEST_F(HostCommandTest, BmcModeIsReadWithoutChangingIt) {
  EXPECT_EQ(run({"bmc", "mode"}).out,
            "BMC mode\n"
            "  Enabled   yes\n"
            "  Value     1\n"
            "  Variable  KXHVM6\n");
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(HostCommandTest, BmcModeSaysWhatItChanged) {
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

TEST_F(HostCommandTest, BmcModeThatIsSetToWhatItWasIsNoChange) {
  const Result result = run({"bmc", "mode", "on"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.find("Changed"), std::string::npos) << result.out;
  EXPECT_EQ(fake_writes().count, 1);
}

TEST_F(HostCommandTest, BmcVariablesThatAreMissingAreNotCreatedByReading) {
  g_host.variables.clear();
  const Result mode = run({"bmc", "mode"});
  EXPECT_EQ(mode.status, 1);
  EXPECT_EQ(mode.error, "ortinv: the BMC has no variable KXHVM6\n");
  const Result interval = run({"bmc", "interval", "10", "--json"});
  EXPECT_EQ(interval.status, 1);
  EXPECT_EQ(interval.error, "ortinv: the BMC has no variable KXHVMA\n");
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(HostCommandTest, BmcIntervalKeepsTheLibrarysPrintsOutOfTheDocument) {
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

TEST_F(HostCommandTest, BmcThatRefusesIsAProblem) {
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

TEST_F(HostCommandTest, BmcStatusOfOneIsARefusalAndNotMissing) {
  g_host.variable_status = 1;
  for (const auto& command : std::vector<std::vector<const char*>>{
           {"bmc", "mode", "on"}, {"bmc", "mode"}, {"bmc", "interval", "8", "5"}}) {
    const Result result = run(command);
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.error.find(" with status 1; check its firmware\n"), std::string::npos);
  }
  EXPECT_EQ(fake_writes().count, 0);
}

TEST_F(HostCommandTest, EntityMibShowsTheRegistration) {
  const Result result = run({"entity-mib", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document()["entity_mib"]["address"], "198.51.100.1");
  EXPECT_FALSE(result.document().contains("changes"));
  remove(path_.c_str());
  const Result none = run({"entity-mib"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.error, "ortinv: no registration in " + path_ + "\n");
}

TEST_F(HostCommandTest, EntityMibWriteSaysWhatItChanged) {
  EXPECT_EQ(run({"entity-mib", "--write"}).out,
            "Entity MIB registration\n"
            "  File     " +
                path_ +
                "\n"
                "  Address  192.0.2.10\n"
                "Changed " +
                path_ + " from 198.51.100.1 to 192.0.2.10.\n");
}

TEST_F(HostCommandTest, EntityMibWriteNamesTheFileThatFails) {
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

TEST_F(HostCommandTest, EntityMibWriteNoticesAFileThatWasNotWritten) {
  g_host.registration_file = "/dev/full";
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error, "ortinv: /dev/full: could not be written; check the free space\n");
}

TEST_F(HostCommandTest, EntityMibWriteLeavesTheFileWithoutAnAddress) {
  g_host.ipv4 = "0.0.0.0";
  g_host.ipv6 = "";
  const Result result = run({"entity-mib", "--write", "--json"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.error, "ortinv: the BMC has no address to register\n");
  EXPECT_EQ(result.document()["entity_mib"]["address"], "198.51.100.1");
}

TEST_F(HostCommandTest, EntityMibWriteTellsAFailingQueryFromAMissingAddress) {
  g_host.ipv4 = "0.0.0.0";
  g_host.answers_ipv6 = false;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: does not answer for IPv6; check its health, and reset it if need be\n");
}

TEST_F(HostCommandTest, EntityMibWriteNoticesABmcThatStopsAnswering) {
  g_host.stops_answering = true;
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.error,
            "ortinv: BMC: does not answer; check its health, and reset it if need be\n");
}

TEST_F(HostCommandTest, EntityMibWriteRegistersTheIpv6AddressWithoutAnIpv4One) {
  g_host.ipv4 = "0.0.0.0";
  const Result result = run({"entity-mib", "--write", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.document()["changes"][0]["to"], "fe80::1122");
}

TEST_F(HostCommandTest, EntityMibWriteReportsNoChangeWhereThereIsNone) {
  run({"entity-mib", "--write"});
  const Result result = run({"entity-mib", "--write"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.find("Changed"), std::string::npos) << result.out;
}

}  // namespace
