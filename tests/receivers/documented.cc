// SPDX-License-Identifier: Apache-2.0
#include "tests/receivers/documented.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "tests/e2e/host.h"

namespace {

constexpr const char* kPage = "/run/lab/docs/receivers.md";

// Reads on to a line for which this is true.
template <typename Condition>
bool skip_to(std::istringstream* page, const Condition& condition) {
  for (std::string line; std::getline(*page, line);) {
    if (condition(line)) {
      return true;
    }
  }
  return false;
}

std::string quoted_path(const std::string& path) {
  return "`" + path + "`";
}

}  // namespace

std::string documented(std::string_view section, std::string_view mark) {
  std::istringstream page(read_file(kPage));
  const bool found =
      skip_to(&page, [&](const auto& line) { return line == "### " + std::string(section); }) &&
      skip_to(&page, [&](const auto& line) { return line.find(mark) != std::string::npos; }) &&
      skip_to(&page, [](const auto& line) { return line.starts_with("```"); });
  EXPECT_TRUE(found) << section << ": " << mark;
  std::string block;
  for (std::string line; std::getline(page, line) && line != "```";) {
    block += line + "\n";
  }
  EXPECT_NE(block, "") << section << ": " << mark;
  return block;
}

void write_documented(std::string_view section, const std::string& path) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  write_file(path, documented(section, quoted_path(path)));
}

void change_documented(std::string_view section, const std::string& path) {
  std::string text = read_file(path);
  std::istringstream changes(documented(section, quoted_path(path)));
  for (std::string change; std::getline(changes, change);) {
    const std::string name = "\n" + change.substr(0, change.find('=') + 1);
    const size_t start = text.find(name);
    ASSERT_NE(start, std::string::npos) << path << " has no line like: " << change;
    text.replace(start + 1, text.find('\n', start + 1) - start - 1, change);
  }
  write_file(path, text);
}
