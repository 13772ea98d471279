// SPDX-License-Identifier: Apache-2.0
#include "daemon/shutdown_action.h"

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "bmc/channel.h"
#include "daemon/children.h"
#include "daemon/reverse_proxy.h"
#include "daemon/signals.h"
#include "log/log.h"

int32_t shutdown_timer_pid = 0;
int32_t shutdown_aborted = 0;

namespace {

constexpr unsigned kStepSeconds = 5;  // a delay is rounded up to a multiple of it

// Reaps timers that have finished, and whatever else has. Only called right before the kept PID is
// replaced: a number whose process is reaped may soon be another process's, and
// an abort must never kill that.
void reap_finished_timers() {
  int status = 0;
  for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
    note_ended_child(pid, status);
  }
}

// A signal that changes nothing, such as SIGHUP, cuts a sleep short.
void sleep_all(unsigned seconds) {
  while (seconds > 0) {
    seconds = sleep(seconds);
  }
}

// A shell that a signal ended may have been ended by the shutdown itself.
void report_refusal(int status) {
  if (status == -1) {
    Log(LOG_ERR, "tvurev: no shell for the shutdown command: %s. The host runs on.\n",
        strerror(errno));
  } else if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
    Log(LOG_ERR, "tvurev: the shutdown command ended with status %d. The host may run on.\n",
        WEXITSTATUS(status));
  }
}

// Gives the channel up first, which would be taken for as long as the delay
// lasts. A session of its own, so that what ends the daemon's does not end the timer.
[[noreturn]] void run_timer(uint32_t action, int32_t delay_seconds, const char* reason) {
  close_channel(bmc_fd);
  restore_signals();
  setsid();
  log_as_program(LOG_INFO, "Shutdown timer started.\n");
  while (delay_seconds > 0) {
    sleep_all(kStepSeconds);
    delay_seconds -= static_cast<int32_t>(kStepSeconds);
  }
  int status = 0;
  // The whole word, not its reboot bit (docs/oddities.md: any-action-reboots).
  if (action != 0) {
    log_as_program(LOG_ALERT, "The host is being rebooted due to %s.\n", reason);
    status = system("reboot");
  } else {
    log_as_program(LOG_ALERT, "The host is being shutdown due to %s.\n", reason);
    status = system("poweroff");
  }
  DaemonDebug("do_shutdown: system command returns [%d]\n", status);
  report_refusal(status);
  exit(0);
}

}  // namespace

int do_shutdown(uint32_t action, int32_t delay_seconds, const char* reason) {
  reap_finished_timers();
  const pid_t pid = fork();
  if (pid == 0) {
    run_timer(action, delay_seconds, reason);
  }
  if (pid == -1) {
    Log(LOG_ERR, "tvurev: no process for the shutdown timer: %s. The host runs on.\n",
        strerror(errno));
  }
  // The number of an earlier timer is lost with this, and with it the abort of
  // that timer (docs/oddities.md: first-of-two-timers).
  shutdown_timer_pid = pid;
  DaemonDebug("Shutdown timer PID is [%d].\n", shutdown_timer_pid);
  return 0;
}

void abort_shutdown() {
  if (shutdown_timer_pid == 0) {
    DaemonDebug("Shutdown timer PID is 0.  Nothing to terminate.\n");
    return;
  }
  log_as_program(LOG_INFO, "Terminating Shutdown timer ( PID [%d])...\n", shutdown_timer_pid);
  // -1, kept of a failed fork, would mean every process of the host.
  if (shutdown_timer_pid > 0) {
    kill(shutdown_timer_pid, SIGKILL);
    reap_killed_timer(shutdown_timer_pid);
  }
  shutdown_timer_pid = 0;
}
