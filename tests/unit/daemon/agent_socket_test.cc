// SPDX-License-Identifier: Apache-2.0
// The socket proxy: its set-up and service in the child (which ends by exit, so
// those tests run in a process of their own), and what one receive leads to.
#include "daemon/agent_socket.h"

#include <sys/socket.h>
#include <syslog.h>

#include <string>

#include "daemon/signals.h"
#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr int kListener = 1;
constexpr int kClient = 2;
constexpr const char* kSocketPath = "/opt/ortdv/sockets/agentx/tvud";
constexpr const char* kRunningFile = "/opt/ortdv/tmp/tvurevrunning.text";
constexpr const char* kStop = "/opt/ortdv/tmp/tvurevortstop.text";
constexpr const char* kTouch = "touch /opt/ortdv/tmp/tvurevrunning.text";
constexpr const char* kAddresses = "localcli network ip interface ipv4 get";

using testing::ExitedWithCode;

class SocketProxy : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    proxy_running = 1;
    g_daemon_debug_flag = 1;
  }
};

void expect_detaching(CallScript& script) {
  script.fork().returns(0);
  script.setsid().returns(1);
  script.close(0);
  script.close(1);
  script.close(2);
  script.open("/dev/null", O_RDWR).returns(0);
}

void expect_listening(CallScript& script) {
  expect_detaching(script);
  script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
  script.unlink(kSocketPath).fails(ENOENT);
  script.bind(kListener, kSocketPath, 32);  // 30 characters and 2
  script.listen(kListener, 5);
  script.popen(kAddresses).prints("title\nrule\nvmk0 192.0.2.1\n");
  script.pclose(kAddresses);
}

void expect_ready_listener(CallScript& script) {
  script.poll(kListener, POLLIN, 1'000).reports(POLLIN);
}

void expect_client(CallScript& script, int client = kClient) {
  script.message(LOG_INFO, " main TVUD reverse_mode loop\n");
  script.runs(kTouch);
  script.message(LOG_INFO, " reverse mode:  Waiting for a connection with forward mode ORT...\n");
  expect_ready_listener(script);
  script.accept4(kListener, 110, SOCK_CLOEXEC).returns(client);
  script.message(LOG_INFO, "[tvud]: TVU Reverse Proxy Connected.\n");
  script.message(LOG_INFO, "tvud: TVU Reverse Proxy: numfds [1].\n");
}

void expect_stop_lines(CallScript& script) {
  script.message(LOG_INFO,
                 "tvu_rev_proxy: Detected request to disable and stop TVU Reverse mode for ORT.\n");
  script.message(LOG_INFO, "[tvud]: TVU Reverse Proxy Service shutting down...\n");
}

void expect_stop(CallScript& script) {
  script.stat(kStop);
  expect_stop_lines(script);
  script.unlink(kStop);
}

void expect_hang_up(CallScript& script, int client = kClient) {
  script.message(LOG_INFO, "reverse mode: tvu_rev_proxy_ort: HUP exit. socket exit\n");
  script.close(client);
  script.unlink(kRunningFile);
  script.sleep(30).returns(0);
}

[[noreturn]] void run() {
  start_socket_proxy();
  _exit(99);
}

TEST_F(SocketProxy, ForksAndReturnsInTheParent) {
  CallScript script;
  script.fork().returns(123);
  start_socket_proxy();
}

TEST_F(SocketProxy, WithoutAProcessForItIsAnErrorInTheLog) {
  CallScript script;
  script.fork().fails(EAGAIN);
  start_socket_proxy();
  EXPECT_EQ(script.logs(),
            Lines({"3 tvurev: no process for the agent socket: Resource temporarily unavailable. "
                   "Notifications of host agents are lost until tvurev is started again.\n"}));
}

TEST_F(SocketProxy, LeavesWithStatus0OnceItsSocketWasReplacedAndKeepsTheRunningFile) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink(kSocketPath);
        script.bind(kListener, kSocketPath, 32);
        script.stat(kSocketPath).reports(7);
        script.listen(kListener, 5);
        script.popen(kAddresses);
        script.pclose(kAddresses);
        script.runs(kTouch);
        script.poll(kListener, POLLIN, 1'000).returns(0);
        script.stat(kSocketPath).reports(7);
        script.poll(kListener, POLLIN, 1'000).returns(0);
        script.stat(kSocketPath).reports(8);
        run();
      },
      ExitedWithCode(0),
      "6 tvurev: the agent socket is another process's now. This relay leaves.\n");
}

TEST_F(SocketProxy, ServesItsClientBeforeItLeavesAReplacedSocket) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink(kSocketPath);
        script.bind(kListener, kSocketPath, 32);
        script.stat(kSocketPath).reports(7);
        script.listen(kListener, 5);
        script.popen(kAddresses);
        script.pclose(kAddresses);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).returns(0);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).reports(POLLHUP);
        script.close(kClient);
        script.stat(kSocketPath).reports(8);
        run();
      },
      ExitedWithCode(0), "");
}

TEST_F(SocketProxy, IsPacedWhileReceivingKeepsFailing) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        for (int round = 1; round <= 11; ++round) {
          script.poll(kClient, POLLIN, 1'000).reports(POLLIN);
          script.recv(kClient, 4080, 0).fails(EIO);
          script.stat(kStop).fails(ENOENT);
          if (round >= 10) {
            script.sleep(1);
          }
        }
        script.poll(kClient, POLLIN, 1'000).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1),
      "3 tvurev: receiving from the host agent keeps failing \\(Input/output error\\)");
}

TEST_F(SocketProxy, EndsBySigtermWithStatus0AndTakesItsRunningFileAlong) {
  EXPECT_EXIT(
      {
        watch_signals();
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).raises(SIGTERM);
        script.stat(kStop).fails(ENOENT);
        script.message(LOG_INFO, "tvurev: signal 15 ends the agent socket's relay.\n");
        script.close(kClient);
        script.unlink(kRunningFile);
        run();
      },
      ExitedWithCode(0), "");
}

TEST_F(SocketProxy, EndsWhenThereIsNoSocket) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).fails(EMFILE);
        run();
      },
      ExitedWithCode(1), "6 reverse_mode open socket failed.\n");
}

TEST_F(SocketProxy, EndsWhenItCannotBind) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink(kSocketPath);
        script.bind(kListener, kSocketPath, 32).fails(ENOENT);
        script.close(kListener);
        run();
      },
      ExitedWithCode(1),
      "6 reverse_mode socket bind failed.\n+3 tvurev: bind\\(\\) of the agent socket "
      "/opt/ortdv/sockets/agentx/tvud failed: No such file or directory. Notifications of host "
      "agents are lost until tvurev is started again.\n");
}

TEST_F(SocketProxy, EndsWhenItCannotListen) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink(kSocketPath);
        script.bind(kListener, kSocketPath, 32);
        script.listen(kListener, 5).fails(EADDRINUSE);
        script.close(kListener);
        run();
      },
      ExitedWithCode(1), "6 reverse_mode socket listen failed.\n");
}

TEST_F(SocketProxy, SaysThatTheRunningFileCouldNotBeMade) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        script.popen(kTouch).fails(EAGAIN);
        expect_ready_listener(script);
        script.accept4(kListener, 110, SOCK_CLOEXEC).fails(EMFILE);
        script.close(kListener);
        run();
      },
      ExitedWithCode(1),
      "3 tvurev: /opt/ortdv/tmp/tvurevrunning.text could not be made. Host agents that look for "
      "it send no notifications.\n");
}

TEST_F(SocketProxy, TakesAFailingLookAtItsPathForNoProofThatItWasReplaced) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_detaching(script);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink(kSocketPath).fails(ENOENT);
        script.bind(kListener, kSocketPath, 32);
        script.stat(kSocketPath).fails(EIO);
        script.listen(kListener, 5);
        script.popen(kAddresses).prints("title\nrule\nvmk0 192.0.2.1\n");
        script.pclose(kAddresses);
        script.runs(kTouch);
        script.poll(kListener, POLLIN, 1'000).returns(0);
        script.stat(kSocketPath).reports(4711);
        script.poll(kListener, POLLIN, 1'000).returns(0);
        script.stat(kSocketPath).fails(EIO);
        script.poll(kListener, POLLIN, 1'000).returns(0);
        script.stat(kSocketPath).reports(4712);
        run();
      },
      ExitedWithCode(0), "6 tvurev: the agent socket is another process's now.");
}

TEST_F(SocketProxy, EndsWhenAcceptFails) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        script.runs(kTouch);
        expect_ready_listener(script);
        script.accept4(kListener, 110, SOCK_CLOEXEC).fails(EMFILE);
        script.close(kListener);
        run();
      },
      ExitedWithCode(1),
      "6 get_host_ipaddress\\(\\): Found vmk0! IPaddress is .192.0.2.1.\n"
      "(.*\n)*6  main TVUD reverse_mode loop\n"
      "(.*\n)*6  reverse mode:  Waiting for a connection with forward mode ORT...\n"
      "(.*\n)*6 reverse_mode socket accept failed.\n");
}

TEST_F(SocketProxy, StopsWithStatus1WhileAClientIsConnected) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).returns(0);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1),
      "6 .tvud.: TVU Reverse Proxy Connected.\n+6 tvud: TVU Reverse Proxy: numfds .1..\n"
      "(.*\n)*6 tvu_rev_proxy: Detected request to disable and stop TVU Reverse mode for ORT.\n"
      "(.*\n)*6 .tvud.: TVU Reverse Proxy Service shutting down...\n");
}

TEST_F(SocketProxy, DropsAClientThatHangsUpAndWaits30Seconds) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLIN | POLLHUP);
        script.recv(kClient, 4080, 0).returns(0);
        expect_hang_up(script);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(SocketProxy, SeesAStopRequestOnlyAfterThePauseOfAHangUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        script.file(kStop);
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLHUP);
        expect_hang_up(script);
        expect_stop_lines(script);
        script.unlink(kStop);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(SocketProxy, TakesTheNextClientAfterThePause) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLHUP);
        expect_hang_up(script);
        script.stat(kStop).fails(ENOENT);
        expect_client(script, kClient + 1);
        script.poll(kClient + 1, POLLIN, 1'000).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(SocketProxy, CarriesOnAfterAReceiveErrorAndAPollError) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLIN);
        script.recv(kClient, 4080, 0).fails(ECONNRESET);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).reports(POLLERR);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1),
      "6  proxy_ortd_trap socket recv\\(\\) error.  Return -1.\n"
      "(.*\n)*6 reverse mode: proxy_ortd_trap exit\n");
}

TEST_F(SocketProxy, NoLongerAsksForInputOnceTheClientClosedItsSendingSide) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLIN);
        script.recv(kClient, 4080, 0).returns(0);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, 0, 1'000).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(SocketProxy, DoesNotReceiveAgainOnTheEventsOfAFailedPoll) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_listening(script);
        expect_client(script);
        script.poll(kClient, POLLIN, 1'000).reports(POLLIN);
        script.recv(kClient, 4080, 0).gives(fan_failure());
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).fails(ENOMEM);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(SocketProxy, RelaysWhateverWasReceivedAsOneNotification) {
  snmp_enabled_flag = 1;
  g_daemon_debug_flag = 0;
  CallScript script;
  Bytes pdu = bmc_reset();
  pdu[1] = 13;  // the type is not looked at
  script.recv(kClient, 4080, 0).gives(pdu);
  EXPECT_EQ(proxy_ortd_trap(kClient), 0);
  EXPECT_EQ(script.logs(), Lines({"3 tvurev: no trap destinations defined!\n"}));
}

TEST_F(SocketProxy, FollowsANotificationWithDebugLines) {
  g_agentx_dump_flag = 1;
  CallScript script;
  script.recv(kClient, 4080, 0).gives(bytes_of("010c0000 00000000 00000000 00000000 00000000"));
  EXPECT_EQ(proxy_ortd_trap(kClient), 0);
  EXPECT_EQ(script.logs(),
            Lines({"6  proxy_ortd_trap\n", "6 proxy_ortd_trap: received 20 bytes . . .\n",
                   "6 BMC_RECV AgentX packet\n", "6 dump_agentx()\n",
                   "6 AgentX: version = 1 type = 12 flags = 0 payload_length = 0\n"
                   "sessionID=       0 transactionID =        0 packetID =        0\n",
                   "6 sending 20 bytes\n",
                   "3 send_trap_to_host(): Host SNMP Disabled. Cannot send trap thru Host.\n"}));
}

// What an agent sends in one go.

class ReceivedPiece : public SocketProxy {
 protected:
  void SetUp() override {
    SocketProxy::SetUp();
    snmp_enabled_flag = 1;
    g_daemon_debug_flag = 0;
  }

  // The lines that the piece leads to, before that of the trap sender.
  static Lines lines_of(const Bytes& piece) {
    CallScript script;
    script.recv(kClient, 4080, 0).gives(piece);
    EXPECT_EQ(proxy_ortd_trap(kClient), 0);
    EXPECT_EQ(script.logs().back(), "3 tvurev: no trap destinations defined!\n");
    return {script.logs().begin(), script.logs().end() - 1};
  }
};

TEST_F(ReceivedPiece, OfOneWholeNotificationIsNoMatter) {
  EXPECT_EQ(lines_of(fan_failure()), Lines());
  EXPECT_EQ(lines_of(Bytes(20, 0)), Lines());
}

TEST_F(ReceivedPiece, WithBytesBehindTheNotificationIsReportedWithTheirNumber) {
  Bytes two = NotifyBuilder().uptime(1).bytes();
  const std::string length = std::to_string(two.size());
  two.push_back(1);
  EXPECT_EQ(lines_of(two),
            Lines({"3 proxy_ortd_trap(): 1 bytes behind a notification of " + length +
                   " were received with it and are dropped. Write the next one when the last one "
                   "has been read.\n"}));
}

TEST_F(ReceivedPiece, WithoutAWholeHeaderIsReported) {
  EXPECT_EQ(lines_of(Bytes(16, 1)),
            Lines({"3 proxy_ortd_trap(): 16 bytes are only a piece of a notification, whose "
                   "header has 20.\n"}));
}

TEST_F(ReceivedPiece, ThatIsTheFirstOfANotificationIsNamedAsSuch) {
  Bytes piece = NotifyBuilder().uptime(1).bytes();
  const std::string stated = std::to_string(piece.size() - 20);
  piece.resize(40);
  EXPECT_EQ(lines_of(piece),
            Lines({"3 send_trap_to_host(): 40 bytes are only the first piece of a notification "
                   "that states " +
                   stated + " bytes of bindings. What is missing reads as zero.\n"}));
}

// What is said of 14 pieces of one byte that come within a second; the rest of it
// once it is known that nothing follows.
constexpr const char* kTenLines =
    "Connected.\n"
    "(3 proxy_ortd_trap\\(\\): 1 bytes are only a piece of a notification, whose header has 20.\n"
    "3 tvurev: notification without a valid trap OID \\[\\]: no trap sent\n){10}"
    "3 tvurev: notifications without a valid trap OID: 4 more like this.\n"
    "3 proxy_ortd_trap\\(\\): pieces shorter than a header: 4 more like this.\n";

// Up to the look at the stop file after the last of the pieces.
void expect_pieces(CallScript& script) {
  trap_destinations = {"192.0.2.7"};
  expect_listening(script);
  script.runs(kTouch);
  expect_ready_listener(script);
  script.accept4(kListener, 110, SOCK_CLOEXEC).returns(kClient);
  for (int i = 0; i < 14; ++i) {
    if (i > 0) {
      script.stat(kStop).fails(ENOENT);
    }
    script.poll(kClient, POLLIN, 1'000).reports(POLLIN);
    script.recv(kClient, 4080, 0).gives(Bytes(1, 0));
  }
}

TEST_F(ReceivedPiece, IsReportedTenTimesASecondAndTheRestCountedWhenTheLoopComesRound) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_pieces(script);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), std::string(kTenLines) + "6 tvu_rev_proxy: Detected");
}

TEST_F(ReceivedPiece, IsCountedBeforeTheEndToo) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_pieces(script);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), std::string(kTenLines) + "6 tvu_rev_proxy: Detected");
}

TEST_F(ReceivedPiece, IsCountedBeforeThePauseThatFollowsAHangUp) {
  EXPECT_EXIT(
      {
        CallScript script;
        expect_pieces(script);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).reports(POLLHUP);
        script.close(kClient);
        script.message(LOG_ERR,
                       "proxy_ortd_trap(): pieces shorter than a header: 4 more like this.\n");
        script.unlink(kRunningFile);
        script.sleep(30).returns(0);
        expect_stop(script);
        run();
      },
      ExitedWithCode(1), "");
}

TEST_F(ReceivedPiece, IsCountedBeforeASignalsEndToo) {
  EXPECT_EXIT(
      {
        watch_signals();
        CallScript script;
        expect_pieces(script);
        script.stat(kStop).fails(ENOENT);
        script.poll(kClient, POLLIN, 1'000).raises(SIGTERM);
        script.stat(kStop).fails(ENOENT);
        script.close(kClient);
        script.unlink(kRunningFile);
        run();
      },
      ExitedWithCode(0), std::string(kTenLines) + "6 tvurev: signal 15 ends");
}

}  // namespace
