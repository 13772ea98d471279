/* SPDX-License-Identifier: Apache-2.0 */
/* libforeignowner.so: in a sandbox every file is root's. Preloaded into a program,
 * this has it see those files as another user's whose paths stand, separated by
 * ":", in FOREIGN_FILES. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

enum { kStranger = 1234 };

typedef int (*stat_function)(const char*, struct stat*);

static bool is_foreign(const char* path) {
  const char* list = getenv("FOREIGN_FILES");
  const size_t length = strlen(path);
  while (list != NULL && *list != '\0') {
    const size_t entry = strcspn(list, ":");
    if (entry == length && strncmp(list, path, length) == 0) {
      return true;
    }
    list += entry + (list[entry] == ':');
  }
  return false;
}

static int look(const char* name, const char* path, struct stat* status) {
  stat_function real;
  *(void**)(&real) = dlsym(RTLD_NEXT, name);
  const int result = real(path, status);
  if (result == 0 && is_foreign(path)) {
    status->st_uid = kStranger;
  }
  return result;
}

int stat(const char* path, struct stat* status) {
  return look("stat", path, status);
}

int lstat(const char* path, struct stat* status) {
  return look("lstat", path, status);
}
