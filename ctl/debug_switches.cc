// SPDX-License-Identifier: Apache-2.0
#include "ctl/debug_switches.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/descriptor.h"
#include "base/file.h"
#include "log/switches.h"

namespace {

constexpr mode_t kMode = 0644;
constexpr std::string_view kFolder = "/tmp/";
constexpr std::string_view kEnding = ".text";

// The four that are read when the daemon starts.
struct OwnSwitch {
  const char* path;
  const char* shows;
  const char* needs;  // another, or null
};
constexpr std::array<OwnSwitch, 4> kOwnSwitches = {{
    {kDaemonSwitch, "the daemon's debug lines", nullptr},
    {kChifSwitch, "packet headers of the BMC channel", kDaemonSwitch},
    {kAgentxSwitch, "headers of notifications", kDaemonSwitch},
    {kUtilitiesSwitch, "queries of the BMC and the inventory, for the modules chosen", nullptr},
}};

std::string stem_of(std::string_view path) {
  return std::string(path.substr(kFolder.size(), path.size() - kFolder.size() - kEnding.size()));
}

std::string path_of(const std::string& module) {
  return std::string(kFolder) + module + std::string(kEnding);
}

// Whether anything lies at the path, a dangling link too.
bool is_there(const char* path, struct stat& status) {
  return lstat(path, &status) == 0;
}

std::string why_not_roots(const struct stat& status, const char* path) {
  if (!S_ISLNK(status.st_mode)) {
    return "it is not root's";
  }
  return exists(path) ? "it is a link that is not root's, or leads to what is not"
                      : "it is a link that leads nowhere";
}

DebugSwitch look_at_own(const OwnSwitch& own, const View& view) {
  DebugSwitch found = {stem_of(own.path), own.path, own.shows, false, false, ""};
  struct stat status = {};
  found.there = is_there(own.path, status);
  if (!found.there) {
    return found;
  }
  if (!belongs_to_root(own.path)) {
    found.why = why_not_roots(status, own.path);
  } else if (own.needs != nullptr && !belongs_to_root(own.needs)) {
    found.why = "it shows nothing without " + std::string(own.needs);
  } else if (view.main() && status.st_ctime > view.since()) {
    found.why = "it was made after tvurev started, which looks for it then only";
  } else {
    found.counts = true;
  }
  return found;
}

DebugSwitch look_at_module(const ModuleSwitch& module) {
  std::string shows = "every message of the inventory and of BMC queries";
  if (*module.keyword != '\0') {
    shows = "messages with \"" + std::string(module.keyword) + "\"";
    shows +=
        module.other_keyword == nullptr ? "" : " or \"" + std::string(module.other_keyword) + "\"";
  }
  DebugSwitch found = {stem_of(module.switch_file), module.switch_file, shows, false, false, ""};
  struct stat status = {};
  found.there = is_there(module.switch_file, status);
  found.counts = exists(module.switch_file) && belongs_to_root(kUtilitiesSwitch);
  if (found.there && !found.counts) {
    found.why = exists(module.switch_file)
                    ? "it chooses nothing without " + std::string(kUtilitiesSwitch)
                    : "it is a link that leads nowhere";
  }
  return found;
}

}  // namespace

std::vector<DebugSwitch> debug_switches(const View& view) {
  std::vector<DebugSwitch> switches;
  switches.reserve(kOwnSwitches.size() + kModuleSwitches.size());
  for (const OwnSwitch& own : kOwnSwitches) {
    switches.push_back(look_at_own(own, view));
  }
  bool chosen = false;
  for (const ModuleSwitch& module : kModuleSwitches) {
    switches.push_back(look_at_module(module));
    chosen = chosen || switches.back().counts;
  }
  DebugSwitch& utilities = switches[kOwnSwitches.size() - 1];
  if (utilities.counts && !chosen) {
    utilities.counts = false;
    utilities.why = "no module is chosen";
  }
  return switches;
}

bool is_debug_module(const std::string& module) {
  return std::ranges::any_of(debug_switches(View{}),
                             [&](const DebugSwitch& known) { return known.module == module; });
}

std::vector<std::string> switches_for(const std::vector<std::string>& modules) {
  std::vector<std::string> made =
      modules.empty() ? std::vector<std::string>{stem_of(kDaemonSwitch), "ortAll"} : modules;
  const auto add = [&made](const char* path) {
    if (std::ranges::find(made, stem_of(path)) == made.end()) {
      made.push_back(stem_of(path));
    }
  };
  const std::vector<std::string> asked = made;
  for (const std::string& module : asked) {
    const std::string path = path_of(module);
    const auto own = std::ranges::find_if(
        kOwnSwitches, [&](const OwnSwitch& candidate) { return path == candidate.path; });
    if (own == kOwnSwitches.end()) {
      add(kUtilitiesSwitch);
    } else if (own->needs != nullptr) {
      add(own->needs);
    }
  }
  return made;
}

// What is there is taken away first: neither a link nor another's file is written to.
std::string make_switch(const std::string& module) {
  const std::string path = path_of(module);
  struct stat status = {};
  if (is_there(path.c_str(), status) && S_ISREG(status.st_mode) && status.st_uid == 0) {
    return chmod(path.c_str(), kMode) == 0 ? "" : strerror(errno);
  }
  unlink(path.c_str());
  const Descriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
  return file.valid() && fchmod(file.get(), kMode) == 0 ? "" : strerror(errno);
}

std::string remove_switch(const std::string& module) {
  return unlink(path_of(module).c_str()) == 0 || errno == ENOENT ? "" : strerror(errno);
}
