// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/ctl_fixture.h"

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

std::vector<std::string> Told::lines() const {
  std::istringstream text(out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  if (!lines.empty()) {
    lines.pop_back();
  }
  return lines;
}

std::string Told::last() const {
  const size_t end = out.empty() ? 0 : out.size() - 1;
  const size_t start = end == 0 ? std::string::npos : out.rfind('\n', end - 1);
  return start == std::string::npos ? out.substr(0, end) : out.substr(start + 1, end - start - 1);
}

std::string Told::line_of(std::string_view id) const {
  for (const std::string& line : lines()) {
    if (line.ends_with(" [" + std::string(id) + "]")) {
      return line;
    }
  }
  return "";
}

void CtlHost::SetUp() {
  Host::SetUp();
  write_targets("192.0.2.7@162 public;198.51.100.9@162 ops");
}

void CtlHost::start_relay(const Settings& settings) {
  Host::start_relay(settings);
  ASSERT_TRUE(run_until_state(kState, "connected"));
  ASSERT_TRUE(run_until_state(kAgentState, "listening"));
}

testing::AssertionResult CtlHost::run_until_state(const char* file, const std::string& state) {
  return run_until(
             [&] { return read_file(file).find("\nstate=" + state + "\n") != std::string::npos; })
         << ": " << file << ": " << state;
}

Told CtlHost::ctl(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "/sbin/tvurevctl");
  std::vector<std::string> variables = environment;
  variables.push_back(std::string("LD_PRELOAD=/run/lab/libmoxshim.so:") + FOREIGN_OWNER +
                      (impatient ? std::string(":") + LEAPING_CLOCK : ""));
  variables.push_back("FOREIGN_FILES=" + foreign_files);
  variables.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0:log_path=/tmp/sanitizer");
  Child tool;
  EXPECT_EQ(tool.start({.arguments = arguments, .environment = variables}), "");
  EXPECT_TRUE(run_until([&] {
    tool.pump();
    return tool.ended();
  }));
  return {tool.status(), tool.out(), tool.err()};
}

Told CtlHost::ctl_alone(const std::string& arguments) {
  const std::string command = "ASAN_OPTIONS=log_path=/tmp/sanitizer /sbin/tvurevctl " + arguments +
                              " >/tmp/ctl-out 2>/tmp/ctl-err";
  const int status = system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file("/tmp/ctl-out"),
          read_file("/tmp/ctl-err")};
}
