// SPDX-License-Identifier: Apache-2.0
#include "daemon/children.h"

#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "log/log.h"

int32_t socket_proxy_pid = 0;

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience(400);
constexpr useconds_t kLookPauseUs = 10'000;

int32_t g_killed_timer_pid = 0;

void report_end_of_proxy(int status) {
  if (WIFSIGNALED(status)) {
    Log(LOG_ERR,
        "tvurev: the agent socket's relay has ended, killed by signal %d. Notifications of host "
        "agents are lost until tvurev is started again.\n",
        WTERMSIG(status));
  } else if (WEXITSTATUS(status) > 1) {
    Log(LOG_ERR,
        "tvurev: the agent socket's relay has ended with status %d. Notifications of host agents "
        "are lost until tvurev is started again.\n",
        WEXITSTATUS(status));
  }
}

}  // namespace

void note_ended_child(int32_t pid, int status) {
  if (pid == socket_proxy_pid) {
    socket_proxy_pid = 0;
    report_end_of_proxy(status);
  } else if (pid == g_killed_timer_pid) {
    g_killed_timer_pid = 0;
  }
}

void reap_killed_timer(int32_t pid) {
  g_killed_timer_pid = waitpid(pid, nullptr, WNOHANG) == 0 ? pid : 0;
}

void reap_ended_children() {
  for (const int32_t pid : {socket_proxy_pid, g_killed_timer_pid}) {
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, WNOHANG) == pid) {
      note_ended_child(pid, status);
    }
  }
}

void end_socket_proxy() {
  if (socket_proxy_pid > 0) {
    kill(socket_proxy_pid, SIGTERM);
  }
}

void await_socket_proxy() {
  const steady_clock::time_point end = steady_clock::now() + kPatience;
  while (socket_proxy_pid > 0) {
    if (waitpid(socket_proxy_pid, nullptr, WNOHANG) != 0) {
      socket_proxy_pid = 0;
    } else if (steady_clock::now() > end) {
      return;
    } else {
      usleep(kLookPauseUs);
    }
  }
}
