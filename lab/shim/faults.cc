// SPDX-License-Identifier: Apache-2.0
#include "lab/shim/faults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kMostBytes = 4096;
using Text = std::array<char, kMostBytes + 1>;

int open_plainly(const char* path, int flags) {
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0644));
}

// Replaces the file's whole text.
void rewrite(int fd, const char* text) {
  const size_t length = strlen(text);
  if (syscall(SYS_pwrite64, fd, text, length, 0L) == static_cast<long>(length)) {
    syscall(SYS_ftruncate, fd, static_cast<long>(length));
  }
}

struct Fault {
  std::array<char, 8> call = {};
  int error = 0;
  int times = 0;
};

bool read_fault(const char* line, Fault* fault) {
  return sscanf(line, "%7s %d %d", fault->call.data(), &fault->error, &fault->times) == 3;
}

// Copies the text without one use of its first fault of this call. Returns the
// fault's errno value, or -1 when there is none.
int copy_with_one_less(Text* text, const char* call, Text* rest) {
  int taken = -1;
  size_t length = 0;
  char* position = nullptr;
  for (char* line = strtok_r(text->data(), "\n", &position); line != nullptr;
       line = strtok_r(nullptr, "\n", &position)) {
    Fault fault;
    if (!read_fault(line, &fault)) {
      continue;
    }
    if (taken < 0 && strcmp(fault.call.data(), call) == 0) {
      taken = fault.error;
      fault.times -= fault.times > 0 ? 1 : 0;
    }
    if (fault.times != 0) {
      const int added = snprintf(rest->data() + length, rest->size() - length, "%s %d %d\n",
                                 fault.call.data(), fault.error, fault.times);
      length += added > 0 ? static_cast<size_t>(added) : 0;
    }
    if (length >= rest->size()) {
      break;
    }
  }
  return taken;
}

}  // namespace

int add_fault(const char* path, const char* call, int error, int times) {
  const int fd = open_plainly(path, O_WRONLY | O_CREAT | O_APPEND);
  if (fd < 0) {
    return -1;
  }
  flock(fd, LOCK_EX);
  const int length = dprintf(fd, "%s %d %d\n", call, error, times);
  syscall(SYS_close, fd);
  return length > 0 ? 0 : -1;
}

int take_fault(const char* path, const char* call) {
  const int errno_before = errno;
  int taken = -1;
  const int fd = open_plainly(path, O_RDWR);
  if (fd >= 0) {
    flock(fd, LOCK_EX);
    Text text = {};
    Text rest = {};
    if (syscall(SYS_pread64, fd, text.data(), kMostBytes, 0L) > 0) {
      taken = copy_with_one_less(&text, call, &rest);
    }
    if (taken >= 0) {
      rewrite(fd, rest.data());
    }
    syscall(SYS_close, fd);
  }
  errno = errno_before;
  return taken;
}
