// SPDX-License-Identifier: Apache-2.0
// replay FILE_OR_FOLDER...: executes a fuzz target once over each file, in order
// of their names: the corpora in ordinary builds, and a finding.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/fuzz/target.h"

namespace {

using Paths = std::vector<std::filesystem::path>;

Paths files_of(const char* argument) {
  Paths files;
  if (!std::filesystem::is_directory(argument)) {
    return {argument};
  }
  for (const auto& entry : std::filesystem::directory_iterator(argument)) {
    files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open()) {
    fprintf(stderr, "replay: %s cannot be read\n", path.c_str());
    return false;
  }
  // Before the execution: the last line of a broken run names the file.
  fprintf(stderr, "%s\n", path.c_str());
  const std::vector<uint8_t> bytes(content.begin(), content.end());
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  size_t executed = 0;
  for (int argument = 1; argument < argc; ++argument) {
    for (const std::filesystem::path& path : files_of(argv[argument])) {
      if (!replay(path)) {
        return 1;
      }
      ++executed;
    }
  }
  printf("%zu files executed\n", executed);
  return executed == 0 ? 1 : 0;
}
