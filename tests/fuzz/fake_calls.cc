// SPDX-License-Identifier: Apache-2.0
// The replacements of the C library's functions: each asks the fake host that is
// active, and passes through without one. What belongs to the fuzzer itself, its
// files above all, passes through even then: it is known by its path or number.
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/real_calls.h"
#include "tests/fuzz/target.h"

namespace {

constexpr pid_t kTimer = 4711;
constexpr std::string_view kChannelNode = "/vmfs/devices/char/vmkdriver/zemox-d0ccb";
constexpr std::string_view kSmbiosNode = "/vmfs/devices/char/mem/smbios";
constexpr unsigned long kReadPacket = 0x100;

// Null for what the fake host has nothing to do with.
FakeHost* host_of(const char* path) {
  constexpr std::array<std::string_view, 6> kPlaces = {
      "/vmfs/", "/etc/vmware/", "/etc/config/", "/opt/ortdv/", "/tmp/", "/var/db/esximg/"};
  const std::string_view text(path);
  const bool ours =
      std::ranges::any_of(kPlaces, [&](auto place) { return text.starts_with(place); });
  return ours ? FakeHost::active() : nullptr;
}

FakeHost* host_of(int fd) {
  FakeHost* const host = FakeHost::active();
  return host != nullptr && host->owns(fd) ? host : nullptr;
}

FakeHost* host_of(FILE* stream) {
  FakeHost* const host = FakeHost::active();
  return host != nullptr && host->owns(stream) ? host : nullptr;
}

int fail(int error) {
  errno = error;
  return -1;
}

// A real descriptor, which can become a stream.
int open_content(const std::string& content) {
  const int fd = memfd_create("content", MFD_CLOEXEC);
  __real_write(fd, content.data(), content.size());
  lseek(fd, 0, SEEK_SET);
  return fd;
}

int fake_open(FakeHost& host, std::string_view path) {
  if (path.starts_with(kChannelNode)) {
    host.tell("open channel");
    return host.channels_free ? host.open_descriptor(FakeHost::Kind::kChannel) : fail(EBUSY);
  }
  if (path == kSmbiosNode) {
    return host.open_descriptor(FakeHost::Kind::kSmbios);
  }
  const auto file = host.files.find(path);
  return file == host.files.end() ? fail(ENOENT) : open_content(file->second);
}

int fake_stat(FakeHost& host, const char* path, struct stat* status) {
  if (!host.files.contains(std::string_view(path))) {
    return fail(ENOENT);
  }
  *status = {};
  status->st_mode = S_IFREG | 0644;
  status->st_uid = host.file_owner;
  return 0;
}

int fake_poll(FakeHost& host, pollfd& entry) {
  entry.revents = 0;
  const FakeHost::Kind kind = host.kind_of(entry.fd);
  const short events = kind == FakeHost::Kind::kChannel ? host.poll_channel() : entry.events;
  if (events >= 0) {
    entry.revents = events;
  }
  return events < 0 ? -1 : events > 0;
}

bool is_known(std::string_view command) {
  constexpr std::array<std::string_view, 7> kStarts = {
      "localcli ", "/sbin/localcli ", "uname -a", "vsish ", "touch /opt/ortdv/tmp/",
      "reboot",    "poweroff"};
  return std::ranges::any_of(kStarts, [&](auto start) { return command.starts_with(start); });
}

dirent* make_entry(const std::string& name) {
  auto* const entry = static_cast<dirent*>(calloc(1, sizeof(dirent)));
  name.copy(entry->d_name, sizeof entry->d_name - 1);
  return entry;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
[[noreturn]] void __wrap_abort();
int __wrap_clock_gettime(clockid_t clock, timespec* now);
int __wrap_close(int fd);
int __wrap_connect(int fd, const sockaddr* address, socklen_t size);
int __wrap_fclose(FILE* stream);
FILE* __wrap_fopen(const char* path, const char* mode);
pid_t __wrap_fork();
int __wrap_ioctl(int fd, unsigned long request, ...);
int __wrap_kill(pid_t pid, int signal);
int __wrap_lstat(const char* path, struct stat* status);
int __wrap_open(const char* path, int flags, ...);
int __wrap_pclose(FILE* stream);
int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __wrap_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask);
FILE* __wrap_popen(const char* command, const char* mode);
ssize_t __wrap_read(int fd, void* buffer, size_t size);
ssize_t __wrap_recv(int fd, void* buffer, size_t size, int flags);
int __wrap_scandir(const char* path, dirent*** list, int (*filter)(const dirent*),
                   int (*compare)(const dirent**, const dirent**));
ssize_t __wrap_send(int fd, const void* bytes, size_t size, int flags);
ssize_t __wrap_sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
int __wrap_setlogmask(int mask);
unsigned __wrap_sleep(unsigned seconds);
int __wrap_socket(int domain, int type, int protocol);
int __wrap_stat(const char* path, struct stat* status);
int __wrap_system(const char* command);
time_t __wrap_time(time_t* now);
int __wrap_usleep(useconds_t microseconds);
pid_t __wrap_waitpid(pid_t pid, int* status, int options);
ssize_t __wrap_write(int fd, const void* bytes, size_t size);
// The names that fortified and 64-bit builds use for some of them.
FILE* __wrap_fopen64(const char* path, const char* mode);
int __wrap_open64(const char* path, int flags, ...);
int __wrap___open_2(const char* path, int flags);
int __wrap___open64_2(const char* path, int flags);
int __wrap___poll_chk(pollfd* fds, nfds_t count, int timeout_ms, size_t size);
int __wrap___ppoll_chk(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask,
                       size_t size);
ssize_t __wrap___read_chk(int fd, void* buffer, size_t size, size_t buffer_size);
ssize_t __wrap___recv_chk(int fd, void* buffer, size_t size, size_t buffer_size, int flags);

// Files and descriptors.

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  FakeHost* const host = host_of(path);
  return host == nullptr ? __real_open(path, flags, mode) : fake_open(*host, path);
}

int __wrap_close(int fd) {
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_close(fd);
  }
  host->kind_of(fd) = FakeHost::Kind::kNone;
  return 0;
}

ssize_t __wrap_read(int fd, void* buffer, size_t size) {
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_read(fd, buffer, size);
  }
  const auto bytes = host->input().take(size);
  std::ranges::copy(bytes, static_cast<uint8_t*>(buffer));
  return static_cast<ssize_t>(bytes.size());
}

ssize_t __wrap_write(int fd, const void* bytes, size_t size) {
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_write(fd, bytes, size);
  }
  require(host->kind_of(fd) == FakeHost::Kind::kChannel, "only the BMC is written to");
  return host->write_channel(static_cast<const uint8_t*>(bytes), size);
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* const buffer = va_arg(arguments, void*);
  va_end(arguments);
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_ioctl(fd, request, buffer);
  }
  const bool reads = host->kind_of(fd) == FakeHost::Kind::kChannel && request == kReadPacket;
  return reads ? host->read_channel(static_cast<uint8_t*>(buffer)) : fail(ENOTTY);
}

int __wrap_poll(pollfd* fds, nfds_t count, int timeout_ms) {
  FakeHost* const host = host_of(fds->fd);
  return host == nullptr ? __real_poll(fds, count, timeout_ms) : fake_poll(*host, *fds);
}

// Without entries it is a pause.
int __wrap_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask) {
  if (FakeHost* const pausing = FakeHost::active(); count == 0 && pausing != nullptr) {
    pausing->tell("pause " + std::to_string(timeout->tv_sec) + " s " +
                  std::to_string(timeout->tv_nsec) + " ns");
    return 0;
  }
  FakeHost* const host = count == 0 ? nullptr : host_of(fds->fd);
  return host == nullptr ? __real_ppoll(fds, count, timeout, mask) : fake_poll(*host, *fds);
}

int __wrap_stat(const char* path, struct stat* status) {
  FakeHost* const host = host_of(path);
  return host == nullptr ? __real_stat(path, status) : fake_stat(*host, path, status);
}

int __wrap_lstat(const char* path, struct stat* status) {
  FakeHost* const host = host_of(path);
  return host == nullptr ? __real_lstat(path, status) : fake_stat(*host, path, status);
}

int __wrap_scandir(const char* path, dirent*** list, int (*filter)(const dirent*),
                   int (*compare)(const dirent**, const dirent**)) {
  FakeHost* const host = host_of(path);
  if (host == nullptr) {
    return __real_scandir(path, list, filter, compare);
  }
  *list = static_cast<dirent**>(calloc(host->folder.size() + 1, sizeof(dirent*)));
  std::ranges::transform(host->folder, *list, make_entry);
  return static_cast<int>(host->folder.size());
}

// Streams.

FILE* __wrap_fopen(const char* path, const char* mode) {
  FakeHost* const host = host_of(path);
  return host == nullptr ? __real_fopen(path, mode) : host->open_stream(path, mode);
}

int __wrap_fclose(FILE* stream) {
  FakeHost* const host = host_of(stream);
  return host == nullptr ? __real_fclose(stream) : host->close_stream(stream);
}

FILE* __wrap_popen(const char* command, const char* mode) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_popen(command, mode);
  }
  require(is_known(command), "only known commands are run");
  return host->open_command(command);
}

int __wrap_pclose(FILE* stream) {
  FakeHost* const host = host_of(stream);
  return host == nullptr ? __real_pclose(stream) : host->close_stream(stream);
}

int __wrap_system(const char* command) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_system(command);
  }
  require(is_known(command), "only known commands are run");
  host->tell("run " + std::string(command));
  return 0;
}

// Sockets.

int __wrap_socket(int domain, int type, int protocol) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_socket(domain, type, protocol);
  }
  return host->open_descriptor(domain == AF_INET ? FakeHost::Kind::kNetwork : FakeHost::Kind::kLog);
}

int __wrap_connect(int fd, const sockaddr* address, socklen_t size) {
  return host_of(fd) == nullptr ? __real_connect(fd, address, size) : 0;
}

ssize_t __wrap_send(int fd, const void* bytes, size_t size, int flags) {
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_send(fd, bytes, size, flags);
  }
  require(host->kind_of(fd) == FakeHost::Kind::kLog, "only log lines are sent so");
  host->keep_log({static_cast<const char*>(bytes), size});
  return static_cast<ssize_t>(size);
}

ssize_t __wrap_sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size) {
  FakeHost* const host = host_of(fd);
  if (host == nullptr) {
    return __real_sendto(fd, bytes, size, flags, address, address_size);
  }
  sockaddr_in receiver = {};
  memcpy(&receiver, address, std::min<size_t>(address_size, sizeof receiver));
  require(receiver.sin_family == AF_INET && ntohs(receiver.sin_port) == 162,
          "traps go to port 162");
  host->datagrams.emplace_back(static_cast<const char*>(bytes), size);
  host->tell(host->datagrams.back());
  return static_cast<ssize_t>(size);
}

ssize_t __wrap_recv(int fd, void* buffer, size_t size, int flags) {
  FakeHost* const host = host_of(fd);
  return host == nullptr ? __real_recv(fd, buffer, size, flags)
                         : host->receive(static_cast<uint8_t*>(buffer), size);
}

// Processes and time.

// As narrow as can be: only while a target expects it, and only abort().
void __wrap_abort() {
  FakeHost* const host = FakeHost::active();
  if (host != nullptr && host->at_abort != nullptr) {
    longjmp(*host->at_abort, 1);
  }
  __real_abort();
}

// Always the parent: the timer's process ends with exit(), and with it would
// the fuzzer.
pid_t __wrap_fork() {
  FakeHost::active()->tell("fork");
  return kTimer;
}

pid_t __wrap_waitpid(pid_t, int*, int) {
  return 0;
}

int __wrap_kill(pid_t pid, int signal) {
  require(pid == kTimer && signal == SIGKILL, "only a timer is killed");
  FakeHost::active()->tell("kill");
  return 0;
}

unsigned __wrap_sleep(unsigned seconds) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_sleep(seconds);
  }
  host->tell("sleep " + std::to_string(seconds));
  return 0;
}

int __wrap_usleep(useconds_t microseconds) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_usleep(microseconds);
  }
  host->tell("usleep " + std::to_string(microseconds));
  return 0;
}

time_t __wrap_time(time_t* now) {
  FakeHost* const host = FakeHost::active();
  return host == nullptr || now != nullptr ? __real_time(now) : host->now;
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  FakeHost* const host = FakeHost::active();
  if (host == nullptr) {
    return __real_clock_gettime(clock, now);
  }
  *now = {.tv_sec = host->monotonic_now, .tv_nsec = 0};
  return 0;
}

int __wrap_setlogmask(int mask) {
  return FakeHost::active() == nullptr ? __real_setlogmask(mask) : 0xFF;
}

// The other names.

FILE* __wrap_fopen64(const char* path, const char* mode) {
  return __wrap_fopen(path, mode);
}
int __wrap_open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return __wrap_open(path, flags, mode);
}
int __wrap___open_2(const char* path, int flags) {
  return __wrap_open(path, flags);
}
int __wrap___open64_2(const char* path, int flags) {
  return __wrap_open(path, flags);
}
int __wrap___poll_chk(pollfd* fds, nfds_t count, int timeout_ms, size_t) {
  return __wrap_poll(fds, count, timeout_ms);
}
int __wrap___ppoll_chk(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask,
                       size_t) {
  return __wrap_ppoll(fds, count, timeout, mask);
}
ssize_t __wrap___read_chk(int fd, void* buffer, size_t size, size_t) {
  return __wrap_read(fd, buffer, size);
}
ssize_t __wrap___recv_chk(int fd, void* buffer, size_t size, size_t, int flags) {
  return __wrap_recv(fd, buffer, size, flags);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)
