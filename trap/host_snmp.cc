// SPDX-License-Identifier: Apache-2.0
#include "trap/host_snmp.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/file.h"
#include "base/text.h"
#include "log/log.h"
#include "trap/receiver_address.h"

std::vector<std::string> trap_destinations;
std::vector<std::string> trap_communities;
int32_t snmp_enabled_flag = 0;
int32_t trap_target_count = 0;

namespace {

constexpr const char* kConfigFile = "/etc/vmware/snmp.xml";
constexpr std::string_view kTargetsTag = "<targets>";
constexpr std::string_view kTargetsEndTag = "</targets>";
constexpr size_t kTargetsMax = 2047;
constexpr size_t kDestinationMax = 32;
constexpr size_t kCommunityMax = 128;
constexpr int32_t kTargetCountMax = 3;

using Line = std::array<char, 4096>;

// No XML parser: the text anywhere is enough, and no other line takes it back
// (docs/oddities.md: enabled-anywhere).
bool enabled_in(FILE* file) {
  bool enabled = false;
  Line line = {};
  while (read_line(file, line)) {
    enabled = enabled || holds(line.data(), "<enable>true");
  }
  return enabled;
}

// Ends the process rather than cutting: a receiver's name cut short would lose
// every trap, and nobody would know.
void require_fits(std::string_view piece, size_t limit, const char* what) {
  if (piece.size() > limit) {
    Log(LOG_ERR,
        "snmpEnabled(): %s: %s of %d characters is longer than %d. Mend the file and start "
        "again.\n",
        kConfigFile, what, static_cast<int>(piece.size()), static_cast<int>(limit));
    abort();
  }
}

// The text between the tags; null data when the line does not hold both.
std::string_view targets_in(std::string_view line) {
  const size_t tag = line.find(kTargetsTag);
  if (tag == std::string_view::npos) {
    return {};
  }
  const size_t start = tag + kTargetsTag.size();
  const size_t end = line.find(kTargetsEndTag, start);
  return end == std::string_view::npos ? std::string_view{} : line.substr(start, end - start);
}

// Loads the entries "destination@port community;..." of one targets text.
void load_targets(std::string_view targets) {
  while (true) {
    const size_t at = targets.find('@');
    if (at == std::string_view::npos) {
      return;
    }
    const std::string_view destination = targets.substr(0, at);
    require_fits(destination, kDestinationMax, "a trap destination");
    // What stands between is the port (docs/oddities.md: target-port-ignored).
    const size_t blank = targets.find(' ', at);
    if (blank == std::string_view::npos) {
      return;
    }
    const std::string_view rest = targets.substr(blank + 1);
    const std::string_view community = rest.substr(0, rest.find(';'));
    require_fits(community, kCommunityMax, "a community");
    // Counted even so (docs/oddities.md: fourth-target).
    if (++trap_target_count > kTargetCountMax) {
      return;
    }
    trap_destinations.emplace_back(destination);
    trap_communities.emplace_back(community);
    if (community.size() == rest.size()) {
      return;
    }
    targets = rest.substr(community.size() + 1);
  }
}

// Said now: the first trap may be lost years from now.
void require_usable_target() {
  const bool usable =
      std::any_of(trap_destinations.begin(), trap_destinations.end(),
                  [](const std::string& text) { return is_usable_receiver(text.c_str()); });
  if (!usable) {
    Log(LOG_ERR,
        "snmpEnabled(): %s names no usable trap target: no trap will reach anyone. Mend the file "
        "and start again.\n",
        kConfigFile);
  }
}

}  // namespace

int snmpEnabled() {
  DaemonDebug("snmpEnabled() start\n");
  snmp_enabled_flag = 0;
  const File file = open_to_read(kConfigFile);
  if (file == nullptr) {
    return 0;
  }
  trap_target_count = 0;
  if (!enabled_in(file.get()) || ferror(file.get()) != 0) {
    return 0;
  }
  rewind(file.get());
  Line line = {};
  while (read_line(file.get(), line)) {
    const std::string_view targets = targets_in(line.data());
    require_fits(targets, kTargetsMax, "a targets text");
    load_targets(targets);
  }
  if (ferror(file.get()) != 0) {
    return 0;
  }
  require_usable_target();
  snmp_enabled_flag = 1;
  return 1;
}
