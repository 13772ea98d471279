// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/nvram.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace {

std::string failure(const std::string& path, const char* doing) {
  return path + ": cannot " + doing + ": " + std::strerror(errno);
}

}  // namespace

std::string load_nvram(const std::string& path, Variables* variables) {
  variables->clear();
  std::ifstream file(path);
  if (!file) {
    return errno == ENOENT ? "" : failure(path, "open");
  }
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    const Words words = split_words(line);
    if (words.error.empty() && words.words.empty()) {
      continue;
    }
    const auto variable = parse_variable(words.words.size() == 1 ? words.words[0] : "");
    if (!words.error.empty() || !variable) {
      return path + ":" + std::to_string(number) + ": not a variable of the form NAME=HEX";
    }
    (*variables)[variable->first] = variable->second;
  }
  return file.bad() ? failure(path, "read") : "";
}

std::string save_nvram(const std::string& path, const Variables& variables) {
  const std::string fresh = path + ".new";
  std::ofstream file(fresh, std::ios::trunc);
  for (const auto& [name, value] : variables) {
    file << name << '=' << hex_text(value) << '\n';
  }
  file.close();
  if (!file) {
    return failure(fresh, "write");
  }
  return std::rename(fresh.c_str(), path.c_str()) == 0 ? "" : failure(path, "replace");
}
