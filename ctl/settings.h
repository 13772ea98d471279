// SPDX-License-Identifier: Apache-2.0
// The host's SNMP settings twice: as they are written, and as the daemon reads them.
// Communities are kept only where they are asked for.
#ifndef TVUREV_CTL_SETTINGS_H_
#define TVUREV_CTL_SETTINGS_H_

#include <ctime>
#include <string>
#include <vector>

// One entry between the targets tags.
struct WrittenEntry {
  std::string receiver;  // what may be shown of it
  bool has_at = false;
  bool has_community = false;
  std::string port;         // between "@" and the blank
  bool tags_apart = false;  // its tags are on different lines: it does not count
};

struct Settings {
  enum class State {
    kMissing,
    kUnreadable,
    kNeedsRoot,
    kDisabled,
    kTooLong,  // the daemon aborts
    kEnabled,
  };
  State state = State::kMissing;
  std::string why;  // of kUnreadable
  std::string too_long;
  size_t limit = 0;
  std::vector<WrittenEntry> entries;
  std::vector<std::string> destinations;  // that the daemon takes, as it has them
  std::vector<std::string> communities;   // of the destinations, where asked for
  time_t changed = 0;
};

// Reads "/etc/vmware/snmp.xml", and has the daemon's own code read it in a process
// of its own. Waits for a second at most.
Settings read_settings(bool with_communities = false);

// A destination as a state file has it.
std::string as_in_state_file(const std::string& destination);

#endif  // TVUREV_CTL_SETTINGS_H_
