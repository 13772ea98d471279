// SPDX-License-Identifier: Apache-2.0
// A directory of a test's own, removed with everything in it at the end. Its
// path is short enough for sockets.
#ifndef TVUREV_TESTS_UNIT_LAB_TEMPORARY_DIRECTORY_H_
#define TVUREV_TESTS_UNIT_LAB_TEMPORARY_DIRECTORY_H_

#include <stdlib.h>

#include <filesystem>
#include <string>

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    char path[] = "/tmp/lab-test-XXXXXX";
    path_ = mkdtemp(path);
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

#endif  // TVUREV_TESTS_UNIT_LAB_TEMPORARY_DIRECTORY_H_
