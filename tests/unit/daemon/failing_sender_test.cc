// What a trap sender that fails leads to. The real one never does, although its
// callers are ready for it: this program has one of its own.
#include <sys/socket.h>
#include <syslog.h>

#include <new>

#include "daemon/agent_socket.h"
#include "daemon/bmc_dispatch.h"
#include "daemon/bmc_loop.h"
#include "tests/unit/daemon/daemon_fixture.h"
#include "trap/trap_sender.h"

namespace {
bool memory_is_missing = false;
}

int send_trap_to_host(std::span<const uint8_t> packet) {
  if (memory_is_missing) {
    throw std::bad_alloc();
  }
  return packet.empty() ? 0 : -1;
}

namespace {

constexpr short kLoopEvents = POLLIN | POLLERR | POLLHUP;

class FailingSender : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    g_daemon_debug_flag = 1;
    memory_is_missing = false;
  }
};

TEST_F(FailingSender, IsReportedToTheBmcLoop) {
  CallScript script;
  script.ioctl(kFd).gives(ChifBuilder(0x0001).agentx(fan_failure()).bytes());
  EXPECT_EQ(bmc_recv(kFd), -1);
  EXPECT_EQ(script.logs().back(), "6  proxy_bmc_trap send trap() error.  Return -1.\n");
}

// Connects, receives a notification, says so, and goes on until it is stopped.
[[noreturn]] void run_bmc_loop_past(int priority, const char* message) {
  const Bytes reply = ChifBuilder(0x8193).sized(17).bytes();
  CallScript script;
  script.collect_waits();
  script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb15", O_RDWR | O_EXCL | O_CLOEXEC)
      .returns(kFd);
  for (int request = 0; request < 2; ++request) {
    script.write(kFd);
    script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
    script.ioctl(kFd).gives(reply);
  }
  script.poll(kFd, kLoopEvents, 1'000).reports(POLLIN);
  script.ioctl(kFd).gives(ChifBuilder(0x0001).agentx(fan_failure()).bytes());
  script.message(priority, message);
  script.stat("/opt/ortdv/tmp/tvurevbmcstop.text").fails(ENOENT);
  script.poll(kFd, kLoopEvents, 1'000);
  script.stat("/opt/ortdv/tmp/tvurevbmcstop.text");
  script.unlink("/opt/ortdv/tmp/tvurevbmcstop.text");
  script.write(kFd).fails(EIO);
  script.close(kFd);
  proxy_running = 1;
  run_bmc_loop();
  _exit(99);
}

TEST_F(FailingSender, DoesNotEndTheBmcLoop) {
  EXPECT_EXIT(run_bmc_loop_past(LOG_INFO, "reverse mode: proxy_bmc_trap exit\n"),
              testing::ExitedWithCode(1), "");
}

TEST_F(FailingSender, WithoutMemoryCostsTheBmcLoopOnePacket) {
  memory_is_missing = true;
  EXPECT_EXIT(
      run_bmc_loop_past(LOG_ERR, "bmc_recv(): out of memory. The packet at hand is lost.\n"),
      testing::ExitedWithCode(1), "");
}

TEST_F(FailingSender, WithoutMemoryCostsTheSocketProxyOneNotification) {
  constexpr int kListener = 1;
  memory_is_missing = true;
  proxy_running = 1;
  EXPECT_EXIT(
      {
        CallScript script;
        script.fork().returns(0);
        script.setsid().returns(1);
        script.close(0);
        script.close(1);
        script.close(2);
        script.open("/dev/null", O_RDWR).returns(0);
        script.socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0).returns(kListener);
        script.unlink("/opt/ortdv/sockets/agentx/tvud");
        script.bind(kListener, "/opt/ortdv/sockets/agentx/tvud", 32);
        script.listen(kListener, 5);
        script.popen("localcli network ip interface ipv4 get");
        script.pclose("localcli network ip interface ipv4 get");
        script.runs("touch /opt/ortdv/tmp/tvurevrunning.text");
        script.poll(kListener, POLLIN, 1'000).reports(POLLIN);
        script.accept4(kListener, 110, SOCK_CLOEXEC).returns(kFd);
        script.poll(kFd, POLLIN, 1'000).reports(POLLIN);
        script.recv(kFd, 4080, 0).gives(fan_failure());
        script.message(LOG_ERR,
                       "proxy_ortd_trap(): out of memory. The notification at hand is lost.\n");
        script.stat("/opt/ortdv/tmp/tvurevortstop.text").fails(ENOENT);
        script.poll(kFd, POLLIN, 1'000);
        script.stat("/opt/ortdv/tmp/tvurevortstop.text");
        script.unlink("/opt/ortdv/tmp/tvurevortstop.text");
        start_socket_proxy();
        _exit(99);
      },
      testing::ExitedWithCode(1), "");
}

TEST_F(FailingSender, IsReportedToTheSocketProxy) {
  CallScript script;
  script.recv(kFd, 4080, 0).gives(fan_failure());
  EXPECT_EQ(proxy_ortd_trap(kFd), -1);
  EXPECT_EQ(script.logs().back(), "6  proxy_ortd_trap send trap() error.  Return -1.\n");
}

}  // namespace
