// SPDX-License-Identifier: Apache-2.0
// The goodbye: what it writes, what it makes of replies, and that it always
// closes the channel.
#include "daemon/handshake.h"

#include <syslog.h>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr int kLongForm = 1;
constexpr int kShortForm = 0;

class Goodbye : public Daemon {
 protected:
  void expect_long_request() {
    script.write(kFd, bytes_of("10000000 93010d00 02000000 00000000"));
    script.usleep(1'000);
  }
  void expect_reply(const Bytes& packet) {
    script.poll(kFd, POLLIN, 1'000'000).reports(POLLIN);
    script.ioctl(kFd).gives(packet);
    script.close(kFd);
  }
  CallScript script;
};

TEST_F(Goodbye, TakesAFullSizedReplyWithoutAnError) {
  expect_long_request();
  expect_reply(ChifBuilder(0x8193).sized(4084).bytes());
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Goodbye, RefusesAShorterReply) {
  expect_long_request();
  expect_reply(ChifBuilder(0x8193).sized(4083).bytes());
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): read() bytes=4083 < len=4084  errno=0\n"}));
}

TEST_F(Goodbye, ReportsAnErrorCode) {
  expect_long_request();
  expect_reply(ChifBuilder(0x8193).errcode(17).sized(4084).bytes());
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): read() returned rsp_pkt->err=17  errno=0\n"}));
}

TEST_F(Goodbye, OfTheShortFormWritesAndReadsTwelveBytes) {
  script.write(kFd, bytes_of("0c000000 93000d00 02000400"));
  script.usleep(1'000);
  expect_reply(ChifBuilder(0x8093).sized(12).bytes());
  EXPECT_EQ(go_bye(kFd, kShortForm), 0);
}

TEST_F(Goodbye, TellsHowItsWriteWentBeforeItWaits) {
  g_daemon_debug_flag = 1;
  script.write(kFd);
  script.message(LOG_INFO, "go_bye(): After mox write bytes=16 errno =0\n");
  script.usleep(1'000);
  script.poll(kFd, POLLIN, 1'000'000).returns(0);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
}

TEST_F(Goodbye, WithoutAReplySucceeds) {
  expect_long_request();
  script.poll(kFd, POLLIN, 1'000'000).returns(0);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
}

TEST_F(Goodbye, InterruptedSucceeds) {
  expect_long_request();
  script.poll(kFd, POLLIN, 1'000'000).fails(EINTR);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
}

TEST_F(Goodbye, OfAHungUpBmcSucceeds) {
  expect_long_request();
  script.poll(kFd, POLLIN, 1'000'000).reports(POLLHUP);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
}

TEST_F(Goodbye, ReportsAPollError) {
  expect_long_request();
  script.poll(kFd, POLLIN, 1'000'000).fails(EBADF);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): poll() errno=9\n"}));
}

TEST_F(Goodbye, ReportsAReadError) {
  expect_long_request();
  script.poll(kFd, POLLIN, 1'000'000).reports(POLLIN);
  script.ioctl(kFd).fails(EIO);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): read() bytes=-1  errno=5\n"}));
}

TEST_F(Goodbye, ReturnsAShortWriteAndAsksForNoReply) {
  script.write(kFd, bytes_of("10000000 93010d00 02000000 00000000")).returns(8);
  script.usleep(1'000);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), 8);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): Failed: Writing SNMP_HELLO_BYE send=8 errno =0\n"}));
}

TEST_F(Goodbye, OfWhichNothingWasWrittenIsAShortWriteToo) {
  script.write(kFd, bytes_of("10000000 93010d00 02000000 00000000")).returns(0);
  script.usleep(1'000);
  script.close(kFd);
  script.fail_calloc(2);  // the reply buffer, were one asked for
  EXPECT_EQ(go_bye(kFd, kLongForm), 0);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): Failed: Writing SNMP_HELLO_BYE send=0 errno =0\n"}));
}

TEST_F(Goodbye, OnAClosedChannelFailsAtItsWriteWithTheWritesErrno) {
  bmc_fd = -1;
  g_daemon_debug_flag = 1;
  script.write(-1, bytes_of("10000000 93010d00 02000000 00000000")).fails(EBADF);
  script.usleep(1'000);
  EXPECT_EQ(go_bye(-1, kLongForm), -1);
  EXPECT_EQ(bmc_fd, -1);
  EXPECT_EQ(script.logs(),
            Lines({"6 go_bye(): bmc_fc [-1] Writing SNMP_HELLO_BYE svc=13 pktlen=16\n",
                   "6 go_bye(): After mox write bytes=-1 errno =9\n",
                   "3 go_bye(): Failed: Writing SNMP_HELLO_BYE send=-1 errno =9\n"}));
}

TEST_F(Goodbye, DoesNotTouchTheGlobalDescriptor) {
  bmc_fd = kFd;
  expect_long_request();
  expect_reply(ChifBuilder(0x8193).sized(4084).bytes());
  go_bye(kFd, kLongForm);
  EXPECT_EQ(bmc_fd, kFd);
}

TEST_F(Goodbye, WithoutMemoryForTheRequestClosesUnwritten) {
  script.fail_calloc(1);
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): Failed: malloc for send_pkt.\n"}));
}

TEST_F(Goodbye, WithoutMemoryForTheReplyCloses) {
  script.fail_calloc(2);
  expect_long_request();
  script.close(kFd);
  EXPECT_EQ(go_bye(kFd, kLongForm), -1);
  EXPECT_EQ(script.logs(), Lines({"3 go_bye(): Failed: malloc for recv_pkt.\n"}));
}

}  // namespace
