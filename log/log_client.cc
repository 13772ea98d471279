// SPDX-License-Identifier: Apache-2.0
#include "log/log_client.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "base/clock.h"
#include "base/descriptor.h"

namespace {

constexpr std::string_view kSocketPath = "/dev/log";
constexpr const char* kOwnIdentity = "ortdv";
constexpr int kPatienceMs = 1'000;

// Longer texts than the log calls make are cut.
constexpr size_t kDatagramMax = size_t{16} * 1024;
constexpr size_t kHeaderMax = 128;

// What became of a message.
enum class Fate { kSent, kQueueFull, kNoDaemon, kOtherSocket };

// Messages lost to a full queue since the last one that went through. The
// library's callers may log from several threads.
std::atomic<unsigned> g_lost = 0;

// Asking the kernel for it would cost a call a message. A forked child asks anew.
std::atomic<pid_t> g_pid = 0;

pid_t process_number() {
  static const int registered = pthread_atfork(nullptr, nullptr, [] { g_pid = 0; });
  if (registered != 0) {
    return getpid();
  }
  if (g_pid == 0) {
    g_pid = getpid();
  }
  return g_pid;
}

const char* name_of(LogIdentity identity) {
  return identity == LogIdentity::kOwn ? kOwnIdentity : program_invocation_short_name;
}

// Two digits at least, the first one padded with fill.
char* put_two(char* out, int number, char fill) {
  *out++ = number < 10 ? fill : static_cast<char>('0' + number / 10);
  *out++ = static_cast<char>('0' + number % 10);
  return out;
}

char* put_text(char* out, std::string_view text) {
  return std::copy(text.begin(), text.end(), out);
}

// "Nov 21 09:05:07 ", whatever the locale.
char* put_time(char* out, time_t now) {
  constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
  tm local = {};
  if (localtime_r(&now, &local) == nullptr) {
    return out;
  }
  out = put_text(out, kMonths.substr(static_cast<size_t>(local.tm_mon) * 3, 3));
  *out++ = ' ';
  out = put_two(out, local.tm_mday, ' ');
  *out++ = ' ';
  out = put_two(out, local.tm_hour, '0');
  *out++ = ':';
  out = put_two(out, local.tm_min, '0');
  *out++ = ':';
  out = put_two(out, local.tm_sec, '0');
  *out++ = ' ';
  return out;
}

// The same, kept for the other messages of its second. A thread that meets
// another one here makes the text itself.
char* put_present_time(char* out) {
  static std::atomic_flag in_use = ATOMIC_FLAG_INIT;
  static std::array<char, 24> text;
  static size_t length = 0;
  static time_t written_at = -1;
  const time_t now = time(nullptr);
  if (in_use.test_and_set(std::memory_order_acquire)) {
    return put_time(out, now);
  }
  if (now != written_at || length == 0) {
    length = static_cast<size_t>(put_time(text.data(), now) - text.data());
    written_at = now;
  }
  out = put_text(out, {text.data(), length});
  in_use.clear(std::memory_order_release);
  return out;
}

using Datagram = std::array<char, kDatagramMax>;

size_t format_datagram(Datagram& datagram, LogIdentity identity, int priority,
                       std::string_view text) {
  char* const end = datagram.data() + datagram.size();
  char* out = datagram.data();
  *out++ = '<';
  out = std::to_chars(out, end, LOG_DAEMON | priority).ptr;
  *out++ = '>';
  out = put_present_time(out);
  out = put_text(out, std::string_view(name_of(identity)).substr(0, kHeaderMax));
  *out++ = '[';
  out = std::to_chars(out, end, process_number()).ptr;
  out = put_text(out, "]: ");
  out = put_text(out, text.substr(0, static_cast<size_t>(end - out)));
  return static_cast<size_t>(out - datagram.data());
}

int connect_to_daemon(int fd) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  kSocketPath.copy(address.sun_path, sizeof address.sun_path - 1);
  return connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

// Waits for room in the daemon's queue, at most until the deadline.
bool wait_for_room(int fd, int64_t deadline) {
  const int64_t left = deadline - monotonic_ms();
  if (left <= 0) {
    return false;
  }
  pollfd entry = {.fd = fd, .events = POLLOUT, .revents = 0};
  const int ready = poll(&entry, 1, static_cast<int>(left));
  return ready > 0 || (ready < 0 && errno == EINTR);
}

Fate send_datagram(std::string_view bytes, bool patient) {
  const Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (!fd.valid() || connect_to_daemon(fd.get()) != 0) {
    return errno == ENOENT ? Fate::kNoDaemon : Fate::kOtherSocket;
  }
  int64_t deadline = 0;
  while (send(fd.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
    if (errno != EAGAIN && errno != EINTR) {
      return Fate::kNoDaemon;  // it went away just now
    }
    if (deadline == 0) {
      deadline = monotonic_ms() + kPatienceMs;
    }
    if (!patient || !wait_for_room(fd.get(), deadline)) {
      return Fate::kQueueFull;
    }
  }
  return Fate::kSent;
}

Fate send_message(LogIdentity identity, int priority, std::string_view text, bool patient) {
  Datagram datagram;  // not zeroed: only what is filled in is sent
  const size_t length = format_datagram(datagram, identity, priority, text);
  return send_datagram({datagram.data(), length}, patient);
}

void send_by_c_library(LogIdentity identity, int priority, std::string_view text) {
  const int length = static_cast<int>(text.size());
  if (identity == LogIdentity::kOwn) {
    openlog(kOwnIdentity, LOG_PID, LOG_DAEMON);
  }
  syslog(priority, "%.*s", length, text.data());
  closelog();
}

// Says how many messages were lost, once one goes through again. False while
// none does.
bool report_lost() {
  std::array<char, 96> text = {};
  snprintf(text.data(), text.size(),
           "log: %u messages were lost: the log daemon did not read them.\n", g_lost.load());
  if (send_message(LogIdentity::kOwn, LOG_WARNING, text.data(), false) != Fate::kSent) {
    return false;
  }
  g_lost = 0;
  return true;
}

void send_or_count(LogIdentity identity, int priority, std::string_view text) {
  if (g_lost != 0 && !report_lost()) {
    ++g_lost;
    return;
  }
  switch (send_message(identity, priority, text, true)) {
    case Fate::kQueueFull:
      ++g_lost;
      break;
    case Fate::kOtherSocket:
      send_by_c_library(identity, priority, text);
      break;
    case Fate::kSent:
    case Fate::kNoDaemon:
      break;
  }
}

}  // namespace

void send_to_log(LogIdentity identity, int priority, std::string_view text) {
  const int error = errno;
  if ((setlogmask(0) & LOG_MASK(LOG_PRI(priority))) != 0) {
    send_or_count(identity, priority, text);
  }
  errno = error;
}
