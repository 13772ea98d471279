// SPDX-License-Identifier: Apache-2.0
// Text from outside through the log calls.
//
// Input: the debug switches; an error number; then the text, which as a C text
// ends at its first zero.
#include <syslog.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "log/log.h"
#include "log/message.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr size_t kProgramTextMax = 8 * 1024 - 1;

// What a line of the text must read: "%%" is one percent sign, "%m" the error, and
// any other percent sign is itself, whatever stands behind it.
std::string expanded(std::string_view text, int error) {
  std::string result;
  for (size_t at = 0; at < text.size(); ++at) {
    const std::string_view pair = text.substr(at, 2);
    if (pair == "%m") {
      result += strerror(error);
    } else {
      result += text[at];
    }
    at += pair == "%m" || pair == "%%" ? size_t{1} : size_t{0};
  }
  return result;
}

void require_line(const FakeHost& host, int priority, bool own, const std::string& text) {
  require(!host.log.empty(), "a line is written");
  const LogLine& line = host.log.back();
  require(line.priority == priority, "a line has its priority");
  require((line.identity == "ortdv") == own, "a line has its identity");
  require(line.text == text, "a line reads as the rules of the second expansion have it");
}

void write_lines(FakeHost& host, const std::string& text, int error) {
  const std::string own = expanded(text.substr(0, kMessageSize - 1), error);
  errno = error;
  Log(LOG_ERR, "%s", text.c_str());
  require_line(host, LOG_ERR, true, own);
  UtilLog("%s", text.c_str());
  require_line(host, LOG_INFO, true, own);
  UtilLogAll("%s", text.c_str());
  require_line(host, LOG_INFO, true, own);
  log_as_program(LOG_ALERT, "%s", text.c_str());
  require_line(host, LOG_ALERT, false, text.substr(0, kProgramTextMax));
  host.log.clear();
  DaemonDebug("%s", text.c_str());
  DebugLog("%s", text.c_str());
  for (const LogLine& line : host.log) {
    require(line.text == own && line.priority == LOG_INFO, "debug lines are like the others");
  }
  require(errno == error, "the log calls leave errno alone");
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const int error = input.byte();
  const std::string_view text = input.rest_as_text();
  // With zeros in it, and longer than any message: what does not fit is cut.
  ExpandedMessage area;
  const std::string whole = expanded(text, error);
  require(expand_message(text, error, area) == whole.substr(0, area.size()) ||
              text.find('%') == std::string_view::npos,
          "an expansion follows the rules and stays in its area");
  write_lines(host, std::string(text.substr(0, text.find('\0'))), error);
  require(host.open_descriptors() == 0, "no socket stays open");
  return host.log.empty() ? std::string() : host.log.back().text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
