// SPDX-License-Identifier: Apache-2.0
// The shutdown timer: in the daemon's process what is kept of it, in its own
// what it waits for and runs. The timer's side ends in exit, so those tests run
// in a process of their own; its messages come out on standard error.
#include "daemon/shutdown_action.h"

#include <sys/wait.h>
#include <syslog.h>

#include <csignal>

#include "daemon/children.h"
#include "tests/unit/daemon/daemon_fixture.h"

namespace {

using ShutdownAction = Daemon;
using testing::ExitedWithCode;

TEST_F(ShutdownAction, KeepsTheTimersPid) {
  g_daemon_debug_flag = 1;
  CallScript script;
  script.waitpid(-1, WNOHANG).fails(ECHILD);
  script.fork().returns(4711);
  EXPECT_EQ(do_shutdown(1, 30, "fans"), 0);
  EXPECT_EQ(shutdown_timer_pid, 4711);
  EXPECT_EQ(script.logs(), Lines({"6 Shutdown timer PID is [4711].\n"}));
}

TEST_F(ShutdownAction, KeepsTheResultOfAFailedForkUnchecked) {
  CallScript script;
  script.waitpid(-1, WNOHANG).fails(ECHILD);
  script.fork().fails(EAGAIN);
  EXPECT_EQ(do_shutdown(1, 30, "fans"), 0);
  EXPECT_EQ(shutdown_timer_pid, -1);
  EXPECT_EQ(script.logs(), Lines({"3 tvurev: no process for the shutdown timer: Resource "
                                  "temporarily unavailable. The host runs on.\n"}));
}

TEST_F(ShutdownAction, ReapsFinishedTimersOnlyWhenItReplacesTheKeptPid) {
  shutdown_timer_pid = 10;
  CallScript script;
  script.waitpid(-1, WNOHANG).returns(10);
  script.waitpid(-1, WNOHANG).returns(0);
  script.fork().returns(11);
  do_shutdown(1, 30, "fans");
  EXPECT_EQ(shutdown_timer_pid, 11);
}

TEST_F(ShutdownAction, AProxyThatIsReapedWithTheTimersIsMissed) {
  socket_proxy_pid = 12;
  CallScript script;
  script.waitpid(-1, WNOHANG).returns(12).reports(SIGKILL);
  script.waitpid(-1, WNOHANG).fails(ECHILD);
  script.fork().returns(11);
  do_shutdown(1, 30, "fans");
  EXPECT_EQ(socket_proxy_pid, 0);
  EXPECT_EQ(script.logs().size(), 1U);
}

TEST_F(ShutdownAction, AnAbortKillsTheTimerAndForgetsIt) {
  shutdown_timer_pid = 4711;
  CallScript script;
  script.kill(4711, SIGKILL);
  script.waitpid(4711, WNOHANG).returns(4711);
  abort_shutdown();
  EXPECT_EQ(shutdown_timer_pid, 0);
  EXPECT_EQ(script.log_calls(), Lines({"program 6 Terminating Shutdown timer ( PID [4711])...\n"}));
  EXPECT_EQ(script.timeline(), Lines({"6 Terminating Shutdown timer ( PID [4711])...\n",
                                      "kill(4711, 9)", "waitpid(4711, 1)"}));
}

TEST_F(ShutdownAction, AnAbortAfterTwoRequestsKillsTheSecondTimerOnly) {
  CallScript script;
  for (const pid_t timer : {10, 11}) {
    script.waitpid(-1, WNOHANG).returns(0);
    script.fork().returns(timer);
    do_shutdown(1, 30, "fans");
  }
  script.kill(11, SIGKILL);
  script.waitpid(11, WNOHANG).returns(11);
  abort_shutdown();
  abort_shutdown();
}

TEST_F(ShutdownAction, AnAbortAfterTheTimerEndedIgnoresTheFailingKill) {
  shutdown_timer_pid = 4711;
  CallScript script;
  script.kill(4711, SIGKILL).fails(ESRCH);
  script.waitpid(4711, WNOHANG).fails(ECHILD);
  abort_shutdown();
  EXPECT_EQ(shutdown_timer_pid, 0);
}

TEST_F(ShutdownAction, AnAbortAfterAFailedForkKillsNobody) {
  shutdown_timer_pid = -1;
  CallScript script;
  abort_shutdown();
  EXPECT_EQ(shutdown_timer_pid, 0);
  EXPECT_EQ(script.logs(), Lines({"6 Terminating Shutdown timer ( PID [-1])...\n"}));
}

TEST_F(ShutdownAction, AnAbortWithoutATimerOnlyLogs) {
  g_daemon_debug_flag = 1;
  CallScript script;
  abort_shutdown();
  EXPECT_EQ(script.logs(), Lines({"6 Shutdown timer PID is 0.  Nothing to terminate.\n"}));
}

// Runs the timer's side of do_shutdown: fork returns 0 and a session is made,
// which is logged, then come the given number of 5-second steps and the command.
[[noreturn]] void run_timer(uint32_t action, int32_t delay, int steps, const char* command,
                            int status = 0) {
  CallScript script;
  script.waitpid(-1, WNOHANG).fails(ECHILD);
  script.fork().returns(0);
  script.setsid().returns(1);
  script.message(LOG_INFO, "Shutdown timer started.\n");
  if (steps > 0) {
    script.sleep(5).returns(0).times(steps);
  }
  script.system(command).returns(status);
  do_shutdown(action, delay, "fan %n lost");
  _exit(1);
}

using ShutdownTimer = ShutdownAction;

TEST_F(ShutdownTimer, WithDelay7Waits10SecondsAndReboots) {
  EXPECT_EXIT(run_timer(1, 7, 2, "reboot"), ExitedWithCode(0),
              "6 Shutdown timer started.\n+.*1 The host is being rebooted due to fan %n lost.\n");
}

TEST_F(ShutdownTimer, GivesUpTheChannelThatItInheritedFirst) {
  EXPECT_EXIT(
      {
        bmc_fd = 5;
        CallScript script;
        script.waitpid(-1, WNOHANG).fails(ECHILD);
        script.fork().returns(0);
        script.close(5);
        script.setsid().returns(1);
        script.system("reboot");
        do_shutdown(1, 0, "fans");
        _exit(1);
      },
      ExitedWithCode(0), "");
}

TEST_F(ShutdownTimer, WithDelay0ActsAtOnce) {
  EXPECT_EXIT(run_timer(1, 0, 0, "reboot"), ExitedWithCode(0), "rebooted due to");
}

TEST_F(ShutdownTimer, WithANegativeDelayActsAtOnce) {
  EXPECT_EXIT(run_timer(1, -100, 0, "reboot"), ExitedWithCode(0), "rebooted due to");
}

TEST_F(ShutdownTimer, WithAction0AndDelay5PowersOffAfter5Seconds) {
  EXPECT_EXIT(run_timer(0, 5, 1, "poweroff"), ExitedWithCode(0),
              "1 The host is being shutdown due to fan %n lost.\n");
}

TEST_F(ShutdownTimer, RebootsForAnyActionButZero) {
  EXPECT_EXIT(run_timer(4, 1, 1, "reboot"), ExitedWithCode(0), "rebooted due to");
}

TEST_F(ShutdownTimer, LogsTheCommandsStatusForDebugging) {
  g_daemon_debug_flag = 1;
  EXPECT_EXIT(run_timer(0, 0, 0, "poweroff"), ExitedWithCode(0),
              "6 do_shutdown: system command returns \\[0\\]\n");
}

TEST_F(ShutdownTimer, SaysWhenTheCommandFailed) {
  EXPECT_EXIT(run_timer(0, 0, 0, "poweroff", 127 << 8), ExitedWithCode(0),
              "3 tvurev: the shutdown command ended with status 127. The host may run on.\n");
  EXPECT_EXIT(run_timer(0, 0, 0, "poweroff", -1), ExitedWithCode(0),
              "3 tvurev: no shell for the shutdown command: .*The host runs on.\n");
}

}  // namespace
