// SPDX-License-Identifier: Apache-2.0
#include "ctl/settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/file.h"
#include "ctl/jobs.h"
#include "ctl/states.h"
#include "trap/host_snmp.h"
#include "trap/receiver_text.h"
#include "wire/host_files.h"

namespace {

constexpr int kPatienceMs = 1'000;
constexpr std::string_view kTargets = "<targets>";
constexpr std::string_view kTargetsEnd = "</targets>";
constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) {
    return {};
  }
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

WrittenEntry read_entry(std::string_view text, bool tags_apart) {
  const size_t at = text.find('@');
  const std::string_view behind =
      at == std::string_view::npos ? std::string_view{} : text.substr(at + 1);
  const size_t blank = behind.find(' ');
  WrittenEntry entry;
  entry.receiver = shown_receiver(text.substr(0, at));
  entry.has_at = at != std::string_view::npos;
  entry.has_community = blank != std::string_view::npos;
  entry.port = behind.substr(0, blank);
  entry.tags_apart = tags_apart;
  return entry;
}

void read_entries(std::string_view targets, bool tags_apart, std::vector<WrittenEntry>& entries) {
  while (!targets.empty()) {
    const size_t end = std::min(targets.find(';'), targets.size());
    const std::string_view entry = trimmed(targets.substr(0, end));
    if (!entry.empty()) {
      entries.push_back(read_entry(entry, tags_apart));
    }
    targets.remove_prefix(std::min(end + 1, targets.size()));
  }
}

// The text between each pair of tags; the last one may have no end.
template <typename Taker>
void for_each_targets(std::string_view text, const Taker& take) {
  for (size_t start = text.find(kTargets); start != std::string_view::npos;
       start = text.find(kTargets, start)) {
    start += kTargets.size();
    const size_t end = text.find(kTargetsEnd, start);
    const bool has_end = end < text.find(kTargets, start);
    // Without an end of its own the rest of the line, not of the file.
    const size_t until = has_end ? end : std::min(text.find('\n', start), text.size());
    const std::string_view targets = text.substr(start, until - start);
    take(targets, !has_end || targets.find('\n') != std::string_view::npos);
  }
}

// Walks as the daemon does until a piece is too long.
void find_too_long(std::string_view targets, Settings& settings) {
  const auto fits = [&settings](std::string_view piece, size_t limit, const char* what) {
    if (piece.size() > limit && settings.too_long.empty()) {
      settings.too_long = what;
      settings.limit = limit;
    }
    return piece.size() <= limit;
  };
  if (!fits(targets, kTargetsTextMax, "The text between the targets tags")) {
    return;
  }
  while (true) {
    const size_t at = targets.find('@');
    if (at == std::string_view::npos ||
        !fits(targets.substr(0, at), kDestinationMax, "A receiver's name")) {
      return;
    }
    const size_t blank = targets.find(' ', at);
    if (blank == std::string_view::npos) {
      return;
    }
    const std::string_view rest = targets.substr(blank + 1);
    const std::string_view community = rest.substr(0, rest.find(';'));
    if (!fits(community, kCommunityMax, "A community") || community.size() == rest.size()) {
      return;
    }
    targets = rest.substr(community.size() + 1);
  }
}

// In a process of its own: the daemon's reading may abort.
std::string read_as_the_daemon(bool with_communities) {
  std::string text = "enabled=" + std::to_string(snmpEnabled()) + "\n";
  for (const std::string& destination : trap_destinations) {
    text += "receiver=" + destination + "\n";
  }
  for (size_t i = 0; i < trap_communities.size() && with_communities; ++i) {
    text += "community=" + trap_communities[i] + "\n";
  }
  return text;
}

void judge(const Job& job, std::string_view text, Settings& settings) {
  if (job.end == Job::End::kAborted) {
    settings.state = Settings::State::kTooLong;
    for_each_targets(text, [&](std::string_view targets, bool tags_apart) {
      if (!tags_apart) {
        find_too_long(targets, settings);
      }
    });
    return;
  }
  if (job.end != Job::End::kAnswered) {
    settings.state = Settings::State::kUnreadable;
    settings.why = "no answer within a second";
    return;
  }
  settings.state =
      value_of(job.text, "enabled") == "1" ? Settings::State::kEnabled : Settings::State::kDisabled;
  settings.destinations = values_of(job.text, "receiver");
  settings.communities = values_of(job.text, "community");
}

// Empty where the file can be read.
std::string why_unreadable(const char* path) {
  const File file = open_to_read(path);
  if (file == nullptr) {
    return strerror(errno);
  }
  errno = 0;
  fgetc(file.get());
  return ferror(file.get()) != 0 ? strerror(errno) : "";
}

}  // namespace

Settings read_settings(bool with_communities) {
  Settings settings;
  const char* path = host_files::kSnmpSettings;
  struct stat status = {};
  if (stat(path, &status) != 0) {
    const bool hidden = errno == EACCES;
    settings.state = hidden ? Settings::State::kNeedsRoot : Settings::State::kMissing;
    return settings;
  }
  settings.changed = std::max(status.st_mtime, status.st_ctime);
  settings.why = why_unreadable(path);
  if (!settings.why.empty()) {
    const bool hidden = geteuid() != 0 && access(path, R_OK) != 0;
    settings.state = hidden ? Settings::State::kNeedsRoot : Settings::State::kUnreadable;
    return settings;
  }
  Job job = start_job(kPatienceMs, [=] { return read_as_the_daemon(with_communities); });
  const std::string text = text_of_file(path);
  for_each_targets(text, [&](std::string_view targets, bool tags_apart) {
    read_entries(targets, tags_apart, settings.entries);
  });
  finish_jobs({&job});
  judge(job, text, settings);
  return settings;
}

std::string as_in_state_file(const std::string& destination) {
  const bool swallowed = destination.find(';') != std::string::npos;
  return std::string(shown_receiver(destination)) + (swallowed ? ";" : "");
}
