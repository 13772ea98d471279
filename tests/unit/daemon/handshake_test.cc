// SPDX-License-Identifier: Apache-2.0
// Hello and connect. The tests run every case for both where they share it: the
// two differ in texts, sequence number and the least size of a reply.
#include "daemon/handshake.h"

#include <string>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

// A reply of the BMC that is just long enough for a hello.
Bytes reply(uint16_t seqno, uint16_t more = 0, uint32_t errcode = 0) {
  return ChifBuilder(0x8193)
      .seqno(seqno)
      .svc(13)
      .errcode(errcode)
      .u16_at(14, more)
      .sized(17)
      .bytes();
}

constexpr std::ptrdiff_t kDumpLines = 3;

// The dump of a reply, twice, and what follows.
Lines dumped_twice(int pktsize, const std::string& end) {
  const std::string size = std::to_string(pktsize);
  const Lines dump = {"6 CHIF:\n", "6  pktsize = " + size + ", seqno = 0, cmdno = 8193, svc = 0\n",
                      "6  errcode = 0, pktsize = " + size + ", agentx_resp_len = 0\n"};
  Lines lines = dump;
  lines.insert(lines.end(), dump.begin(), dump.end());
  lines.push_back(end);
  return lines;
}

class Hello : public Daemon {
 protected:
  void expect_request(const char* hex) {
    script.write(kFd, bytes_of(hex));
    script.usleep(10'000);
  }
  void expect_hello() { expect_request("10000000 93010d00 01000000 00000000"); }
  void expect_reply(const Bytes& packet) {
    script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
    script.ioctl(kFd).gives(packet);
  }
  CallScript script;
};
using Connect = Hello;

TEST_F(Hello, IsAcceptedByItsOwnAndTheNextTwoSequenceNumbers) {
  for (uint16_t offset = 0; offset <= 2; ++offset) {
    chif_seqno = 0x1234;
    expect_request("10003412 93010d00 01000000 00000000");
    expect_reply(reply(static_cast<uint16_t>(0x1234 + offset)));
    EXPECT_EQ(do_hello_rev(kFd), 0);
    EXPECT_EQ(chif_seqno, 0x1235U);
  }
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Hello, OfAnotherSequenceNumberUsesUpOnePollAndEndsWell) {
  expect_hello();
  expect_reply(reply(3));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, DoesNotWrapAt16Bits) {
  chif_seqno = 0xFFFF;
  expect_request("1000ffff 93010d00 01000000 00000000");
  expect_reply(reply(0));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(chif_seqno, 0x10000U);
}

TEST_F(Hello, OfASilentBmcSucceedsAfter30PollsOf10Seconds) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).returns(0).times(30);
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Hello, CountsAnInterruptedPollLikeATimeout) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).fails(EINTR).times(30);
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, CountsAPollWithoutInputLikeATimeout) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).reports(POLLHUP).times(30);
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, WithMoreToComeBeginsAFreshCycle) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  expect_reply(reply(0, 1));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  expect_reply(reply(1, 0));
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, WithMoreToComeHasAll30PollsAgain) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).returns(0).times(20);
  expect_reply(reply(0, 1));
  expect_reply(reply(9, 0));  // a stranger's, the first of the fresh cycle
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, NumberedBeyond16BitsIsAcceptedOnlyBySilence) {
  chif_seqno = 0x10000;
  expect_hello();
  expect_reply(reply(0));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(chif_seqno, 0x10001U);
}

TEST_F(Hello, TakesANotificationForAReplyAndLosesIt) {
  expect_hello();
  expect_reply(ChifBuilder(0x0001).agentx(bmc_reset()).bytes());  // its "more" is 0
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Hello, KeepsWaitingAtTheEndOfACycleWhenAStrangersReplySaidMore) {
  expect_hello();
  expect_reply(reply(9, 1));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  expect_reply(reply(9, 0));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, FailsOnAReplyOfExactly16Bytes) {
  expect_hello();
  expect_reply(ChifBuilder(0x8193).sized(16).bytes());
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(),
            Lines({"3 do_hello_rev(): Failed: TVU_HELLO_REV response read() < len 16\n"}));
}

TEST_F(Hello, FailsOnAnErrorCode) {
  expect_hello();
  expect_reply(reply(0, 0, 22));
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), Lines({"3 do_hello_rev(): Failed: read()<errcode error=22\n"}));
}

TEST_F(Hello, FailsOnAPollError) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).fails(EBADF);
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), Lines({"3 do_hello_rev(): Failed: poll() error=9\n"}));
}

TEST_F(Hello, FailsOnAReadError) {
  expect_hello();
  script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
  script.ioctl(kFd).fails(EIO);
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), Lines({"3 do_hello_rev(): Failed: read() error=5\n"}));
}

TEST_F(Hello, IsWritten30TimesWhileTheDeviceIsBusy) {
  Lines failures;
  for (int attempt = 0; attempt < 30; ++attempt) {
    script.write(kFd, bytes_of("10000000 93010d00 01000000 00000000")).fails(EBUSY);
    script.usleep(10'000);
    failures.push_back("3 do_hello_rev(): Failed: Writing ZEMOX TVU_HELLO errno =16\n");
  }
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), failures);
}

TEST_F(Hello, IsWrittenAgainAfterABusyDevice) {
  script.write(kFd, bytes_of("10000000 93010d00 01000000 00000000")).fails(EBUSY);
  script.usleep(10'000);
  expect_hello();
  expect_reply(reply(0));
  EXPECT_EQ(do_hello_rev(kFd), 0);
}

TEST_F(Hello, FailsAtOnceOnAnotherWriteError) {
  script.write(kFd, bytes_of("10000000 93010d00 01000000 00000000")).fails(EBADF);
  script.usleep(10'000);
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), Lines({"3 do_hello_rev(): Failed: Writing ZEMOX TVU_HELLO errno =9\n"}));
  EXPECT_EQ(script.timeline()[1], "usleep(10000)");  // then the line
}

TEST_F(Hello, WithoutAttemptsFailsUnwritten) {
  chif_retry_count = 0;
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Hello, TracesToStandardErrorWithTheChifDumpFlag) {
  g_chif_dump_flag = 1;
  g_daemon_debug_flag = 1;
  expect_hello();
  expect_reply(ChifBuilder(0x8193).u16_at(12, 4).u16_at(14, 0).sized(17).bytes());
  const OutputCapture capture(2);
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(
      capture.text(),
      "waiting on Mox reverse mode response\ngoing to read = 4084\nread = 17 idx=4 more =0\n");
  EXPECT_EQ(script.logs(),
            Lines({"6 CHIF:\n", "6  pktsize = 16, seqno = 0, cmdno = 193, svc = d\n",
                   "6  errcode = 1, pktsize = 16, agentx_resp_len = 0\n",  //
                   "6 CHIF:\n", "6  pktsize = 17, seqno = 0, cmdno = 8193, svc = 0\n",
                   "6  errcode = 0, pktsize = 17, agentx_resp_len = 4\n"}));
}

TEST_F(Hello, DumpsAReplyThatIsTooShortTwice) {
  g_chif_dump_flag = 1;
  g_daemon_debug_flag = 1;
  expect_hello();
  expect_reply(ChifBuilder(0x8193).sized(16).bytes());
  const OutputCapture capture(2);
  EXPECT_EQ(do_hello_rev(kFd), -1);
  EXPECT_EQ(Lines(script.logs().begin() + kDumpLines, script.logs().end()),
            dumped_twice(16, "3 do_hello_rev(): Failed: TVU_HELLO_REV response read() < len 16\n"));
}

TEST_F(Hello, TracesOnlyTheWaitWithTheAgentxDumpFlag) {
  g_agentx_dump_flag = 1;
  expect_hello();
  expect_reply(reply(0));
  const OutputCapture capture(2);
  EXPECT_EQ(do_hello_rev(kFd), 0);
  EXPECT_EQ(capture.text(), "waiting on Mox reverse mode response\n");
}

TEST_F(Connect, CarriesItsParameterAndSequenceNumberZero) {
  chif_seqno = 77;
  expect_request("10000000 93010d00 03000000 78563412");
  expect_reply(reply(2));
  EXPECT_EQ(do_connect_rev(kFd, 0x12345678), 0);
  EXPECT_EQ(chif_seqno, 77U);
}

TEST_F(Connect, AcceptsAReplyOfExactly16Bytes) {
  expect_request("10000000 93010d00 03000000 00000000");
  expect_reply(ChifBuilder(0x8193).sized(16).bytes());
  EXPECT_EQ(do_connect_rev(kFd, 0), 0);
}

TEST_F(Connect, FailsOnAReplyOf15Bytes) {
  expect_request("10000000 93010d00 03000000 00000000");
  expect_reply(ChifBuilder(0x8193).sized(15).bytes());
  EXPECT_EQ(do_connect_rev(kFd, 0), -1);
  EXPECT_EQ(script.logs(),
            Lines({"3 do_connect_rev(): Failed: TVU_HELLO_CONNECT response read()< len 15\n"}));
}

TEST_F(Connect, DumpsAReplyThatIsTooShortTwice) {
  g_chif_dump_flag = 1;
  g_daemon_debug_flag = 1;
  expect_request("10000000 93010d00 03000000 00000000");
  expect_reply(ChifBuilder(0x8193).sized(15).bytes());
  const OutputCapture capture(2);
  EXPECT_EQ(do_connect_rev(kFd, 0), -1);
  EXPECT_EQ(
      Lines(script.logs().begin() + kDumpLines, script.logs().end()),
      dumped_twice(15, "3 do_connect_rev(): Failed: TVU_HELLO_CONNECT response read()< len 15\n"));
}

TEST_F(Connect, HasTextsOfItsOwn) {
  expect_request("10000000 93010d00 03000000 00000000");
  script.poll(kFd, POLLIN, 10'000).fails(EBADF);
  expect_request("10000000 93010d00 03000000 00000000");
  script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
  script.ioctl(kFd).fails(EIO);
  expect_request("10000000 93010d00 03000000 00000000");
  expect_reply(reply(0, 0, 5));
  script.write(kFd, bytes_of("10000000 93010d00 03000000 00000000")).fails(EPIPE);
  script.usleep(10'000);
  for (int failure = 0; failure < 4; ++failure) {
    EXPECT_EQ(do_connect_rev(kFd, 0), -1);
  }
  EXPECT_EQ(script.logs(),
            Lines({"3 do_connect_rev(): Failed: poll() error=9\n",
                   "3 do_connect_rev(): Failed: read() error=5\n",
                   "3 do_connect_rev(): Failed: read()<errcode error=5\n",
                   "3 do_connect_rev(): Failed: Writing ZEMOX TVU_HELLO_CONNECT errno =32\n"}));
}

TEST_F(Connect, TracesItsOwnWait) {
  g_agentx_dump_flag = 1;
  expect_request("10000000 93010d00 03000000 00000000");
  expect_reply(reply(3));
  script.poll(kFd, POLLIN, 10'000).returns(0).times(29);
  const OutputCapture capture(2);
  EXPECT_EQ(do_connect_rev(kFd, 0), 0);
  std::string expected;
  for (int poll = 0; poll < 30; ++poll) {
    expected += "waiting on Mox TVU_HELLO_CONNECT response\n";
  }
  EXPECT_EQ(capture.text(), expected);
}

class Init : public Daemon {};

TEST_F(Init, OpensTheFirstFreeChannelFrom15Down) {
  CallScript script;
  script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb15", O_RDWR | O_EXCL | O_CLOEXEC)
      .fails(EBUSY);
  script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb14", O_RDWR | O_EXCL | O_CLOEXEC).returns(6);
  script.usleep(10'000);
  bmc_init();
  EXPECT_EQ(bmc_fd, 6);
  EXPECT_EQ(script.logs(), Lines({"6 [tvud]: BMC device is "
                                  "/vmfs/devices/char/vmkdriver/zemox-d0ccb14\n"}));
}

TEST_F(Init, LeavesAnOpenChannelAlone) {
  CallScript script;
  bmc_fd = 4;
  bmc_init();
  EXPECT_EQ(bmc_fd, 4);
}

}  // namespace
