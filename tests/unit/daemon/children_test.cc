// SPDX-License-Identifier: Apache-2.0
// What is reaped, when, and what is said of it.
#include "daemon/children.h"

#include <sys/wait.h>

#include <csignal>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr pid_t kProxy = 40;
constexpr pid_t kTimer = 41;

class Children : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    socket_proxy_pid = kProxy;
  }
  void TearDown() override {
    socket_proxy_pid = 0;
    Daemon::TearDown();
  }
  CallScript script;
};

TEST_F(Children, WithoutAnyCostNoCall) {
  socket_proxy_pid = 0;
  reap_ended_children();
  end_socket_proxy();
  await_socket_proxy();
}

TEST_F(Children, ProxyThatRunsIsLeftAlone) {
  script.waitpid(kProxy, WNOHANG).returns(0);
  reap_ended_children();
  EXPECT_EQ(socket_proxy_pid, kProxy);
}

TEST_F(Children, ProxyThatWasKilledIsMissedOnce) {
  script.waitpid(kProxy, WNOHANG).returns(kProxy).reports(SIGSEGV);
  reap_ended_children();
  reap_ended_children();
  EXPECT_EQ(script.logs(),
            Lines({"3 tvurev: the agent socket's relay has ended, killed by signal 11. "
                   "Notifications of host agents are lost until tvurev is started again.\n"}));
}

TEST_F(Children, ProxyThatEndedWithAForeignStatusIsMissed) {
  script.waitpid(kProxy, WNOHANG).returns(kProxy).reports(23 << 8);
  reap_ended_children();
  EXPECT_EQ(script.logs(),
            Lines({"3 tvurev: the agent socket's relay has ended with status 23. "
                   "Notifications of host agents are lost until tvurev is started again.\n"}));
}

TEST_F(Children, ProxyThatHasSaidWhyItLeavesIsReapedWithoutAWord) {
  for (const int status : {0, 1}) {
    socket_proxy_pid = kProxy;
    script.waitpid(kProxy, WNOHANG).returns(kProxy).reports(status << 8);
    reap_ended_children();
    EXPECT_EQ(socket_proxy_pid, 0);
  }
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Children, KilledTimerThatIsNotDeadYetIsReapedLater) {
  socket_proxy_pid = 0;
  script.waitpid(kTimer, WNOHANG).returns(0);
  reap_killed_timer(kTimer);
  script.waitpid(kTimer, WNOHANG).returns(0);
  reap_ended_children();
  script.waitpid(kTimer, WNOHANG).returns(kTimer).reports(SIGKILL);
  reap_ended_children();
  reap_ended_children();
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Children, ProxyThatIsEndedIsWaitedForAndReaped) {
  script.kill(kProxy, SIGTERM);
  script.waitpid(kProxy, WNOHANG).returns(0);
  script.usleep(10'000);
  script.waitpid(kProxy, WNOHANG).returns(kProxy);
  end_socket_proxy();
  await_socket_proxy();
  EXPECT_EQ(script.logs(), Lines());
}

}  // namespace
