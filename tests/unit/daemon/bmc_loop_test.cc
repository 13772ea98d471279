// SPDX-License-Identifier: Apache-2.0
// The BMC loop from one cycle to the next: what it waits for and how it comes
// back. The loop only ends by exit, so each test ends it with the stop file and
// runs in a process of its own; messages come out on standard error.
#include "daemon/bmc_loop.h"

#include <sys/wait.h>
#include <syslog.h>

#include <csignal>
#include <string>

#include "daemon/children.h"
#include "daemon/signals.h"
#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr short kLoopEvents = POLLIN | POLLERR | POLLHUP;
constexpr const char* kStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
constexpr const char* kChannel = "/vmfs/devices/char/vmkdriver/zemox-d0ccb15";

using testing::ExitedWithCode;

class BmcLoop : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    proxy_running = 1;
    snmp_enabled_flag = 1;
  }
};

void expect_open(CallScript& script, int fd = kFd) {
  script.open(kChannel, O_RDWR | O_EXCL | O_CLOEXEC).returns(fd);
  script.usleep(10'000);
}

void expect_hello_write(CallScript& script, uint16_t seqno, int fd = kFd) {
  script.write(fd, ChifBuilder(0x0193).seqno(seqno).svc(13).u16_at(8, 1).sized(16).bytes());
  script.usleep(10'000);
}

void expect_connect_write(CallScript& script, int fd = kFd) {
  script.write(fd, ChifBuilder(0x0193).svc(13).u16_at(8, 3).sized(16).bytes());
  script.usleep(10'000);
}

void expect_reply(CallScript& script, uint16_t seqno, int fd = kFd) {
  script.poll(fd, POLLIN, 10'000).reports(POLLIN);
  script.ioctl(fd).gives(ChifBuilder(0x8193).seqno(seqno).sized(17).bytes());
}

void expect_connection(CallScript& script, uint16_t hello_seqno, int fd = kFd) {
  expect_open(script, fd);
  expect_hello_write(script, hello_seqno, fd);
  expect_reply(script, hello_seqno, fd);
  expect_connect_write(script, fd);
  expect_reply(script, 0, fd);
}

void expect_goodbye(CallScript& script, int fd = kFd) {
  script.write(fd, ChifBuilder(0x0193).svc(13).u16_at(8, 2).sized(16).bytes());
  script.usleep(1'000);
  script.poll(fd, POLLIN, 1'000'000).returns(0);
  script.close(fd);
}

void expect_poll(CallScript& script, short revents, int fd = kFd) {
  script.poll(fd, kLoopEvents, 1'000).reports(revents);
}

// The stop file is looked for after each poll.
void expect_no_stop(CallScript& script) {
  script.stat(kStopFile).fails(ENOENT);
}

constexpr int kNoChannel = -1;

void expect_end_of_loop(CallScript& script, int fd = kFd) {
  script.stat(kStopFile);
  script.message(LOG_INFO,
                 "proxy_bmc_rev: Detected request to disable and stop TVU Reverse mode for Mox.\n");
  script.unlink(kStopFile);
  script.message(LOG_INFO, "tvud: BMC Reverse Proxy Service shutting down...\n");
  if (fd != kNoChannel) {
    expect_goodbye(script, fd);
  }
}

[[noreturn]] void run_loop() {
  run_bmc_loop();
  _exit(99);
}

TEST_F(BmcLoop, StopsWithStatus1AndAGoodbye) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        expect_poll(script, 0);
        expect_no_stop(script);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1),
      "6 .tvud.: BMC Reverse Proxy Connected.\n+.*6 .tvud.: BMC Reverse channel is .5..\n"
      "+.*6 proxy_bmc_rev: Detected request to disable and stop TVU Reverse mode for Mox.\n"
      "+.*6 tvud: BMC Reverse Proxy Service shutting down...\n");
}

TEST_F(BmcLoop, ConnectsWithParameterZeroWhateverItWasBefore) {
  connect_param = 5;
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, PollsTheNewChannelAfterAHangUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0, kFd);
        expect_poll(script, POLLHUP, kFd);
        expect_goodbye(script, kFd);
        expect_no_stop(script);
        expect_connection(script, 1, kFd + 1);
        expect_poll(script, 0, kFd + 1);
        expect_end_of_loop(script, kFd + 1);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, RetriesAFailedOpenEvery10Seconds) {
  EXPECT_EXIT(
      {
        CallScript script;
        for (int sweep = 0; sweep < 5; ++sweep) {
          for (int channel = 15; channel >= 0; --channel) {
            script
                .open("/vmfs/devices/char/vmkdriver/zemox-d0ccb" + std::to_string(channel),
                      O_RDWR | O_EXCL | O_CLOEXEC)
                .fails(EBUSY);
          }
          script.usleep(100'000);
        }
        script.sleep(10).returns(0);
        expect_connection(script, 0);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "no available Qel Mox channels");
}

TEST_F(BmcLoop, GivesUpAfterThreeHellosAndConnectsOnTheClosedChannelOnPurpose) {
  g_daemon_debug_flag = 1;
  EXPECT_EXIT(
      {
        CallScript script;
        expect_open(script);
        for (uint16_t hello = 0; hello < 3; ++hello) {
          expect_hello_write(script, hello);
          script.poll(kFd, POLLIN, 10'000).fails(EIO);
          script.message(LOG_INFO,
                         "no Reverse mode Mox hello,  retries [" + std::to_string(hello) + "]\n");
          if (hello == 2) {
            script.close(kFd);
            script.message(LOG_INFO, "Max hello_rev retries. Close BMC.\n");
          }
          script.sleep(10).returns(0);
        }
        script.message(LOG_INFO, "reverse mode: Successful with reverse Mox Hello.\n");
        script.write(kFd, ChifBuilder(0x0193).svc(13).u16_at(8, 3).sized(16).bytes()).fails(EBADF);
        script.usleep(10'000);
        script.close(kFd).fails(EBADF);
        script.sleep(15).returns(0);
        expect_connection(script, 3);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, SaysThreeHellosAgainAfterItGaveUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        for (const uint16_t first_hello : {uint16_t{0}, uint16_t{3}}) {
          expect_open(script);
          for (uint16_t hello = 0; hello < 3; ++hello) {
            expect_hello_write(script, static_cast<uint16_t>(first_hello + hello));
            script.poll(kFd, POLLIN, 10'000).fails(EIO);
            if (hello == 2) {
              script.close(kFd);
            }
            script.sleep(10).returns(0);
          }
          script.write(kFd).fails(EBADF);
          script.usleep(10'000);
          script.close(kFd).fails(EBADF);
          script.sleep(15).returns(0);
        }
        expect_connection(script, 6);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, ReopensTheChannel15SecondsAfterAFailedConnect) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_open(script);
        expect_hello_write(script, 0);
        expect_reply(script, 0);
        expect_connect_write(script);
        script.poll(kFd, POLLIN, 10'000).fails(EIO);
        script.close(kFd);
        script.sleep(15).returns(0);
        expect_connection(script, 1);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "do_connect_rev\\(\\): Failed: poll\\(\\) error=5");
}

TEST_F(BmcLoop, SaysGoodbyeAndReconnects10SecondsAfterAReset) {
  g_daemon_debug_flag = 1;
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        expect_poll(script, POLLIN);
        script.ioctl(kFd).gives(ChifBuilder(1).agentx(bmc_reset()).bytes());
        expect_goodbye(script);
        script.sleep(10).returns(0);
        expect_no_stop(script);
        expect_connection(script, 1);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1),
      "6 reverse mode: proxy_bmc_trap returns recvd Mox reset trap\n"
      "(.*\n)*6 reverse mode: performing disconnect and reconnect to Mox\n"
      "(.*\n)*6  main BMC reverse proxy loop\n");
}

TEST_F(BmcLoop, SaysASecondGoodbyeOnNoChannelWhenTheResetCameWithAHangUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        expect_poll(script, POLLIN | POLLHUP);
        script.ioctl(kFd).gives(ChifBuilder(1).agentx(bmc_reset()).bytes());
        expect_goodbye(script);
        script.sleep(10).returns(0);
        script.write(-1, ChifBuilder(0x0193).svc(13).u16_at(8, 2).sized(16).bytes()).fails(EBADF);
        script.usleep(1'000);
        expect_end_of_loop(script, kNoChannel);
        run_loop();
      },
      ExitedWithCode(1), "3 go_bye\\(\\): Failed: Writing SNMP_HELLO_BYE send=-1 errno =9\n");
}

TEST_F(BmcLoop, ReconnectsAtOnceAfterAHangUp) {
  for (const short event : {short{POLLHUP}, short{POLLERR}}) {
    EXPECT_EXIT(
        {
          CallScript script;
          expect_connection(script, 0);
          expect_poll(script, event);
          expect_goodbye(script);
          expect_no_stop(script);
          expect_connection(script, 1);
          expect_poll(script, 0);
          expect_end_of_loop(script);
          run_loop();
        },
        ExitedWithCode(1), "BMC Reverse Proxy Connected");
  }
}

TEST_F(BmcLoop, SaysGoodbyeBeforeItSeesAStopRequestThatCameWithAHangUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        script.file(kStopFile);
        expect_connection(script, 0);
        expect_poll(script, POLLHUP);
        expect_goodbye(script);
        expect_end_of_loop(script, kNoChannel);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, RelaysPacketAfterPacket) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        for (int packet = 0; packet < 3; ++packet) {
          expect_poll(script, POLLIN);
          script.ioctl(kFd).gives(ChifBuilder(1).agentx(fan_failure()).bytes());
          expect_no_stop(script);
        }
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "(3 tvurev: no trap destinations defined!\n+){3}");
}

TEST_F(BmcLoop, DoesNotReadAgainOnTheEventsOfAFailedPoll) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        expect_poll(script, POLLIN);
        script.ioctl(kFd).gives(ChifBuilder(1).agentx(fan_failure()).bytes());
        expect_no_stop(script);
        script.poll(kFd, kLoopEvents, 1'000).fails(ENOMEM);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "");
}

TEST_F(BmcLoop, EndsBySigtermWithAGoodbyeAndStatus0) {
  EXPECT_EXIT(
      {
        watch_signals();
        socket_proxy_pid = 40;
        CallScript script;
        script.waitpid(40, WNOHANG).returns(0);
        expect_connection(script, 0);
        script.poll(kFd, kLoopEvents, 1'000).raises(SIGTERM);
        expect_no_stop(script);
        script.message(LOG_INFO, "tvurev: signal 15 ends the BMC loop.\n");
        script.kill(40, SIGTERM);
        script.write(kFd, ChifBuilder(0x0193).svc(13).u16_at(8, 2).sized(16).bytes());
        script.usleep(1'000);
        script.poll(kFd, POLLIN, 400).returns(0);
        script.close(kFd);
        script.waitpid(40, WNOHANG).returns(40);
        run_loop();
      },
      ExitedWithCode(0), "");
}

TEST_F(BmcLoop, EndsBySigtermInAPauseWithoutAGoodbye) {
  EXPECT_EXIT(
      {
        watch_signals();
        CallScript script;
        expect_open(script);
        expect_hello_write(script, 0);
        expect_reply(script, 0);
        expect_connect_write(script);
        script.poll(kFd, POLLIN, 10'000).fails(EIO);
        script.close(kFd);
        script.sleep(15).raises(SIGTERM);
        run_loop();
      },
      ExitedWithCode(0), "6 tvurev: signal 15 ends the BMC loop.\n");
}

TEST_F(BmcLoop, IsPacedWhilePollKeepsFailing) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        for (int round = 1; round <= 11; ++round) {
          script.poll(kFd, kLoopEvents, 1'000).fails(ENOMEM);
          expect_no_stop(script);
          if (round >= 10) {
            script.sleep(1);
          }
        }
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1),
      "3 tvurev: reading from the BMC channel keeps failing \\(Cannot allocate memory\\). It is "
      "tried once a second from now on.\n");
}

TEST_F(BmcLoop, IsPacedWhileReadingKeepsFailingOrComesBackEmpty) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        for (int round = 1; round <= 10; ++round) {
          expect_poll(script, POLLIN);
          script.ioctl(kFd).returns(round % 2 == 0 ? 0 : -1).leaves_errno(EIO);
          expect_no_stop(script);
        }
        script.sleep(1);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "reading from the BMC channel keeps failing \\(No data available\\)");
}

// The session ends within their second, before the loop would count them out.
TEST_F(BmcLoop, SaysHowManyComplaintsWereHeldBackBeforeItSaysGoodbye) {
  trap_destinations = {"192.0.2.7"};
  EXPECT_EXIT(
      {
        CallScript script;
        expect_connection(script, 0);
        for (int packet = 0; packet < 14; ++packet) {
          expect_poll(script, POLLIN);
          script.ioctl(kFd).gives(ChifBuilder(1).agentx(NotifyBuilder().bytes()).bytes());
          expect_no_stop(script);
        }
        expect_poll(script, POLLHUP);
        script.message(LOG_ERR,
                       "tvurev: notifications without a valid trap OID: 4 more like this.\n");
        expect_goodbye(script);
        expect_no_stop(script);
        expect_connection(script, 1);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1),
      "(3 tvurev: notification without a valid trap OID \\[\\]: no trap sent\n){10}"
      "3 tvurev: notifications without a valid trap OID: 4 more like this.\n");
}

TEST_F(BmcLoop, LeavesABmcThatHangsUpOnEverySessionAloneForTenSeconds) {
  EXPECT_EXIT(
      {
        CallScript script;
        for (uint16_t session = 0; session < 4; ++session) {
          expect_connection(script, session);
          expect_poll(script, POLLHUP);
          expect_goodbye(script);
          expect_no_stop(script);
          if (session >= 2) {
            script.sleep(10);
          }
        }
        expect_connection(script, 4);
        expect_poll(script, 0);
        expect_end_of_loop(script);
        run_loop();
      },
      ExitedWithCode(1), "3 tvurev: the BMC hung up on three sessions in a row.");
}

TEST_F(BmcLoop, ReturnsZeroWhenItMayNotRun) {
  proxy_running = 0;
  const CallScript script;
  EXPECT_EQ(run_bmc_loop(), 0);
}

}  // namespace
