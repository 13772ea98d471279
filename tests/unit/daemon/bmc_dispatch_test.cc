// SPDX-License-Identifier: Apache-2.0
// What one packet of the BMC leads to: lines, acknowledgements, results.
#include "daemon/bmc_dispatch.h"

#include <sys/wait.h>
#include <syslog.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

class Dispatch : public Daemon {
 protected:
  int receive(const Bytes& packet) {
    script.ioctl(kFd).gives(packet);
    return bmc_recv(kFd);
  }
  // Lets the trap sender decode, log and find nobody to send to.
  static void enable_relay() { snmp_enabled_flag = 1; }
  CallScript script;
};

const Lines kRelayed = {"3 tvurev: no trap destinations defined!\n"};

TEST_F(Dispatch, OfANegativeDescriptorReadsNothing) {
  g_daemon_debug_flag = 1;
  errno = 7;
  EXPECT_EQ(bmc_recv(-1), 0);
  EXPECT_EQ(errno, 0);
  EXPECT_EQ(script.logs(),
            Lines({"6 rev mode: proxy_bmc_trap\n", "6 bmc_recv: start.  fd [-1] errno [7]\n",
                   "6 proxy_bmc bmc_recv() error: Received 0 bytes from BMC.  Return Success.\n"}));
}

TEST_F(Dispatch, WithoutMemoryDropsNothingButSaysSo) {
  script.fail_calloc(1);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(), Lines({"3 bmc_recv(): Failed: malloc for recv_pkt.\n"}));
}

TEST_F(Dispatch, OfAFailedReadReturnsZero) {
  g_daemon_debug_flag = 1;
  script.ioctl(kFd).fails(EIO);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs().back(), "6 bmc_recv ERROR: readMP() returns rc [-1]");
}

TEST_F(Dispatch, DropsAPacketOf16Bytes) {
  enable_relay();
  g_daemon_debug_flag = 1;
  EXPECT_EQ(receive(ChifBuilder(0x0095).sized(16).bytes()), 0);
  EXPECT_EQ(script.logs().back(),
            "6 zemox return rc <= 16 [16]. pktcmdno [0x95].  Setting rc to 0...");
}

TEST_F(Dispatch, DropsAPacketThatTheDriverCallsLongerThanTheBuffer) {
  enable_relay();
  g_daemon_debug_flag = 1;
  g_chif_dump_flag = 1;
  script.ioctl(kFd).gives(ChifBuilder(0x0001).sized(4096).bytes()).returns(4097);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs()[3],
            "6 zemox return rc <= 16 [4097]. pktcmdno [0x1].  Setting rc to 0...");
  EXPECT_EQ(script.logs()[4], "6 BMC_RECV CHIF:  ");
}

TEST_F(Dispatch, HandlesAPacketOf17Bytes) {
  EXPECT_EQ(receive(ChifBuilder(0x8193).errcode(3).sized(17).bytes()), 0);
  EXPECT_EQ(script.logs(), Lines({"3 bmc_recv ERROR: errno is [0x3]"}));
  EXPECT_EQ(errno, 3);
}

TEST_F(Dispatch, TakesBothFormsOfAHelloResponse) {
  g_daemon_debug_flag = 1;
  EXPECT_EQ(receive(ChifBuilder(0x8093).sized(20).bytes()), 0);
  EXPECT_EQ(script.logs().back(), "6 Received HELLO_RESPONSE [0x8093].\n");
  EXPECT_EQ(receive(ChifBuilder(0x8193).sized(20).bytes()), 0);
  EXPECT_EQ(script.logs().back(), "6 Received HELLO_RESPONSE [0x8193].\n");
}

TEST_F(Dispatch, WritesALogTextAsAnAlertAndAcknowledgesIt) {
  chif_seqno = 0x10203;
  script.ioctl(kFd).gives(
      ChifBuilder(0x0095).seqno(9).u16_at(8, 8).text("fan 3 %n failed").bytes());
  script.message(LOG_ALERT, "fan 3 %n");
  script.write(kFd, bytes_of("1000 0302 9580 0d00 00000000 00000000"));
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.log_calls(), Lines({"program 1 fan 3 %n"}));
  EXPECT_EQ(chif_seqno, 0x10204U);
}

// The three lines of a header's dump.
Lines dump(int pktsize, int seqno, const char* cmdno_and_svc, int errcode, int word) {
  const std::string size = std::to_string(pktsize);
  return {
      "6 CHIF:\n",
      "6  pktsize = " + size + ", seqno = " + std::to_string(seqno) + ", " + cmdno_and_svc + "\n",
      "6  errcode = " + std::to_string(errcode) + ", pktsize = " + size +
          ", agentx_resp_len = " + std::to_string(word) + "\n"};
}

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

TEST_F(Dispatch, DumpsALogPacketAfterItsDebugLineToo) {
  g_daemon_debug_flag = 1;
  g_chif_dump_flag = 1;
  script.ioctl(kFd).gives(ChifBuilder(0x0095).seqno(9).u16_at(8, 1).text("x").bytes());
  script.write(kFd);
  EXPECT_EQ(bmc_recv(kFd), 0);
  const Lines packet = dump(17, 9, "cmdno = 95, svc = 0", 1, 0);
  EXPECT_EQ(Lines(script.logs().begin() + 3, script.logs().end()),
            Lines({"6 BMC_RECV CHIF:  "}) + packet +
                Lines({"6 case CHIF_IML_LOG: Received log packet [0x0095].\n"}) + packet +
                Lines({"1 x"}));
}

TEST_F(Dispatch, KeepsALogTextOf65535BytesWithinItsPacket) {
  Bytes packet = ChifBuilder(0x0095).u16_at(8, 0xFFFF).sized(4096).bytes();
  std::fill(packet.begin() + 16, packet.end(), uint8_t{'x'});
  script.ioctl(kFd).gives(packet);
  script.write(kFd, bytes_of("1000 0000 9580 0d00 00000000 00000000"));
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(), Lines({"1 " + std::string(4080, 'x')}));
}

TEST_F(Dispatch, RepeatsAnAcknowledgementEveryMillisecondForAsLongAsTheDeviceIsBusy) {
  const Bytes ack = bytes_of("1000 0000 9580 0d00 00000000 00000000");
  script.ioctl(kFd).gives(ChifBuilder(0x0095).u16_at(8, 1).text("x").bytes());
  for (int busy = 0; busy < 10'000; ++busy) {
    script.write(kFd, ack).fails(EBUSY);
    script.usleep(1'000);
  }
  script.write(kFd, ack);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(errno, 0);
}

TEST_F(Dispatch, AbandonsAnAcknowledgementThatFailsOtherwise) {
  script.ioctl(kFd).gives(ChifBuilder(0x0095).u16_at(8, 1).text("x").bytes());
  script.write(kFd, bytes_of("1000 0000 9580 0d00 00000000 00000000")).fails(EIO);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(), Lines({"1 x"}));
}

class Shutdown : public Dispatch {
 protected:
  void expect_timer(pid_t pid) {
    script.waitpid(-1, WNOHANG).fails(ECHILD);
    script.fork().returns(pid);
  }
  void expect_ack(const char* seqno) {
    script.write(kFd, bytes_of("0c00" + std::string(seqno) + "9581 0d00 00000000"));
  }
  static Bytes request(uint16_t seqno, uint32_t action, uint32_t delay, const char* reason) {
    return ChifBuilder(0x0195).seqno(seqno).errcode(action).u32_at(12, delay).text(reason).bytes();
  }
};

TEST_F(Shutdown, WithAction1RebootsAfterItsDelay) {
  shutdown_aborted = 1;
  script.ioctl(kFd).gives(request(4, 1, 30, "lost %s fan"));
  script.message(LOG_ALERT, "System will reboot in 30 seconds due to lost %s fan.\n");
  expect_timer(77);
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.log_calls(),
            Lines({"program 1 System will reboot in 30 seconds due to lost %s fan.\n"}));
  EXPECT_EQ(shutdown_timer_pid, 77);
  EXPECT_EQ(shutdown_aborted, 0);
  EXPECT_EQ(chif_seqno, 6U);
}

TEST_F(Shutdown, WithAction0PowersOff) {
  shutdown_aborted = 1;
  script.ioctl(kFd).gives(request(4, 0, 0xFFFFFFFF, "heat"));
  script.message(LOG_ALERT, "System will shutdown in -1 seconds due to heat.\n");
  expect_timer(77);
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(), Lines({"1 System will shutdown in -1 seconds due to heat.\n"}));
  EXPECT_EQ(shutdown_aborted, 0);
}

TEST_F(Shutdown, WithBothBitsReboots) {
  script.ioctl(kFd).gives(request(4, 3, 0xFFFFFFFE, "heat"));
  expect_timer(77);
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(), Lines({"1 System will reboot in -2 seconds due to heat.\n"}));
}

TEST_F(Shutdown, AbortedWithoutATimerOnlyLogs) {
  g_daemon_debug_flag = 1;
  script.ioctl(kFd).gives(request(4, 2, 0, "heat"));
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(shutdown_aborted, 1);
  const Lines expected = {"6 case CHIF_SHUTDOWN: Received log packet [0x0195].\n",
                          "6 Shutdown received: action [0x2] delay [0] reason [heat].\n",
                          "6 Shutdown due to heat has been Aborted.\n",
                          "6 Shutdown timer PID is 0.  Nothing to terminate.\n"};
  EXPECT_EQ(Lines(script.logs().begin() + 3, script.logs().end()), expected);
}

TEST_F(Shutdown, AbortedKillsTheTimer) {
  shutdown_timer_pid = 77;
  script.ioctl(kFd).gives(request(4, 2, 0, "heat"));
  script.kill(77, SIGKILL);
  script.waitpid(77, WNOHANG).returns(77);
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(shutdown_timer_pid, 0);
  EXPECT_EQ(script.logs(), Lines({"6 Shutdown due to heat has been Aborted.\n",
                                  "6 Terminating Shutdown timer ( PID [77])...\n"}));
}

TEST_F(Shutdown, NumberedFFFFIsAcknowledgedWithZeroAndRestartsTheCount) {
  chif_seqno = 99;
  script.ioctl(kFd).gives(request(0xFFFF, 2, 0, "heat"));
  expect_ack("0000");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(chif_seqno, 1U);
}

TEST_F(Shutdown, IsAcknowledgedWithZerosWhateverItsActionWas) {
  script.ioctl(kFd).gives(request(4, 0x87650002, 0, "heat"));
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
}

TEST_F(Shutdown, WithAReasonThatFillsItsPacketStaysWithinIt) {
  Bytes packet = request(4, 2, 0, "");
  packet.resize(4096, 'r');
  script.ioctl(kFd).gives(packet);
  expect_ack("0500");
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(script.logs(),
            Lines({"6 Shutdown due to " + std::string(4080, 'r') + " has been Aborted.\n"}));
}

TEST_F(Shutdown, DumpsItsRequestTwiceAndItsAcknowledgementTwice) {
  g_daemon_debug_flag = 1;
  g_chif_dump_flag = 1;
  script.ioctl(kFd).gives(request(4, 2, 6, "heat"));
  expect_ack("0500");
  const OutputCapture capture(2);
  EXPECT_EQ(bmc_recv(kFd), 0);
  const Lines asked = dump(20, 4, "cmdno = 195, svc = 0", 2, 6);
  const Lines answered = dump(12, 5, "cmdno = 8195, svc = d", 0, 6);
  EXPECT_EQ(Lines(script.logs().begin() + 3, script.logs().end()),
            Lines({"6 BMC_RECV CHIF:  "}) + asked +
                Lines({"6 case CHIF_SHUTDOWN: Received log packet [0x0195].\n"}) + asked +
                Lines({"6 Shutdown received: action [0x2] delay [6] reason [heat].\n",
                       "6 Shutdown due to heat has been Aborted.\n",
                       "6 Shutdown timer PID is 0.  Nothing to terminate.\n"}) +
                answered + answered);
}

TEST_F(Shutdown, TracesItsAcknowledgementToStandardError) {
  g_chif_dump_flag = 1;
  script.ioctl(kFd).gives(request(4, 2, 0, "heat"));
  expect_ack("0500");
  const OutputCapture capture(2);
  EXPECT_EQ(bmc_recv(kFd), 0);
  EXPECT_EQ(capture.text(), "BMC_SEND:  ");
}

TEST_F(Dispatch, RelaysANotificationUnderAnyOtherCommand) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(fan_failure()).bytes()), 0);
  EXPECT_EQ(script.logs(), kRelayed);
}

TEST_F(Dispatch, ReturnsOneForTheBmcsResetNotification) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(bmc_reset()).bytes()), 1);
  EXPECT_EQ(script.logs(), kRelayed);
}

TEST_F(Dispatch, FollowsANotificationWithDebugLines) {
  enable_relay();
  g_daemon_debug_flag = 1;
  g_agentx_dump_flag = 1;
  EXPECT_EQ(receive(ChifBuilder(0x0001).seqno(3).agentx(bmc_reset()).bytes()), 1);
  const Lines& logs = script.logs();
  ASSERT_GT(logs.size(), 9U);
  EXPECT_EQ(logs[2], "6 bmc_recv: Received 120 bytes . . .  errno [0]\n");
  EXPECT_EQ(logs[3], "6 Received packet [0x0001]... errno [0]\n");
  EXPECT_EQ(logs[4], "6 bmc_recv: memcpy recvd data to buf len [104]. . .  errno [0]\n");
  EXPECT_EQ(logs[5], "6 BMC_RECV AgentX packet\n");
  EXPECT_EQ(logs[6], "6 dump_agentx()\n");
  EXPECT_EQ(logs[8], "6 sending 104 bytes\n");
  EXPECT_EQ(logs.back(), "6  proxy_bmc_trap send trap() returns Mox reset trap recvd.\n");
}

TEST_F(Dispatch, TakesAPayloadOfExactly4080Bytes) {
  enable_relay();
  Bytes pdu = fan_failure();
  pdu.resize(4080);
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(pdu).bytes()), 0);
  EXPECT_EQ(script.logs(), kRelayed);
}

TEST_F(Dispatch, RefusesAPayloadOf4081Bytes) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx_resp_len(4081).sized(4096).bytes()), 0);
  EXPECT_EQ(script.logs(),
            Lines({"3 bmc_recv(): agentx_resp_len 4081 > expected: size=4080, rc=4096",
                   "3 bmc_recv ERROR: errno is [0x5a]"}));
  EXPECT_EQ(errno, EMSGSIZE);
}

TEST_F(Dispatch, RefusesAPayloadLongerThanWhatWasReceived) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx_resp_len(101).sized(100).bytes()), 0);
  EXPECT_EQ(script.logs().front(),
            "3 bmc_recv(): agentx_resp_len 101 > expected: size=4080, rc=100");
}

TEST_F(Dispatch, TakesALengthThatCountsTheWholePacket) {
  enable_relay();
  const Bytes pdu = fan_failure();
  const auto whole = static_cast<uint32_t>(16 + pdu.size());
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(pdu).agentx_resp_len(whole).bytes()), 0);
  EXPECT_EQ(script.logs(), kRelayed);
}

TEST_F(Dispatch, RefusesALengthThatWouldBeNegative) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx_resp_len(0xFFFFFFFF).sized(100).bytes()), 0);
  EXPECT_EQ(script.logs().front(),
            "3 bmc_recv(): agentx_resp_len -1 > expected: size=4080, rc=100");
}

TEST_F(Dispatch, ReadsZerosWhereThePayloadPassesThePacketsEnd) {
  enable_relay();
  const Bytes pdu = fan_failure();
  // Four bytes, the trap OID's last arc, are missing.
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(pdu).sized(16 + pdu.size() - 4).bytes()), 0);
  EXPECT_EQ(script.logs(), kRelayed);
}

TEST_F(Dispatch, RefusesAPacketThatStatesMoreThanWasReceived) {
  g_daemon_debug_flag = 1;
  EXPECT_EQ(receive(ChifBuilder(0x0001).pktsize(101).sized(100).bytes()), 0);
  const Lines expected = {"6 bmc_recv ERROR: pktsize [101] grtr rc [100]",
                          "3 bmc_recv ERROR: errno is [0xb]"};
  EXPECT_EQ(Lines(script.logs().end() - 2, script.logs().end()), expected);
}

TEST_F(Dispatch, DropsAnEmptyPayload) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx_resp_len(0).sized(20).bytes()), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Dispatch, DropsAPduThatIsNoNotification) {
  enable_relay();
  Bytes pdu = fan_failure();
  pdu[1] = 13;
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(pdu).bytes()), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Dispatch, RelaysAStatusPacketWithoutAnError) {
  enable_relay();
  for (const auto cmdno : {uint16_t{0x0094}, uint16_t{0x8094}, uint16_t{0x8194}}) {
    EXPECT_EQ(receive(ChifBuilder(cmdno).agentx(bmc_reset()).bytes()), 1);
  }
}

TEST_F(Dispatch, DropsAStatusPacketWithAnError) {
  enable_relay();
  EXPECT_EQ(receive(ChifBuilder(0x8094).errcode(19).agentx(bmc_reset()).bytes()), 0);
  EXPECT_EQ(script.logs(), Lines({"3 bmc_recv ERROR: errno is [0x13]"}));
  EXPECT_EQ(errno, 19);
}

TEST_F(Dispatch, TakesTheErrorOfEveryStatusPacketAsErrnoAtOnce) {
  g_daemon_debug_flag = 1;
  for (const auto cmdno : {uint16_t{0x0094}, uint16_t{0x8094}, uint16_t{0x8194}}) {
    EXPECT_EQ(receive(ChifBuilder(cmdno).errcode(19).agentx(bmc_reset()).bytes()), 0);
    EXPECT_EQ(errno, 19);
    std::array<char, 64> received = {};
    snprintf(received.data(), received.size(), "6 Received packet [0x%04x]... errno [19]\n", cmdno);
    const Lines expected = {received.data(),
                            "6 bmc_recv: memcpy recvd data to buf len [104]. . .  errno [19]\n",
                            "3 bmc_recv ERROR: errno is [0x13]"};
    EXPECT_EQ(Lines(script.logs().end() - 3, script.logs().end()), expected);
  }
}

TEST_F(Dispatch, DoesNotLoseANotificationToAnErrnoThatTheReadLeft) {
  enable_relay();
  script.ioctl(kFd).gives(ChifBuilder(0x0001).agentx(bmc_reset()).bytes()).leaves_errno(EINTR);
  EXPECT_EQ(bmc_recv(kFd), 1);
}

TEST_F(Dispatch, RelaysNothingWhileHostSnmpIsDisabled) {
  EXPECT_EQ(receive(ChifBuilder(0x0001).agentx(bmc_reset()).bytes()), 0);
  EXPECT_EQ(script.logs(),
            Lines({"3 send_trap_to_host(): Host SNMP Disabled. Cannot send trap thru Host.\n"}));
}

}  // namespace
