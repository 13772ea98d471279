// SPDX-License-Identifier: Apache-2.0
// The configuration of the host's SNMP agent.
//
// Input: the debug switches, then the file.
#include <csetjmp>
#include <string>

#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"
#include "trap/host_snmp.h"

namespace {

constexpr int kAborted = 2;
constexpr size_t kLineMax = 4095;

// Lines as they are read: cut to pieces of 4095 characters, and each is a text
// that ends at its first zero.
bool holds_enable(std::string_view content) {
  while (!content.empty()) {
    const size_t line_end = content.substr(0, kLineMax).find('\n');
    const std::string_view line =
        content.substr(0, line_end == std::string_view::npos ? kLineMax : line_end + 1);
    if (line.substr(0, line.find('\0')).find("<enable>true") != std::string_view::npos) {
      return true;
    }
    content.remove_prefix(line.size());
  }
  return false;
}

// A piece that is too long ends the process by design, with abort(): here that is
// one more result.
int read_configuration(FakeHost& host) {
  std::jmp_buf aborted;
  host.at_abort = &aborted;
  const int result = setjmp(aborted) == 0 ? snmpEnabled() : kAborted;
  host.at_abort = nullptr;
  return result;
}

void require_good_targets() {
  require(trap_destinations.size() == trap_communities.size(), "a target has both texts");
  require(trap_destinations.size() <= 3, "there are three targets at most");
  for (size_t target = 0; target < trap_destinations.size(); ++target) {
    const std::string& destination = trap_destinations[target];
    const std::string& community = trap_communities[target];
    require(destination.size() <= 32 && destination.find('@') == std::string::npos,
            "a destination ends at its @ and has 32 characters at most");
    require(community.size() <= 128 && community.find(';') == std::string::npos,
            "a community ends at its semicolon and has 128 characters at most");
  }
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const std::string_view content = input.rest_as_text();
  host.files["/etc/vmware/snmp.xml"] = content;
  trap_destinations.clear();
  trap_communities.clear();
  const int result = read_configuration(host);
  require(result == kAborted || result == snmp_enabled_flag, "the flag is the result");
  require((result != 0) == holds_enable(content), "<enable>true anywhere switches it on");
  require(result != kAborted || host.log_holds(3, "is longer than"), "an abort says why");
  require(result != 0 || trap_destinations.empty(), "who is off has no receivers");
  require_good_targets();
  host.tell(std::to_string(result));
  for (size_t target = 0; target < trap_destinations.size(); ++target) {
    host.tell(trap_destinations[target] + " " + trap_communities[target]);
  }
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
