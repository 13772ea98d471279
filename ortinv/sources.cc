// SPDX-License-Identifier: Apache-2.0
#include "ortinv/sources.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

bool check_directory(const std::string& path, const std::string& advice, Report& report) {
  DIR* directory = opendir(path.c_str());
  if (directory == nullptr) {
    report.add_problem(path, std::string(strerror(errno)) + "; " + advice);
    return false;
  }
  closedir(directory);
  return true;
}

bool check_command(const std::string& name, Report& report) {
  const char* path = getenv("PATH");
  std::istringstream directories(path != nullptr ? path : "");
  for (std::string directory; std::getline(directories, directory, ':');) {
    if (access(directory.append("/").append(name).c_str(), X_OK) == 0) {
      return true;
    }
  }
  report.add_problem(name,
                     "command not found; run ortinv on the host, with /sbin and /bin on PATH");
  return false;
}

std::string why_unreadable(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd == -1) {
    return strerror(errno);
  }
  close(fd);
  return "";
}
