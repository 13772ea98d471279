// SPDX-License-Identifier: Apache-2.0
#include "daemon/signals.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <ctime>
#include <string_view>

#include "log/log.h"

namespace {

using std::chrono::steady_clock;

constexpr unsigned kGraceSeconds = 1;
constexpr std::chrono::milliseconds kLongestUnheard(100);

volatile sig_atomic_t g_signal = 0;  // the one that ends the process
volatile sig_atomic_t g_open = 0;    // an OpenToSignals lives
void (*g_last_act)() = nullptr;

sigset_t no_signals() {
  sigset_t set;
  sigemptyset(&set);
  return set;
}

// With no time, which takes the local time zone, and the log client with it, out
// of the handler: the log daemon puts its own.
void say_at_once() {
  std::array<char, 128> line = {};
  auto append = [&line, out = line.data()](std::string_view text) mutable {
    out = std::copy(text.begin(), text.end(), out);
    return static_cast<size_t>(out - line.data());
  };
  std::array<char, 16> pid = {};
  std::to_chars(pid.data(), pid.data() + pid.size(), getpid());
  append("<30>ortdv[");
  append(pid.data());
  const size_t length =
      append("]: tvurev: a signal ends it, in the middle of a command or query.\n");
  sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/dev/log"};
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  sendto(fd, line.data(), length, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
         sizeof address);
}

// The three handlers.

void do_nothing(int /*number*/) {}

void note_end(int number) {
  g_signal = number;
  if (g_open != 0) {
    alarm(kGraceSeconds);
  }
}

void leave_at_once(int /*number*/) {
  if (g_signal == 0) {
    return;  // somebody else's alarm
  }
  if (g_last_act != nullptr) {
    g_last_act();
  }
  say_at_once();
  _exit(0);
}

// Restarting what can be restarted leaves ordinary calls alone; a poll ends all
// the same. Handlers instead of SIG_IGN, which commands would inherit.
void handle(int number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(number, &action, nullptr);
}

// Lets in what was held back. A poll whose entry is ready does not.
void let_signals_in() {
  const sigset_t none = no_signals();
  sigset_t before;
  sigprocmask(SIG_SETMASK, &none, &before);
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

timespec to_timespec(steady_clock::duration time) {
  const auto nanoseconds = std::chrono::nanoseconds(time).count();
  constexpr auto kSecond = 1'000'000'000;
  return {.tv_sec = static_cast<time_t>(nanoseconds / kSecond),
          .tv_nsec = static_cast<long>(nanoseconds % kSecond)};
}

bool pause_for(steady_clock::duration time) {
  const sigset_t none = no_signals();
  const steady_clock::time_point end = steady_clock::now() + time;
  while (!end_signalled()) {
    const timespec left = to_timespec(std::max(time, steady_clock::duration::zero()));
    if (ppoll(nullptr, 0, &left, &none) == 0) {
      return true;
    }
    if (errno != EINTR) {
      nanosleep(&left, nullptr);
      return true;
    }
    time = end - steady_clock::now();
  }
  return false;
}

}  // namespace

void watch_signals() {
  handle(SIGHUP, do_nothing);
  handle(SIGPIPE, do_nothing);
  handle(SIGTERM, note_end);
  handle(SIGINT, note_end);
  handle(SIGALRM, leave_at_once);
  signal(SIGCHLD, SIG_DFL);  // ignored, it would take the children's status away
  sigset_t held_back = no_signals();
  sigaddset(&held_back, SIGTERM);
  sigaddset(&held_back, SIGINT);
  sigprocmask(SIG_SETMASK, &held_back, nullptr);
}

void restore_signals() {
  for (const int number : {SIGTERM, SIGINT, SIGALRM}) {
    signal(number, SIG_DFL);
  }
  const sigset_t none = no_signals();
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool end_signalled() {
  return g_signal != 0;
}

void log_signalled_end(const char* what) {
  Log(LOG_INFO, "tvurev: signal %d ends the %s.\n", static_cast<int>(g_signal), what);
}

int wait_for(pollfd& entry, int timeout_ms) {
  static steady_clock::time_point heard = {};
  const sigset_t none = no_signals();
  const timespec timeout = to_timespec(std::chrono::milliseconds(timeout_ms));
  const int ready = ppoll(&entry, 1, &timeout, &none);
  const int error = errno;
  const steady_clock::time_point now = steady_clock::now();
  if (ready > 0 && now - heard > kLongestUnheard) {
    let_signals_in();
    heard = now;
  }
  errno = error;
  return ready;
}

bool pause_seconds(unsigned seconds) {
  return pause_for(std::chrono::seconds(seconds));
}

bool pause_microseconds(unsigned microseconds) {
  return pause_for(std::chrono::microseconds(microseconds));
}

OpenToSignals::OpenToSignals() {
  g_open = 1;
  const sigset_t none = no_signals();
  sigprocmask(SIG_SETMASK, &none, &before_);
}

OpenToSignals::~OpenToSignals() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
  alarm(0);
  g_open = 0;
}

void set_last_act(void (*act)()) {
  g_last_act = act;
}
