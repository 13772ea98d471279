// What a trap sender that fails leads to. The real one never does, although its
// callers are ready for it: this program has one of its own.
#include <sys/socket.h>
#include <syslog.h>

#include "daemon/agent_socket.h"
#include "daemon/bmc_dispatch.h"
#include "daemon/bmc_loop.h"
#include "tests/unit/daemon/daemon_fixture.h"
#include "trap/trap_sender.h"

int send_trap_to_host(std::span<const uint8_t> packet) {
  return packet.empty() ? 0 : -1;
}

namespace {

constexpr int kFd = 5;
constexpr short kLoopEvents = POLLIN | POLLERR | POLLHUP;

class FailingSender : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    g_daemon_debug_flag = 1;
  }
};

TEST_F(FailingSender, IsReportedToTheBmcLoop) {
  CallScript script;
  script.ioctl(kFd).gives(ChifBuilder(0x0001).agentx(fan_failure()).bytes());
  EXPECT_EQ(bmc_recv(kFd), -1);
  EXPECT_EQ(script.logs().back(), "6  proxy_bmc_trap send trap() error.  Return -1.\n");
}

TEST_F(FailingSender, DoesNotEndTheBmcLoop) {
  proxy_running = 1;
  const Bytes reply = ChifBuilder(0x8193).sized(17).bytes();
  EXPECT_EXIT(
      {
        CallScript script;
        script.collect_waits();
        script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb15", O_RDWR | O_EXCL).returns(kFd);
        for (int request = 0; request < 2; ++request) {
          script.write(kFd);
          script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
          script.ioctl(kFd).gives(reply);
        }
        script.poll(kFd, kLoopEvents, 1'000).reports(POLLIN);
        script.ioctl(kFd).gives(ChifBuilder(0x0001).agentx(fan_failure()).bytes());
        script.message(LOG_INFO, "reverse mode: proxy_bmc_trap exit\n");
        script.stat("/opt/ortdv/tmp/tvurevbmcstop.text").fails(ENOENT);
        script.poll(kFd, kLoopEvents, 1'000);
        script.stat("/opt/ortdv/tmp/tvurevbmcstop.text");
        script.unlink("/opt/ortdv/tmp/tvurevbmcstop.text");
        script.write(kFd).fails(EIO);
        script.close(kFd);
        run_bmc_loop();
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
