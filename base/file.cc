// SPDX-License-Identifier: Apache-2.0
#include "base/file.h"

#include <sys/stat.h>

File open_to_read(const char* path) {
  return File(fopen(path, "re"));
}

File open_to_write(const char* path) {
  return File(fopen(path, "we"));
}

Command start_command(const char* command) {
  return Command(popen(command, "re"));
}

bool exists(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0;
}

bool belongs_to_root(const char* path) {
  struct stat status = {};
  // The link first: in a folder that all may write to, anyone could lay one to a
  // file of root's.
  if (lstat(path, &status) != 0 || status.st_uid != 0) {
    return false;
  }
  return !S_ISLNK(status.st_mode) || (stat(path, &status) == 0 && status.st_uid == 0);
}
