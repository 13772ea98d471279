// SPDX-License-Identifier: Apache-2.0
#include "daemon/state_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string_view>

#include "base/descriptor.h"
#include "bmc/channel.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/receiver_text.h"

namespace {

// Room for everything: three receivers of 32 characters, an address of 31.
using Text = std::array<char, 512>;

struct Paths {
  const char* file;
  const char* unfinished;
};
constexpr Paths kBmcPaths = {host_files::kBmcState, "/opt/ortdv/tmp/tvurevstate.text.new"};
constexpr Paths kAgentPaths = {host_files::kAgentState, "/opt/ortdv/tmp/tvurevagentstate.text.new"};

// What one process has written: the proxy, forked, begins anew.
template <typename State>
struct Written {
  time_t since = 0;
  std::optional<State> last;
};
Written<BmcState> g_bmc;
Written<AgentState> g_agent;

// Whether the state is another than the last one; the first begins the process's
// time.
template <typename State>
bool is_news(Written<State>& written, State state) {
  if (written.last == state) {
    return false;
  }
  written.last = state;
  if (written.since == 0) {
    written.since = time(nullptr);
  }
  return true;
}

// Appends "KEY=VALUE" and a mark, left out where they do not fit.
void append(Text& text, size_t& length, const char* key, std::string_view value,
            const char* mark = "") {
  const int added = snprintf(text.data() + length, text.size() - length, "%s=%.*s%s\n", key,
                             static_cast<int>(value.size()), value.data(), mark);
  if (added > 0 && static_cast<size_t>(added) < text.size() - length) {
    length += static_cast<size_t>(added);
  }
}

void append(Text& text, size_t& length, const char* key, long long value) {
  std::array<char, 24> number = {};
  snprintf(number.data(), number.size(), "%lld", value);
  append(text, length, key, number.data());
}

size_t begin(Text& text, time_t since, const char* state) {
  size_t length = 0;
  append(text, length, state_file::kPid, getpid());
  append(text, length, state_file::kVersion, TVUREV_VERSION);
  append(text, length, state_file::kSince, since);
  append(text, length, state_file::kState, state);
  append(text, length, state_file::kStateSince, time(nullptr));
  append(text, length, state_file::kHostAddress, host_ipaddress.data());
  for (const std::string& receiver : trap_destinations) {
    // One that swallowed the entry behind it is none, and must not look like one.
    const bool swallowed = receiver.find(';') != std::string::npos;
    append(text, length, state_file::kReceiver, shown_receiver(receiver), swallowed ? ";" : "");
  }
  return length;
}

bool write_whole(const char* path, std::string_view text) {
  unlink(path);  // whatever lies there, a link too
  const Descriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  return file.valid() &&
         write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

void put(const Paths& paths, std::string_view text) {
  if (!write_whole(paths.unfinished, text) || rename(paths.unfinished, paths.file) != 0) {
    unlink(paths.unfinished);
    unlink(paths.file);
  }
}

}  // namespace

void note_bmc_state(BmcState state) {
  if (!is_news(g_bmc, state)) {
    return;
  }
  const int error = errno;
  Text text = {};
  size_t length = begin(text, g_bmc.since, name_of(state));
  if (state == BmcState::kGreeting || state == BmcState::kConnected) {
    append(text, length, state_file::kChannel, last_opened_channel());
  }
  put(kBmcPaths, {text.data(), length});
  errno = error;
}

void note_agent_state(AgentState state) {
  if (!is_news(g_agent, state)) {
    return;
  }
  const int error = errno;
  Text text = {};
  size_t length = begin(text, g_agent.since, name_of(state));
  append(text, length, state_file::kAgent, state == AgentState::kServing ? 1 : 0);
  put(kAgentPaths, {text.data(), length});
  errno = error;
}
