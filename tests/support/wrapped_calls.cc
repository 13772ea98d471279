// SPDX-License-Identifier: Apache-2.0
// The replacements themselves: each writes down the call that came, lets the
// active CallScript answer it, and passes through where there is none.
#include "tests/support/wrapped_calls.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>

#include "tests/support/call_script.h"
#include "tests/support/call_text.h"

namespace {

constexpr size_t kDeviceBufferSize = 4096;
// What poll reports whether it was asked to or not.
constexpr int kAlwaysReported = POLLERR | POLLHUP | POLLNVAL;

// What a call reads into its caller's buffer, which a failing one leaves alone.
long fill_and_answer(const CallStep& step, void* buffer, size_t size) {
  return step.answer(step.failing() ? -1 : static_cast<long>(step.fill(buffer, size)));
}

int answer(const std::string& call) {
  return static_cast<int>(CallScript::active()->meet(call).answer(0));
}

mode_t mode_argument(int flags, va_list arguments) {
  return (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
}

int wrapped_open(const char* path, int flags, mode_t mode) {
  if (CallScript::active() == nullptr) {
    return __real_open(path, flags, mode);
  }
  return answer(call_text("open", quoted(path), open_flags_text(flags)));
}

FILE* wrapped_fopen(const char* path, const char* mode) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_fopen(path, mode);
  }
  return script->meet_stream(call_text("fopen", quoted(path), quoted(mode)), path);
}

int wrapped_poll(pollfd* fds, nfds_t count, int timeout_ms) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_poll(fds, count, timeout_ms);
  }
  script->note_poll(timeout_ms);
  if (count != 1) {
    return answer(call_text("poll", "descriptors: " + std::to_string(count)));
  }
  const CallStep& step =
      script->meet(call_text("poll", fds->fd, poll_events_text(fds->events), timeout_ms));
  if (step.failing()) {
    const auto result = static_cast<int>(step.answer(-1));
    // As Linux does it: a signal ends a poll that was under way and has cleared
    // the events, any other failure comes before they are touched.
    if (errno == EINTR) {
      fds->revents = 0;
    }
    return result;
  }
  fds->revents = static_cast<short>(step.reported() & (fds->events | kAlwaysReported));
  if (fds->revents == 0) {
    script->pass_ms(timeout_ms);
  }
  return static_cast<int>(step.answer(fds->revents != 0 ? 1 : 0));
}

// Lets in the signals that the mask does; true when there was one.
bool signal_came(const sigset_t* mask) {
  const timespec now = {};
  return __real_ppoll(nullptr, 0, &now, mask) == -1 && errno == EINTR;
}

// The same steps as poll and, of no descriptor, sleep (whole seconds) and usleep:
// who waits is not to care whether a signal could end it.
int wrapped_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_ppoll(fds, count, timeout, mask);
  }
  int result = 0;
  if (count > 0) {
    result = wrapped_poll(fds, count,
                          static_cast<int>(timeout->tv_sec * 1'000 + timeout->tv_nsec / 1'000'000));
  } else if (timeout->tv_nsec == 0) {
    result = script->meet_wait("sleep", static_cast<unsigned>(timeout->tv_sec));
  } else {
    result = script->meet_wait(
        "usleep", static_cast<unsigned>(timeout->tv_sec * 1'000'000 + timeout->tv_nsec / 1'000));
  }
  if (result <= 0 && signal_came(mask)) {
    for (nfds_t i = 0; i < count; ++i) {
      fds[i].revents = 0;
    }
    errno = EINTR;
    return -1;
  }
  return result;
}

// The client's socket has no name: what comes back of its address is the family.
int wrapped_accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_accept4(fd, address, length, flags);
  }
  const CallStep& step =
      script->meet(call_text("accept4", fd, length == nullptr ? 0U : *length, flags));
  const auto client = static_cast<int>(step.answer(0));
  if (client != -1 && address != nullptr && length != nullptr) {
    if (*length >= sizeof address->sa_family) {
      address->sa_family = AF_UNIX;
    }
    *length = sizeof address->sa_family;
  }
  return client;
}

ssize_t wrapped_readlink(const char* path, char* target, size_t size) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_readlink(path, target, size);
  }
  const CallStep& step = script->meet(call_text("readlink", quoted(path), size));
  return fill_and_answer(step, target, size);
}

ssize_t wrapped_recv(int fd, void* buffer, size_t size, int flags) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_recv(fd, buffer, size, flags);
  }
  const CallStep& step = script->meet(call_text("recv", fd, size, flags));
  return fill_and_answer(step, buffer, size);
}

int wrapped_stat(const char* path, struct stat* status) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_stat(path, status);
  }
  const CallStep* step = nullptr;
  const std::optional<uid_t> owner = script->meet_stat(path, &step);
  if (!owner.has_value()) {
    errno = ENOENT;
    return step == nullptr ? -1 : static_cast<int>(step->answer(-1));
  }
  *status = {};
  status->st_ino = step == nullptr ? 0 : static_cast<ino_t>(step->reported());
  status->st_mode = S_IFREG | 0644;
  status->st_uid = *owner;
  return 0;
}

// A path that is no link answers as stat does.
int wrapped_lstat(const char* path, struct stat* status) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_lstat(path, status);
  }
  const std::optional<uid_t> owner = script->link_owner(path);
  if (!owner.has_value()) {
    return wrapped_stat(path, status);
  }
  *status = {};
  status->st_mode = S_IFLNK | 0777;
  status->st_uid = *owner;
  return 0;
}

}  // namespace

// The log client, by the name that it is linked under.
void wrapped_send_to_log(LogIdentity identity, int priority, std::string_view text) asm(
    "__wrap__Z11send_to_log11LogIdentityiSt17basic_string_viewIcSt11char_traitsIcEE");

extern "C" {

// Declared here because --wrap alone makes them callable.
[[noreturn]] void __wrap_abort();
int __wrap_accept4(int fd, sockaddr* address, socklen_t* length, int flags);
int __wrap_bind(int fd, const sockaddr* address, socklen_t length);
void* __wrap_calloc(size_t count, size_t size);
int __wrap_close(int fd);
int __wrap_close_range(unsigned first, unsigned last, int flags);
[[noreturn]] void __wrap_exit(int status);
[[noreturn]] void __wrap__exit(int status);
int __wrap_fclose(FILE* stream);
FILE* __wrap_fopen(const char* path, const char* mode);
FILE* __wrap_fopen64(const char* path, const char* mode);
pid_t __wrap_fork();
int __wrap_getdtablesize();
int __wrap_gettimeofday(timeval* now, void* zone);
int __wrap_ioctl(int fd, unsigned long request, ...);
int __wrap_kill(pid_t pid, int signal);
int __wrap_listen(int fd, int backlog);
int __wrap_mkdir(const char* path, mode_t mode);
int __wrap_open(const char* path, int flags, ...);
int __wrap_open64(const char* path, int flags, ...);
int __wrap___open_2(const char* path, int flags);
int __wrap___open64_2(const char* path, int flags);
int __wrap_pclose(FILE* stream);
int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __wrap___poll_chk(pollfd* fds, nfds_t count, int timeout_ms, size_t fds_size);
int __wrap_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask);
int __wrap___ppoll_chk(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask,
                       size_t fds_size);
FILE* __wrap_popen(const char* command, const char* mode);
ssize_t __wrap_readlink(const char* path, char* target, size_t size);
ssize_t __wrap___readlink_chk(const char* path, char* target, size_t size, size_t target_size);
ssize_t __wrap_recv(int fd, void* buffer, size_t size, int flags);
ssize_t __wrap___recv_chk(int fd, void* buffer, size_t size, size_t buffer_size, int flags);
ssize_t __wrap_sendto(int fd, const void* bytes, size_t length, int flags, const sockaddr* address,
                      socklen_t address_length);
int __wrap_setlogmask(int mask);
pid_t __wrap_setsid();
unsigned __wrap_sleep(unsigned seconds);
int __wrap_socket(int domain, int type, int protocol);
int __wrap_stat(const char* path, struct stat* status);
int __wrap_stat64(const char* path, struct stat* status);
int __wrap_lstat(const char* path, struct stat* status);
int __wrap_lstat64(const char* path, struct stat* status);
int __wrap_clock_gettime(clockid_t clock, timespec* now);
int __wrap_system(const char* command);
int __wrap_rename(const char* from, const char* to);
int __wrap_unlink(const char* path);
int __wrap_usleep(useconds_t microseconds);
pid_t __wrap_waitpid(pid_t pid, int* status, int options);
ssize_t __wrap_write(int fd, const void* bytes, size_t length);

// The device and plain descriptors.

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_argument(flags, arguments);
  va_end(arguments);
  return wrapped_open(path, flags, mode);
}
int __wrap_open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = mode_argument(flags, arguments);
  va_end(arguments);
  return wrapped_open(path, flags, mode);
}
int __wrap___open_2(const char* path, int flags) {
  return wrapped_open(path, flags, 0);
}
int __wrap___open64_2(const char* path, int flags) {
  return wrapped_open(path, flags, 0);
}

int __wrap_close(int fd) {
  return CallScript::active() == nullptr ? __real_close(fd) : answer(call_text("close", fd));
}

int __wrap_close_range(unsigned first, unsigned last, int flags) {
  return CallScript::active() == nullptr ? __real_close_range(first, last, flags)
                                         : answer(call_text("close_range", first, last));
}

int __wrap_getdtablesize() {
  return CallScript::active() == nullptr ? __real_getdtablesize()
                                         : answer(call_text("getdtablesize"));
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* buffer = va_arg(arguments, void*);
  va_end(arguments);
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_ioctl(fd, request, buffer);
  }
  const CallStep& step = script->meet(call_text("ioctl", fd, request));
  // Also where it fails: a driver, unlike the kernel, may have begun to write.
  return static_cast<int>(step.answer(static_cast<long>(step.fill(buffer, kDeviceBufferSize))));
}

ssize_t __wrap_write(int fd, const void* bytes, size_t length) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_write(fd, bytes, length);
  }
  return script->meet_write(fd, {static_cast<const uint8_t*>(bytes), length})
      .answer(static_cast<long>(length));
}

int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms) {
  return wrapped_poll(fds, count, timeout_ms);
}
int __wrap___poll_chk(pollfd* fds, nfds_t count, int timeout_ms, size_t) {
  return wrapped_poll(fds, count, timeout_ms);
}

int __wrap_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  return wrapped_ppoll(fds, count, timeout, mask);
}
int __wrap___ppoll_chk(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask,
                       size_t) {
  return wrapped_ppoll(fds, count, timeout, mask);
}

// Time.

unsigned __wrap_sleep(unsigned seconds) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_sleep(seconds);
  }
  script->meet_wait("sleep", seconds);
  return 0;
}

int __wrap_usleep(useconds_t microseconds) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_usleep(microseconds);
  }
  script->meet_wait("usleep", microseconds);
  return 0;
}

int __wrap_gettimeofday(timeval* now, void* zone) {
  const CallScript* script = CallScript::active();
  if (script == nullptr || !script->time().has_value()) {
    return __real_gettimeofday(now, zone);
  }
  now->tv_sec = script->time()->first;
  now->tv_usec = script->time()->second;
  return 0;
}

// Files and streams.

int __wrap_stat(const char* path, struct stat* status) {
  return wrapped_stat(path, status);
}
int __wrap_stat64(const char* path, struct stat* status) {
  return wrapped_stat(path, status);
}
int __wrap_lstat(const char* path, struct stat* status) {
  return wrapped_lstat(path, status);
}
int __wrap_lstat64(const char* path, struct stat* status) {
  return wrapped_lstat(path, status);
}

int __wrap_rename(const char* from, const char* to) {
  return CallScript::active() == nullptr
             ? __real_rename(from, to)
             : answer(call_text("rename", quoted(from) + ", " + quoted(to)));
}

int __wrap_unlink(const char* path) {
  return CallScript::active() == nullptr ? __real_unlink(path)
                                         : answer(call_text("unlink", quoted(path)));
}

int __wrap_mkdir(const char* path, mode_t mode) {
  return CallScript::active() == nullptr ? __real_mkdir(path, mode)
                                         : answer(call_text("mkdir", quoted(path), mode));
}

ssize_t __wrap_readlink(const char* path, char* target, size_t size) {
  return wrapped_readlink(path, target, size);
}
ssize_t __wrap___readlink_chk(const char* path, char* target, size_t size, size_t) {
  return wrapped_readlink(path, target, size);
}

FILE* __wrap_fopen(const char* path, const char* mode) {
  return wrapped_fopen(path, mode);
}
FILE* __wrap_fopen64(const char* path, const char* mode) {
  return wrapped_fopen(path, mode);
}

int __wrap_fclose(FILE* stream) {
  if (CallScript::active() != nullptr) {
    CallScript::active()->close_stream(stream);
  }
  return __real_fclose(stream);
}

void* __wrap_calloc(size_t count, size_t size) {
  if (CallScript::active() != nullptr && CallScript::active()->calloc_fails()) {
    errno = ENOMEM;
    return nullptr;
  }
  return __real_calloc(count, size);
}

// Commands and processes.

int __wrap_system(const char* command) {
  return CallScript::active() == nullptr ? __real_system(command)
                                         : answer(call_text("system", quoted(command)));
}

FILE* __wrap_popen(const char* command, const char* mode) {
  CallScript* script = CallScript::active();
  return script == nullptr ? __real_popen(command, mode)
                           : script->meet_stream(call_text("popen", quoted(command)), command);
}

int __wrap_pclose(FILE* stream) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_pclose(stream);
  }
  const std::string command = script->close_stream(stream);
  __real_fclose(stream);
  return answer(call_text("pclose", quoted(command)));
}

pid_t __wrap_fork() {
  return CallScript::active() == nullptr ? __real_fork() : answer(call_text("fork"));
}

pid_t __wrap_setsid() {
  return CallScript::active() == nullptr ? __real_setsid() : answer(call_text("setsid"));
}

int __wrap_kill(pid_t pid, int signal) {
  return CallScript::active() == nullptr ? __real_kill(pid, signal)
                                         : answer(call_text("kill", pid, signal));
}

pid_t __wrap_waitpid(pid_t pid, int* status, int options) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_waitpid(pid, status, options);
  }
  const CallStep& step = script->meet(call_text("waitpid", pid, options));
  const auto reaped = static_cast<pid_t>(step.answer(0));
  if (status != nullptr && reaped > 0) {
    *status = step.reported();
  }
  return reaped;
}

void __wrap_exit(int status) {
  __real_exit(CallScript::active() == nullptr ? status : CallScript::active()->end_process(status));
}

void __wrap__exit(int status) {
  __real__exit(CallScript::active() == nullptr ? status
                                               : CallScript::active()->end_process(status));
}

void __wrap_abort() {
  if (CallScript::active() != nullptr) {
    CallScript::active()->end_process(0);
  }
  __real_abort();
}

// Sockets.

int __wrap_socket(int domain, int type, int protocol) {
  return CallScript::active() == nullptr ? __real_socket(domain, type, protocol)
                                         : answer(call_text("socket", domain, type, protocol));
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t length) {
  return CallScript::active() == nullptr
             ? __real_bind(fd, address, length)
             : answer(call_text("bind", fd, quoted(address_text(address, length)), length));
}

int __wrap_listen(int fd, int backlog) {
  return CallScript::active() == nullptr ? __real_listen(fd, backlog)
                                         : answer(call_text("listen", fd, backlog));
}

int __wrap_accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
  return wrapped_accept4(fd, address, length, flags);
}

ssize_t __wrap_recv(int fd, void* buffer, size_t size, int flags) {
  return wrapped_recv(fd, buffer, size, flags);
}
ssize_t __wrap___recv_chk(int fd, void* buffer, size_t size, size_t, int flags) {
  return wrapped_recv(fd, buffer, size, flags);
}

ssize_t __wrap_sendto(int fd, const void* bytes, size_t length, int flags, const sockaddr* address,
                      socklen_t address_length) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_sendto(fd, bytes, length, flags, address, address_length);
  }
  script->note_datagram({static_cast<const uint8_t*>(bytes), length});
  return script->meet(call_text("sendto", fd, quoted(address_text(address, address_length))))
      .answer(static_cast<long>(length));
}

// The time.

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  const CallScript* script = CallScript::active();
  if (script == nullptr || clock != CLOCK_MONOTONIC) {
    return __real_clock_gettime(clock, now);
  }
  *now = {.tv_sec = script->monotonic_ms() / 1'000,
          .tv_nsec = script->monotonic_ms() % 1'000 * 1'000'000};
  return 0;
}

// The system log.

int __wrap_setlogmask(int mask) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    return __real_setlogmask(mask);
  }
  script->note_log("setlogmask " + std::to_string(mask));
  return 0xFF;
}

}  // extern "C"

void wrapped_send_to_log(LogIdentity identity, int priority, std::string_view text) {
  CallScript* script = CallScript::active();
  if (script == nullptr) {
    real_send_to_log(identity, priority, text);
    return;
  }
  script->note_message(identity == LogIdentity::kOwn ? "ortdv" : "program", priority,
                       std::string(text));
}
