// SPDX-License-Identifier: Apache-2.0
// The BMC's addresses on their way into the entity MIB file.
//
// Input: the debug switches; whether no channel is free; how often the device is
// busy; then what the reads of the channel give (FakeHost::read_channel).
#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "log/debug_flags.h"
#include "ortinv/entity_mib.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr const char* kFile = "/etc/config/ent_mib/ort.xml";

// The last second that the library can count: whatever the next update was, it
// comes, and the one after it comes half an hour later.
void forget_earlier_updates(FakeHost& host) {
  host.now = UINT32_MAX;
  host.write_error = EIO;
  const int utilities_debug_flag = std::exchange(g_utilities_debug_flag, 0);
  require(update_ent_mib_xml() == 1, "without an answer nothing is updated");
  g_utilities_debug_flag = utilities_debug_flag;
  host.write_error = 0;
  host.story.clear();
  host.now = 1800;
}

void require_good_file(const std::string& text) {
  constexpr std::string_view kBefore =
      "<vmw_ent_mib version=\"1.0\">\n<logical>\n"
      "<Descr>BMC SNMP Management Agent</Descr>\n<Type>1.3.6.1.2.1</Type>\n"
      "<Community>public</Community>\n<TAddress>";
  constexpr std::string_view kBehind =
      "</TAddress>\n<TDomain>1.3.6.1.2.1.100.1.1</TDomain>\n"
      "<ContextEngineID>None</ContextEngineID>\n<ContextName>None</ContextName>\n"
      "</logical>\n</vmw_ent_mib>\n";
  require(text.size() >= kBefore.size() + kBehind.size() && text.starts_with(kBefore) &&
              text.ends_with(kBehind),
          "the file has its eleven lines");
  const std::string address =
      text.substr(kBefore.size(), text.size() - kBefore.size() - kBehind.size());
  require(
      address.size() < 48 && address.find_first_not_of("0123456789abcdef.:") == std::string::npos,
      "the file names an address");
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  forget_earlier_updates(host);
  host.channels_free = (input.byte() & 1) == 0;
  host.busy_writes = input.byte();
  const int result = update_ent_mib_xml();
  const auto made = host.made_files.find(kFile);
  require(result == 0 || result == 1, "an update succeeds or fails");
  if (made != host.made_files.end()) {
    require(result == 0, "a failed update leaves the file alone");
    require_good_file(made->second);
  }
  const size_t done = host.story.size();
  require(update_ent_mib_xml() == 0 && host.story.size() == done, "half an hour lies between two");
  require(host.open_descriptors() == 0, "no channel stays open");
  host.tell(std::to_string(result));
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
