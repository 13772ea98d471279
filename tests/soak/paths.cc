// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/paths.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

void write_file(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::trunc);
  file << text;
  if (!file.flush()) {
    throw std::runtime_error(path + ": cannot write");
  }
}

void touch(const std::string& path) {
  if (!std::ofstream(path, std::ios::app)) {
    throw std::runtime_error(path + ": cannot create");
  }
}

std::string read_file(const std::string& path) {
  const std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}
