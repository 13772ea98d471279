// SPDX-License-Identifier: Apache-2.0
#include "trap/host_snmp.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include "base/file.h"
#include "base/text.h"
#include "log/log.h"
#include "trap/receiver_address.h"
#include "wire/host_files.h"

std::vector<std::string> trap_destinations;
std::vector<std::string> trap_communities;
int32_t snmp_enabled_flag = 0;
int32_t trap_target_count = 0;

namespace {

constexpr const char* kConfigFile = host_files::kSnmpSettings;
constexpr std::string_view kTargetsTag = "<targets>";
constexpr std::string_view kTargetsEndTag = "</targets>";

using Line = std::array<char, 4096>;

// What a piece of the file passes through. Kept together, and given to the stream
// as its buffer, so that nothing of a community is left when the process aborts:
// a core file is not for everybody who may read it.
struct Reading {
  Line line = {};
  std::array<char, BUFSIZ> stream_buffer = {};
};

void forget_communities(Reading& reading) {
  explicit_bzero(&reading, sizeof reading);
  for (std::string& community : trap_communities) {
    explicit_bzero(community.data(), community.size());
  }
}

// No XML parser: the text anywhere is enough, and no other line takes it back
// (docs/oddities.md: enabled-anywhere).
bool enabled_in(FILE* file, Line& line) {
  bool enabled = false;
  while (read_line(file, line)) {
    enabled = enabled || holds(line.data(), "<enable>true");
  }
  return enabled;
}

// Ends the process rather than cutting: a receiver's name cut short would lose
// every trap, and nobody would know.
void require_fits(Reading& reading, std::string_view piece, size_t limit, const char* what) {
  if (piece.size() > limit) {
    Log(LOG_ERR,
        "snmpEnabled(): %s: %s of %d characters is longer than %d. Mend the file and start "
        "again.\n",
        kConfigFile, what, static_cast<int>(piece.size()), static_cast<int>(limit));
    forget_communities(reading);
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
void load_targets(Reading& reading, std::string_view targets) {
  while (true) {
    const size_t at = targets.find('@');
    if (at == std::string_view::npos) {
      return;
    }
    const std::string_view destination = targets.substr(0, at);
    require_fits(reading, destination, kDestinationMax, "a trap destination");
    // What stands between is the port (docs/oddities.md: target-port-ignored).
    const size_t blank = targets.find(' ', at);
    if (blank == std::string_view::npos) {
      return;
    }
    const std::string_view rest = targets.substr(blank + 1);
    const std::string_view community = rest.substr(0, rest.find(';'));
    require_fits(reading, community, kCommunityMax, "a community");
    // Counted even so (docs/oddities.md: fourth-target).
    if (++trap_target_count > kDestinationsMax) {
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

int read_settings() {
  DaemonDebug("snmpEnabled() start\n");
  snmp_enabled_flag = 0;
  Reading reading;  // outlives the stream
  const File file = open_to_read(kConfigFile);
  if (file == nullptr) {
    return 0;
  }
  trap_target_count = 0;
  setvbuf(file.get(), reading.stream_buffer.data(), _IOFBF, reading.stream_buffer.size());
  if (!enabled_in(file.get(), reading.line) || ferror(file.get()) != 0) {
    return 0;
  }
  rewind(file.get());
  // Short communities live in the vector's own memory, which must not move.
  trap_communities.reserve(kDestinationsMax);
  while (read_line(file.get(), reading.line)) {
    const std::string_view targets = targets_in(reading.line.data());
    require_fits(reading, targets, kTargetsTextMax, "a targets text");
    load_targets(reading, targets);
  }
  if (ferror(file.get()) != 0) {
    return 0;
  }
  require_usable_target();
  snmp_enabled_flag = 1;
  return 1;
}

}  // namespace

int snmpEnabled() {
  try {
    return read_settings();
  } catch (const std::bad_alloc&) {
    Log(LOG_ERR, "snmpEnabled(): %s: out of memory. Start again.\n", kConfigFile);
    trap_destinations.clear();
    trap_communities.clear();
    return 0;
  }
}
