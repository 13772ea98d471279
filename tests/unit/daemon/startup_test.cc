// SPDX-License-Identifier: Apache-2.0
// The gates in their order, and what is prepared once they are passed.
#include "daemon/startup.h"

#include <algorithm>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr const char* kDriverNode = "/vmfs/devices/zemox-d0ccb0";
constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";
constexpr const char* kSocketDirectory = "/opt/ortdv/sockets/agentx";
constexpr const char* kRestartFile = "/opt/ortdv/tmp/tvurevrestart.text";
constexpr const char* kSnmpXml = "/etc/vmware/snmp.xml";

class Gates : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    script.collect_waits();
    script.file(kDriverNode);
    script.file(kStatusFile);
  }
  void expect_generation(const char* line) { script.fopen(kStatusFile, "re").prints(line); }
  // The variable's channel fails to open: reads as disabled.
  void expect_reverse_mode_unreadable() {
    for (int sweep = 0; sweep < 5; ++sweep) {
      for (int channel = 4; channel >= 0; --channel) {
        script
            .open("/vmfs/devices/char/vmkdriver/zemox-d0ccb" + std::to_string(channel),
                  O_RDWR | O_EXCL | O_CLOEXEC)
            .fails(EBUSY);
      }
    }
  }
  void expect_reverse_mode(uint8_t value) {
    ++message_id_;
    const auto id = static_cast<uint16_t>(message_id_);
    script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb4", O_RDWR | O_EXCL | O_CLOEXEC)
        .returns(9);
    script.write(9, ChifBuilder(0)
                        .pktsize(20)
                        .seqno(id)
                        .svc(1)
                        .bytes_at(8, bytes_of("d8 02 04 01 00 4b 58 48 56 4d 36 00"))
                        .bytes());
    script.ioctl(9).gives(ChifBuilder(0)
                              .seqno(id)
                              .bytes_at(8, bytes_of("dc 02 00 04 00 01 00"))
                              .u8_at(15, value)
                              .sized(16)
                              .bytes());
    script.close(9);
  }
  CallScript script;
  static int message_id_;  // the daemon counts its requests for the process's life
};
int Gates::message_id_ = 0;

TEST_F(Gates, WithoutTheDriverNodeNothingElseRuns) {
  script.no_file(kDriverNode);
  script.file(kRestartFile);
  script.file("/opt/ortdv/tmp/tvurevbmcstop.text");
  EXPECT_EQ(check_gates(), 0);
  EXPECT_EQ(script.stats(), Lines({kDriverNode}));
  EXPECT_EQ(script.logs(), Lines({"6 tvurev: ERROR: Missing mox driver.\n"}));
}

TEST_F(Gates, AnUnsupportedServerIsLoggedAndPrinted) {
  expect_generation("Mox5\r\n");
  const OutputCapture capture;
  EXPECT_EQ(check_gates(), 0);
  EXPECT_EQ(capture.text(), "ryn11 tvurev:  Server not supported.\n");
  EXPECT_EQ(script.logs(), Lines({"6 ryn11 tvurev: Server not supported.\n"}));
}

TEST_F(Gates, DisabledReverseModeWaitsForARestart) {
  expect_generation("Mox6\r\n");
  expect_reverse_mode(0);
  script.stat(kRestartFile).fails(ENOENT);
  script.stat(kRestartFile);
  script.unlink(kRestartFile);
  EXPECT_EQ(check_gates(), 1);
  EXPECT_EQ(script.waits().back(), "sleep 120");
  EXPECT_EQ(script.logs(), Lines({"6 tvurev:  Supported Ryn11 server detected.\n",
                                  "6 tvurev:  Reverse TVU disabled.\n",
                                  "6 tvurev: Detected TVUREV enable/disable. Restarting tvurev "
                                  "....\n"}));
}

TEST_F(Gates, UnreadableReverseModeCountsAsDisabled) {
  expect_generation("Mox6\r\n");
  expect_reverse_mode_unreadable();
  script.file(kRestartFile);
  script.unlink(kRestartFile);
  EXPECT_EQ(check_gates(), 1);
  EXPECT_EQ(script.logs()[1], "6 mox_chrdev: Failed: no available Qel Mox channels\n");
  EXPECT_EQ(script.logs()[2], "6 tvurev:  Reverse TVU disabled.\n");
}

TEST_F(Gates, DisabledHostSnmpIsPrintedAndLoggedAndWaits) {
  expect_generation("Mox6\r\n");
  expect_reverse_mode(1);
  script.fopen(kSnmpXml, "re").fails(ENOENT);
  script.file(kRestartFile);
  script.unlink(kRestartFile);
  const OutputCapture capture;
  EXPECT_EQ(check_gates(), 1);
  EXPECT_EQ(host_snmp_enabled, 0);
  EXPECT_EQ(capture.text(), "ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.\n");
  EXPECT_EQ(script.logs()[1], "6 ESXi Host SNMP disabled. Cannot run TVU Reverse Proxy.\n");
}

TEST_F(Gates, LetTheDaemonRunWhenAllArePassed) {
  expect_generation("Mox6\r\n");
  expect_reverse_mode(1);
  script.fopen(kSnmpXml, "re")
      .prints("<enable>true</enable>\n<targets>192.0.2.7@162 public</targets>\n");
  EXPECT_EQ(check_gates(), std::nullopt);
  EXPECT_EQ(host_snmp_enabled, 1);
  EXPECT_EQ(script.logs(), Lines({"6 tvurev:  Supported Ryn11 server detected.\n",
                                  "6 tvurev:  Reverse TVU enabled and Host SNMP enabled.\n"}));
}

TEST_F(Gates, SetTheUtilitiesDebugFlagBeforeTheFirstQuery) {
  script.file("/tmp/ortdebug.text");
  script.file("/tmp/utils.text");
  expect_generation("Mox5\r\n");
  const OutputCapture capture;
  EXPECT_EQ(check_gates(), 0);
  EXPECT_EQ(script.logs().front(), "6 utils: check if system is supported...\n");
}

constexpr const char* kListInterfaces =
    "/sbin/localcli network ip interface ipv4 get > /opt/ortdv/tmp/ipv4.txt 2>/dev/null";

class Preparation : public Daemon {
 protected:
  void expect_closing() {
    script.getdtablesize().returns(1024);
    script.close_range(3, 1023);
  }
  void expect_unlinks() {
    script.unlink("/opt/ortdv/tmp/tvurevortstop.text");
    script.unlink("/opt/ortdv/tmp/tvurevbmcstop.text");
  }
  CallScript script;
};

TEST_F(Preparation, ClosesForgetsAndListsInThisOrder) {
  expect_closing();
  expect_unlinks();
  script.runs(kListInterfaces);
  script.file(kSocketDirectory);
  prepare_host();
  EXPECT_EQ(proxy_running, 1);
  EXPECT_EQ(script.stats(),
            Lines({"/tmp/tvud.text", "/tmp/chif.text", "/tmp/agentx.text", kSocketDirectory}));
}

TEST_F(Preparation, SetsTheDebugFlagsBeforeAnythingElse) {
  script.stat("/tmp/tvud.text");
  script.stat("/tmp/chif.text");
  script.stat("/tmp/agentx.text");
  expect_closing();
  expect_unlinks();
  script.runs(kListInterfaces);
  script.file(kSocketDirectory);
  prepare_host();
  EXPECT_EQ(g_agentx_dump_flag, 1);
}

TEST_F(Preparation, NoticesOnlyThatNoShellCouldBeStarted) {
  script.file("/tmp/tvud.text");
  script.file(kSocketDirectory);
  expect_closing();
  expect_unlinks();
  script.popen(kListInterfaces).fails(EAGAIN);
  prepare_host();
  expect_closing();
  expect_unlinks();
  script.runs(kListInterfaces).returns(256);
  prepare_host();
  EXPECT_EQ(script.logs(), Lines({"6 localcli cmd to get network ipv4 address failed.\n"}));
}

TEST_F(Preparation, ClosesOneByOneWhereTheKernelCannotCloseARange) {
  script.getdtablesize().returns(6);
  script.close_range(3, 5).fails(ENOSYS);
  script.close(5);
  script.close(4).fails(EBADF);
  script.close(3);
  close_inherited_descriptors();
}

TEST_F(Preparation, ClosesNothingWhenThereAreThreeDescriptorsAtMost) {
  script.getdtablesize().returns(3);
  close_inherited_descriptors();
}

TEST_F(Preparation, MakesAMissingSocketDirectory) {
  script.readlink(kSocketDirectory, 4096).fails(ENOENT);
  script.mkdir(kSocketDirectory, 0700);
  ensure_socket_directory();
}

TEST_F(Preparation, MakesTheDirectoryOfADanglingLinkWithoutItsLastCharacter) {
  script.readlink(kSocketDirectory, 4096).gives("/opt/dirA");
  script.mkdir("/opt/dir", 0700);
  ensure_socket_directory();
}

TEST_F(Preparation, LeavesALinksShortenedTargetAloneWhenItExists) {
  script.readlink(kSocketDirectory, 4096).gives("/opt/dirA");
  script.file("/opt/dir");
  ensure_socket_directory();
}

TEST_F(Preparation, TakesALinkOfTheFullLength) {
  script.readlink(kSocketDirectory, 4096).gives(std::string(4096, 'a'));
  script.mkdir(std::string(4095, 'a'), 0700);
  ensure_socket_directory();
}

TEST_F(Preparation, TreatsAnEmptyLinkLikeNone) {
  script.readlink(kSocketDirectory, 4096).returns(0);
  script.mkdir(kSocketDirectory, 0700).fails(EROFS);
  ensure_socket_directory();
  EXPECT_EQ(script.logs(), Lines());
}

}  // namespace
