// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/process.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::filesystem::path proc_file(pid_t pid, const char* name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

// The words of /proc/PID/stat after the program's name, which may hold blanks.
std::vector<std::string> stat_words(pid_t pid) {
  std::ifstream file(proc_file(pid, "stat"));
  std::string line;
  std::getline(file, line);
  const size_t name_end = line.rfind(')');
  std::istringstream rest(name_end == std::string::npos ? "" : line.substr(name_end + 1));
  std::vector<std::string> words;
  for (std::string word; rest >> word;) {
    words.push_back(word);
  }
  return words;
}

// A process that ended while it was looked at has no words.
constexpr size_t kStateWord = 0;
constexpr size_t kParentWord = 1;

std::vector<pid_t> all_processes() {
  std::vector<pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    if (error == std::errc() && end == name.data() + name.size()) {
      pids.push_back(pid);
    }
  }
  return pids;
}

}  // namespace

std::vector<pid_t> children_of(pid_t pid) {
  std::vector<pid_t> children;
  for (const pid_t other : all_processes()) {
    const std::vector<std::string> words = stat_words(other);
    if (words.size() > kParentWord && words[kParentWord] == std::to_string(pid)) {
      children.push_back(other);
    }
  }
  return children;
}

char state_of(pid_t pid) {
  const std::vector<std::string> words = stat_words(pid);
  return words.empty() ? '\0' : words[kStateWord][0];
}

bool is_alive(pid_t pid) {
  const char state = state_of(pid);
  return state != '\0' && state != 'Z' && state != 'X';
}

std::map<int, std::string> descriptors_of(pid_t pid) {
  std::map<int, std::string> descriptors;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(proc_file(pid, "fd"), error)) {
    const int number = std::stoi(entry.path().filename());
    descriptors[number] = std::filesystem::read_symlink(entry.path(), error);
  }
  return descriptors;
}

long written_kib(pid_t pid) {
  std::ifstream file(proc_file(pid, "smaps_rollup"));
  for (std::string word; file >> word;) {
    long kib = 0;
    if (word == "Anonymous:" && file >> kib) {
      return kib;
    }
  }
  return 0;
}
