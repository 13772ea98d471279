// SPDX-License-Identifier: Apache-2.0
#include "ctl/states.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>

#include "base/file.h"
#include "ctl/jobs.h"
#include "wire/host_files.h"

namespace {

// Longer ones are not ours.
constexpr size_t kLongestFile = 1 << 20;

long long number_of(const std::string& text) {
  long long number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

bool is_alive(pid_t pid) {
  return pid > 1 && (kill(pid, 0) == 0 || errno == EPERM);
}

}  // namespace

std::string text_of_file(const char* path) {
  std::string text;
  const File file = open_to_read(path);
  std::array<char, 4096> bytes = {};
  while (file != nullptr && text.size() < kLongestFile) {
    const size_t length = fread(bytes.data(), 1, bytes.size(), file.get());
    if (length == 0) {
      break;
    }
    text.append(bytes.data(), length);
  }
  return text;
}

std::optional<StateFile> read_state_file(const char* path, const ProcessList& processes) {
  const std::string text = text_of_file(path);
  const auto number = [&](const char* key) { return number_of(value_of(text, key)); };
  const auto pid = static_cast<pid_t>(number(state_file::kPid));
  if (processes.visible ? !processes.holds(pid) : !is_alive(pid)) {
    return std::nullopt;
  }
  StateFile state;
  state.pid = pid;
  state.version = value_of(text, state_file::kVersion);
  state.since = number(state_file::kSince);
  state.state = value_of(text, state_file::kState);
  state.state_since = number(state_file::kStateSince);
  state.host_address = value_of(text, state_file::kHostAddress);
  state.receivers = values_of(text, state_file::kReceiver);
  const std::string channel = value_of(text, state_file::kChannel);
  state.channel = channel.empty() ? -1 : static_cast<int>(number_of(channel));
  state.agent = number(state_file::kAgent) != 0;
  return state;
}

Supervisor read_supervisor() {
  const std::string text = text_of_file(host_files::kSupervisorState);
  Supervisor supervisor;
  supervisor.pid = static_cast<pid_t>(number_of(value_of(text, "pid")));
  supervisor.state = value_of(text, "state");
  supervisor.until = number_of(value_of(text, "until"));
  supervisor.last_exit = value_of(text, "last_exit");
  supervisor.last_signal = value_of(text, "last_signal");
  supervisor.starts = value_of(text, "starts");
  const std::vector<std::string> words = command_line_of(supervisor.pid);
  const bool is_it = std::ranges::any_of(words, [](const std::string& word) {
    return word.substr(word.rfind('/') + 1) == host_files::kSupervisor;
  });
  supervisor.runs = have_proc() ? is_it : is_alive(supervisor.pid);
  return supervisor;
}

std::string time_text(time_t time) {
  tm parts = {};
  std::array<char, 32> text = {};
  if (time <= 0 || localtime_r(&time, &parts) == nullptr ||
      strftime(text.data(), text.size(), "%F %T", &parts) == 0) {
    return "?";
  }
  return text.data();
}
