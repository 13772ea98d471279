// SPDX-License-Identifier: Apache-2.0
// What is checked before the daemon runs, in this order: the driver's node, the
// server, the BMC's mode variable, the host's SNMP agent.
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/e2e/host.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kDriver = "/vmfs/devices/zemox-d0ccb0";
constexpr const char* kSocketDirectory = "/opt/ortdv/sockets/agentx";
constexpr const char* kSnmpOff = "6 ortdv: ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.";

mode_t mode_of(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

using StartupGates = Host;

TEST_F(StartupGates, PassedInOrderThenConnected) {
  start_relay({.record = "sleep,usleep"});
  ASSERT_TRUE(run_until_logged("6 ortdv: [tvud]: BMC Reverse channel is [3]."));

  EXPECT_THAT(
      log_of(daemon.pid()),
      ElementsAre("clock: usleep 10000",  // after the open
                  "clock: usleep 10000",  // between request and answer
                  kFirmwareLine, kSupportedLine, "clock: usleep 10000", "clock: usleep 10000",
                  "6 ortdv: tvurev:  Reverse TVU enabled and Host SNMP enabled.",
                  "6 ortdv: [tvud]: BMC device is "
                  "/vmfs/devices/char/vmkdriver/zemox-d0ccb15",
                  "clock: usleep 10000",  // after the open
                  "clock: usleep 10000",  // after the hello
                  "clock: usleep 10000",  // after the connect
                  kConnectedLine, "6 ortdv: [tvud]: BMC Reverse channel is [3]."));
  EXPECT_EQ(daemon.out(), "");
  EXPECT_EQ(daemon.err(), "");
}

TEST_F(StartupGates, QueriesUseTheLowChannelsAndTheSessionTheHighest) {
  start_relay();
  std::vector<std::string> opened;
  for (const Happening& happening : bmc.history) {
    if (happening.what == Happening::What::kOpened) {
      opened.push_back(describe(happening));
    }
  }
  EXPECT_THAT(opened, ElementsAre("channel 4 opened", "channel 4 opened", "channel 15 opened"));
  EXPECT_THAT(hex_received(PacketKind::kStatusQuery), ElementsAre("08 00 ad de 02 00 00 00"));
  EXPECT_THAT(hex_received(PacketKind::kNvramGet),
              ElementsAre("14 00 01 00 00 00 01 00 d8 02 04 01 00 4b 58 48 56 4d 36 00"));
}

TEST_F(StartupGates, MissingDriverNodeEndsItBeforeAnythingElse) {
  unlink(kDriver);
  for (const char* file : {kRestartFile, kBmcStopFile, kOrtStopFile}) {
    touch(file);
  }
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(), ElementsAre("6 ortdv: tvurev: ERROR: Missing mox driver."));
  EXPECT_EQ(daemon.out(), "");
  EXPECT_THAT(bmc_history(), IsEmpty());
  EXPECT_THAT(host_commands(), IsEmpty());
  EXPECT_TRUE(exists(kRestartFile) && exists(kBmcStopFile) && exists(kOrtStopFile));
}

TEST_F(StartupGates, UnsupportedServerEndsItOnBothOutputsWithTheirOwnBlanks) {
  bmc.identity.generation = 7;
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(), ElementsAre("6 ortdv: ryn11 tvurev: Server not supported."));
  EXPECT_EQ(daemon.out(), "ryn11 tvurev:  Server not supported.\n");
  EXPECT_THAT(received(PacketKind::kNvramGet), IsEmpty());
  EXPECT_TRUE(exists(kRestartFile));
}

TEST_F(StartupGates, ReverseModeOffWaitsForTheRestartFile) {
  bmc.variables["KXHVM6"] = {0};
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120", 3));
  EXPECT_TRUE(daemon.running());
  touch(kRestartFile);
  EXPECT_EQ(run_until_exit(), 1);

  std::vector<std::string> lines = log();
  ASSERT_GE(lines.size(), 7U);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 3),
              ElementsAre(kFirmwareLine, kSupportedLine, kModeOffLine));
  EXPECT_EQ(lines.back(), kRestartingLine);
  EXPECT_THAT(std::vector(lines.begin() + 3, lines.end() - 1), Each("clock: sleep 120"));
  EXPECT_FALSE(exists(kRestartFile));
  EXPECT_EQ(daemon.out(), "");
}

TEST_F(StartupGates, RestartFileAtTheFirstCheckIsConsumedWithoutAWait) {
  bmc.variables["KXHVM6"] = {0};
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_THAT(log(), ElementsAre(kFirmwareLine, kSupportedLine, kModeOffLine, kRestartingLine));
  EXPECT_FALSE(exists(kRestartFile));
}

TEST_F(StartupGates, RestartFileIsSeenOnlyAfterTheWhole120Seconds) {
  bmc.variables["KXHVM6"] = {0};
  touch(kHoldFile);
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  touch(kRestartFile);
  unlink(kHoldFile);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_THAT(log(), ElementsAre(kFirmwareLine, kSupportedLine, kModeOffLine, "clock: sleep 120",
                                 kRestartingLine));
}

TEST_F(StartupGates, HostSnmpOffSaysSoOnBothOutputsAndWaits) {
  write_file(kSnmpFile, "<enable>false</enable>\n<targets>192.0.2.7@162 public</targets>\n");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120", 2));
  // Written at once, not when the process ends.
  EXPECT_EQ(daemon.out(), "ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.\n");
  touch(kRestartFile);
  EXPECT_EQ(run_until_exit(), 1);
  const std::vector<std::string> lines = log();
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 3),
              ElementsAre(kFirmwareLine, kSupportedLine, kSnmpOff));
  EXPECT_EQ(lines.back(), kRestartingLine);
  EXPECT_EQ(daemon.out(), "ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.\n");
  EXPECT_FALSE(exists(kRestartFile));
}

TEST_F(StartupGates, MissingSnmpFileCountsAsOff) {
  unlink(kSnmpFile);
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_THAT(log(), ElementsAre(kFirmwareLine, kSupportedLine, kSnmpOff, kRestartingLine));
}

TEST_F(StartupGates, UnreadableSnmpFileCountsAsOff) {
  unlink(kSnmpFile);
  std::filesystem::create_directory(kSnmpFile);
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_THAT(log(), ElementsAre(kFirmwareLine, kSupportedLine, kSnmpOff, kRestartingLine));
}

TEST_F(StartupGates, AnyEnablingLineCountsWhateverElseTheFileSays) {
  write_file(kSnmpFile, "<enable>false</enable>\nrubbish <enable>true\n<<<\n");
  start_relay();
  event("notify 1.3.6.1.4.1.32473.1.0.3");
  EXPECT_TRUE(run_until_logged("3 ortdv: tvurev: no trap destinations defined!"));
}

TEST_F(StartupGates, StaleStopFilesAreForgotten) {
  touch(kBmcStopFile);
  touch(kOrtStopFile);
  start_relay();
  EXPECT_FALSE(exists(kBmcStopFile));
  EXPECT_FALSE(exists(kOrtStopFile));
  EXPECT_TRUE(relays());
}

TEST_F(StartupGates, CommandLineIsIgnored) {
  start_relay({.arguments = {"--help", "-x", "stop"}});
  EXPECT_EQ(daemon.out(), "");
  EXPECT_EQ(daemon.err(), "");
}

TEST_F(StartupGates, InterfaceListIsKeptForOthers) {
  start_relay();
  EXPECT_EQ(read_file("/opt/ortdv/tmp/ipv4.txt"),
            "Name  IPv4 Address   IPv4 Netmask   IPv4 Broadcast  Address Type\n"
            "----  -------------  -------------  --------------  ------------\n"
            "vmk1  198.51.100.20  255.255.255.0  198.51.100.255  STATIC\n"
            "vmk0  192.0.2.20     255.255.255.0  192.0.2.255     DHCP\n");
  // Once for the file, once in each process for the agent address.
  EXPECT_THAT(host_commands(), ElementsAre("localcli network ip interface ipv4 get",
                                           "localcli network ip interface ipv4 get",
                                           "localcli network ip interface ipv4 get"));
}

TEST_F(StartupGates, MissingInterfaceCommandCostsOnlyTheAgentAddress) {
  unlink("/sbin/localcli");
  start_relay();
  event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=100");
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre("public 1.3.6.1.4.1.32473.1 255.255.255.255 6/3 @100"));
  EXPECT_EQ(read_file("/opt/ortdv/tmp/ipv4.txt"), "");
}

TEST_F(StartupGates, InterfaceCommandPrintingRubbishCostsOnlyTheAgentAddress) {
  std::string rubbish = "#!/bin/sh\necho title; echo rule; echo; echo lonely\necho '";
  rubbish += std::string(3000, 'x') + " vmk0 %n%s'\necho vmk0 %n%s%d\n";
  write_file("/sbin/localcli", rubbish);
  start_relay();
  ASSERT_TRUE(relays());
  EXPECT_THAT(receiver.traps(), ElementsAre("public 1.3.6.1.4.1.32473.1 255.255.255.255 6/3 @0"));
}

TEST_F(StartupGates, MissingSocketDirectoryIsMadeForTheOwnerOnly) {
  start_relay();
  EXPECT_EQ(mode_of(kSocketDirectory), 0700U);
}

TEST_F(StartupGates, DanglingSocketDirectoryLinkLosesItsLastCharacter) {
  std::filesystem::create_symlink("/opt/ortdv/sockets/dirA", kSocketDirectory);
  touch("/tmp/tvud.text");
  start_daemon();
  // Nothing is behind the link still, so there is no socket, but there is a BMC.
  ASSERT_TRUE(run_until_logged("6 ortdv: reverse_mode socket bind failed."));
  ASSERT_TRUE(run_until_logged(kConnectedLine));
  EXPECT_EQ(mode_of("/opt/ortdv/sockets/dir"), 0700U);
  EXPECT_FALSE(exists("/opt/ortdv/sockets/dirA"));
  EXPECT_TRUE(relays());
}

TEST_F(StartupGates, SocketDirectoryLinkWithASlashAtItsEndGetsItsDirectory) {
  std::filesystem::create_symlink("/opt/ortdv/sockets/real/", kSocketDirectory);
  start_relay();
  EXPECT_EQ(mode_of("/opt/ortdv/sockets/real"), 0700U);
  EXPECT_TRUE(exists("/opt/ortdv/sockets/real/tvud"));
}

#ifndef TVUREV_SANITIZED  // whose memory is too much to look through

// Whether a text is in the writable memory of a process, which is what a core
// file of it would hold.
bool is_in_memory(pid_t pid, const std::string& text) {
  std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
  std::ifstream memory("/proc/" + std::to_string(pid) + "/mem", std::ios::binary);
  for (std::string line; std::getline(maps, line);) {
    unsigned long start = 0;
    unsigned long end = 0;
    char writable = 0;
    if (sscanf(line.c_str(), "%lx-%lx r%c", &start, &end, &writable) != 3 || writable != 'w') {
      continue;
    }
    std::string bytes(std::min(end - start, 16UL << 20), '\0');
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(start));
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (bytes.find(text) != std::string::npos) {
      return true;
    }
  }
  return false;
}

TEST_F(StartupGates, AbortLeavesNoCommunityInMemory) {
  write_targets("192.0.2.7@162 s3cretOne;192.0.2.8@162 s3cretTwo-and-longer-than-a-short-text;" +
                std::string(33, 'h') + "@162 s3cretThree");
  const pid_t pid = fork();
  if (pid == 0) {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    setenv("LD_PRELOAD", "/run/lab/libmoxshim.so", 1);
    execl("/sbin/tvurev", "tvurev", nullptr);
    _exit(1);
  }
  bool aborting = false;
  ASSERT_TRUE(run_until([&] {
    int status = 0;
    if (waitpid(pid, &status, WNOHANG) != pid) {
      return false;
    }
    aborting = WIFSTOPPED(status) && WSTOPSIG(status) == SIGABRT;
    if (!aborting && WIFSTOPPED(status)) {
      ptrace(PTRACE_CONT, pid, nullptr, WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status));
      return false;
    }
    return true;
  }));
  ASSERT_TRUE(aborting);
  EXPECT_TRUE(is_in_memory(pid, "192.0.2.8"));  // it can be looked through
  for (const char* community : {"s3cretOne", "s3cretTwo", "s3cretThree"}) {
    EXPECT_FALSE(is_in_memory(pid, community)) << community;
  }
  kill(pid, SIGKILL);
}

#endif

}  // namespace
