// SPDX-License-Identifier: Apache-2.0
// The third gate, the host's SNMP settings; the receivers in them; and the
// sender's address.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/file.h"
#include "ctl/checking.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/receiver_text.h"
#include "wire/host_files.h"

namespace {

constexpr const char* kNotYet = "It is not in force until tvurev is started again.";
constexpr const char* kTrapPort = "162";

// Faults of entries that are not in force yet do no harm.
void add_entry(Checking& checking, std::string_view id,
               std::initializer_list<std::string_view> words) {
  if (checking.changed) {
    checking.findings.add_for_later(id, words, kNotYet);
  } else {
    checking.findings.add(id, words);
  }
}

void check_entry(Checking& checking, const WrittenEntry& entry, int& taken) {
  if (!entry.has_at) {
    add_entry(checking, "entry-without-at", {entry.receiver});
  } else if (!entry.has_community) {
    add_entry(checking, "entry-without-community", {entry.receiver});
  } else if (++taken > kDestinationsMax) {
    add_entry(checking, "entry-beyond-three", {entry.receiver});
  } else if (!entry.port.empty() && entry.port != kTrapPort) {
    checking.findings.add("entry-port-ignored", {entry.port, entry.receiver});
  }
}

void check_entries(Checking& checking) {
  const std::vector<WrittenEntry>& entries = checking.settings.entries;
  if (entries.empty()) {
    checking.add_gate("settings-without-targets", {host_files::kSnmpSettings});
    return;
  }
  if (std::ranges::any_of(entries, &WrittenEntry::tags_apart)) {
    add_entry(checking, "settings-tags-apart", {host_files::kSnmpSettings});
  }
  int taken = 0;
  for (const WrittenEntry& entry : entries) {
    if (!entry.tags_apart) {
      check_entry(checking, entry, taken);
    }
  }
}

bool is_no_route(int error) {
  return error == ENETUNREACH || error == EHOSTUNREACH || error == ENETDOWN;
}

// Whether it is reached.
bool check_receiver(Checking& checking, const Receiver& receiver) {
  const std::string name(shown_receiver(receiver.text));
  const ReceiverText text = read_receiver(receiver.text);
  const bool by_name = text.kind == ReceiverKind::kName;
  const std::string shown =
      by_name && !receiver.address.empty() ? name + " (" + receiver.address + ")" : name;
  if (text.kind == ReceiverKind::kIpv6) {
    checking.findings.add("receiver-ipv6", {name});
  } else if (receiver.address.empty() && by_name) {
    checking.findings.add("receiver-unresolvable", {name, receiver.why});
  } else if (receiver.address.empty()) {
    checking.findings.add("receiver-malformed", {name});
  } else if (!receiver.probed) {
    checking.findings.add("receiver-not-probed", {shown});
  } else if (receiver.error == ECONNREFUSED) {
    checking.findings.add("receiver-deaf", {shown});
  } else if (is_no_route(receiver.error)) {
    checking.findings.add("receiver-no-route", {shown, strerror(receiver.error)});
  } else if (receiver.error != 0) {
    checking.findings.add("receiver-refused", {shown, strerror(receiver.error)});
  } else {
    checking.findings.add("receiver", {shown});
  }
  return !receiver.address.empty() && receiver.error == 0;
}

// The daemon has PATH set to the system's folders where it had none.
void set_path() {
  const char* path = getenv("PATH");
  if (path == nullptr || *path == '\0') {
    setenv("PATH", host_files::kSystemPath, 1);
  }
}

// A daemon that found an address at its start goes on with that.
void add_address(Checking& checking, const std::string& used, std::string_view id,
                 std::initializer_list<std::string_view> words) {
  if (used.empty()) {
    checking.findings.add(id, words);
  } else {
    checking.findings.add_for_later(
        id, words, "So it is from the next start on: until then they carry " + used + ".");
  }
}

std::string why_failing(int status) {
  return WIFEXITED(status) ? "it ends with status " + std::to_string(WEXITSTATUS(status))
                           : "a signal ends it";
}

}  // namespace

void check_settings(Checking& checking) {
  const char* path = host_files::kSnmpSettings;
  const Settings& settings = checking.settings;
  switch (settings.state) {
    case Settings::State::kMissing:
      checking.add_gate("settings-missing", {path});
      break;
    case Settings::State::kUnreadable:
      checking.add_gate("settings-unreadable", {path, settings.why});
      break;
    case Settings::State::kNeedsRoot:
      checking.findings.add("settings-need-root", {path});
      break;
    case Settings::State::kDisabled:
      checking.add_gate("settings-disabled", {path});
      check_entries(checking);
      break;
    case Settings::State::kTooLong:
      checking.add_gate("settings-piece-too-long",
                        {settings.too_long.empty() ? "A piece" : settings.too_long, path,
                         std::to_string(settings.limit)});
      break;
    case Settings::State::kEnabled:
      checking.findings.add("settings", {path});
      check_entries(checking);
      break;
  }
  if (checking.changed) {
    std::vector<std::string> shown;
    for (const std::string& receiver : checking.in_force) {
      shown.emplace_back(shown_receiver(receiver));
    }
    checking.findings.add("settings-changed", {path, shown.empty() ? "nobody" : list_text(shown)});
  }
}

void check_receivers(Checking& checking, const std::vector<Receiver>& receivers) {
  if (checking.changed && receivers.empty()) {
    checking.findings.add("receivers-none-in-force", {host_files::kSnmpSettings});
  }
  std::vector<std::string> addresses;
  for (const Receiver& receiver : receivers) {
    // What swallowed the entry behind it was told of as an entry.
    const bool told = !checking.changed && receiver.text.find(';') != std::string::npos;
    if (!told && check_receiver(checking, receiver)) {
      ++checking.reached;
    }
    if (!receiver.address.empty() && std::ranges::count(addresses, receiver.address) == 1) {
      checking.findings.add("receiver-twice", {receiver.address});
    }
    addresses.push_back(receiver.address);
  }
}

// Only an address that cannot be had makes it look for the reason.
std::string ask_host_address() {
  set_path();
  get_host_ipaddress();
  std::string text = std::string("address=") + host_ipaddress.data() + "\n";
  if (host_ipaddress[0] == '\0') {
    const int status = system("localcli network ip interface ipv4 get >/dev/null 2>&1");
    text += "status=" + std::to_string(status) + "\n";
  }
  return text;
}

void check_host_address(Checking& checking, const Job& job) {
  constexpr int kNotFound = 127;
  const std::string address = value_of(job.text, "address");
  const std::string used =
      checking.view.past_gates() && checking.view.bmc ? checking.view.bmc->host_address : address;
  if (job.end != Job::End::kAnswered) {
    add_address(checking, used, "localcli-failing", {"no answer within a second"});
  } else if (!address.empty() && address == used) {
    checking.findings.add("host-address", {address});
  } else if (!address.empty()) {
    checking.findings.add("host-address-changed",
                          {used.empty() ? "255.255.255.255" : used, address});
  } else {
    const int status = atoi(value_of(job.text, "status").c_str());
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotFound) {
      add_address(checking, used, "localcli-missing", {});
    } else if (status != 0) {
      add_address(checking, used, "localcli-failing", {why_failing(status)});
    } else {
      add_address(checking, used, "vmk0-missing", {});
    }
  }
}
