// SPDX-License-Identifier: Apache-2.0
#include "ctl/processes.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>

#include "base/file.h"
#include "wire/host_files.h"

namespace {

// The second is linked statically, for hosts without a loader.
constexpr std::array<std::string_view, 2> kPrograms = {"tvurev", "tvurev-static"};
constexpr std::string_view kDeleted = " (deleted)";

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

std::string path_of(pid_t pid, const char* name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

// Empty where there is no link or it may not be read.
std::string link_target(const std::string& path) {
  std::array<char, PATH_MAX> target = {};
  const ssize_t length = readlink(path.c_str(), target.data(), target.size());
  return length <= 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}

std::vector<pid_t> numbers_in(const std::string& path) {
  std::vector<pid_t> numbers;
  const Folder folder(opendir(path.c_str()));
  while (folder != nullptr) {
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) {
      break;
    }
    pid_t number = 0;
    const char* end = entry->d_name + strlen(entry->d_name);
    if (std::from_chars(entry->d_name, end, number).ptr == end) {
      numbers.push_back(number);
    }
  }
  return numbers;
}

// What is looked at of a process that may be the daemon's.
struct Look {
  pid_t pid = 0;
  bool replaced = false;
  char state = 0;
  pid_t parent = 0;
  pid_t session = 0;
  unsigned long long start_ticks = 0;
  uint64_t caught = 0;  // signals
};

bool read_stat(Look& look) {
  const File file = open_to_read(path_of(look.pid, "stat").c_str());
  std::array<char, 1024> line = {};
  if (file == nullptr || !read_line(file.get(), line)) {
    return false;
  }
  const char* fields = strrchr(line.data(), ')');  // behind the name, which may hold anything
  return fields != nullptr &&
         sscanf(fields,
                ") %c %d %*d %d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu",
                &look.state, &look.parent, &look.session, &look.start_ticks) == 4;
}

uint64_t caught_signals(pid_t pid) {
  const File file = open_to_read(path_of(pid, "status").c_str());
  std::array<char, 256> line = {};
  unsigned long long caught = 0;
  while (file != nullptr && read_line(file.get(), line)) {
    if (sscanf(line.data(), "SigCgt: %llx", &caught) == 1) {
      break;
    }
  }
  return caught;
}

bool catches(const Look& look, int signal) {
  return ((look.caught >> (signal - 1)) & 1U) != 0;
}

// Whether the process's program file is the daemon's; fills the look then.
bool look_at(pid_t pid, Look& look) {
  std::string program = link_target(path_of(pid, "exe"));
  look.pid = pid;
  look.replaced = program.ends_with(kDeleted);
  if (look.replaced) {
    program.resize(program.size() - kDeleted.size());
  }
  const std::string name = program.substr(program.rfind('/') + 1);
  if (std::ranges::find(kPrograms, name) == kPrograms.end() || !read_stat(look)) {
    return false;
  }
  look.caught = caught_signals(pid);
  return look.state != 'Z' && look.state != 'X';
}

// When the host was started.
time_t boot_time() {
  const File file = open_to_read("/proc/stat");
  std::array<char, 4096> line = {};
  long long seconds = 0;
  while (file != nullptr && read_line(file.get(), line)) {
    if (sscanf(line.data(), "btime %lld", &seconds) == 1) {
      break;
    }
  }
  return seconds;
}

// The sockets behind a path, as "socket:[NUMBER]".
std::vector<std::string> listening_sockets(const std::string& path, bool& visible) {
  std::vector<std::string> sockets;
  const File file = open_to_read("/proc/net/unix");
  visible = file != nullptr;
  std::array<char, 512> line = {};
  while (file != nullptr && read_line(file.get(), line)) {
    unsigned flags = 0;
    unsigned long number = 0;
    std::array<char, 256> bound = {};
    constexpr unsigned kAccepts = 0x10000;
    if (sscanf(line.data(), "%*s %*x %*x %x %*x %*x %lu %255s", &flags, &number, bound.data()) ==
            3 &&
        path == bound.data() && (flags & kAccepts) != 0) {
      sockets.push_back("socket:[" + std::to_string(number) + "]");
    }
  }
  return sockets;
}

bool has_open(pid_t pid, const std::vector<std::string>& targets) {
  for (const pid_t fd : numbers_in(path_of(pid, "fd"))) {
    const std::string target = link_target(path_of(pid, "fd/") + std::to_string(fd));
    if (std::ranges::find(targets, target) != targets.end()) {
      return true;
    }
  }
  return false;
}

DaemonProcess as_process(const Look& look, ProcessKind kind, bool orphaned, time_t boot) {
  const auto ticks_a_second = static_cast<unsigned long long>(sysconf(_SC_CLK_TCK));
  return {.pid = look.pid,
          .kind = kind,
          .orphaned = orphaned,
          .halted = look.state == 'T' || look.state == 't',
          .replaced = look.replaced,
          .since = boot + static_cast<time_t>(look.start_ticks / ticks_a_second)};
}

}  // namespace

bool have_proc() {
  return !link_target("/proc/self/exe").empty();
}

std::vector<DaemonProcess> ProcessList::of(ProcessKind kind) const {
  std::vector<DaemonProcess> some;
  std::ranges::copy_if(all, std::back_inserter(some),
                       [&](const DaemonProcess& process) { return process.kind == kind; });
  return some;
}

bool ProcessList::holds(pid_t pid) const {
  return std::ranges::find(all, pid, &DaemonProcess::pid) != all.end();
}

// Told apart by what they do: the proxy has the agent socket, or is a session of
// its own below the first process; a timer is one that has given the handling of
// SIGTERM up, but not that of SIGHUP; other children live for moments only.
ProcessList find_daemon_processes() {
  ProcessList list;
  list.visible = geteuid() == 0 && have_proc();
  if (!list.visible) {
    return list;
  }
  std::vector<Look> looks;
  for (const pid_t pid : numbers_in("/proc")) {
    Look look;
    if (look_at(pid, look)) {
      looks.push_back(look);
    }
  }
  bool visible = false;
  const std::vector<std::string> sockets = listening_sockets(host_files::kAgentSocket, visible);
  const time_t boot = boot_time();
  for (const Look& look : looks) {
    const bool has_parent = std::ranges::find(looks, look.parent, &Look::pid) != looks.end();
    const bool leads_session = look.session == look.pid;
    if (!sockets.empty() && has_open(look.pid, sockets)) {
      list.all.push_back(as_process(look, ProcessKind::kRelay, !has_parent, boot));
    } else if (leads_session && catches(look, SIGHUP) && !catches(look, SIGTERM)) {
      list.all.push_back(as_process(look, ProcessKind::kTimer, !has_parent, boot));
    } else if (leads_session && has_parent) {
      list.all.push_back(as_process(look, ProcessKind::kRelay, false, boot));
    } else if (!has_parent) {
      list.all.push_back(as_process(look, ProcessKind::kMain, false, boot));
    }
  }
  return list;
}

Listeners find_listeners(const std::string& path) {
  Listeners listeners;
  const std::vector<std::string> sockets = listening_sockets(path, listeners.visible);
  if (sockets.empty()) {
    return listeners;
  }
  for (const pid_t pid : numbers_in("/proc")) {
    if (has_open(pid, sockets)) {
      listeners.processes.push_back(pid);
    }
  }
  if (listeners.processes.empty()) {
    listeners.processes.push_back(0);
  }
  return listeners;
}

std::vector<std::string> command_line_of(pid_t pid) {
  std::vector<std::string> words;
  const File file = open_to_read(path_of(pid, "cmdline").c_str());
  std::array<char, 4096> bytes = {};
  const size_t length = file == nullptr ? 0 : fread(bytes.data(), 1, bytes.size() - 1, file.get());
  for (size_t start = 0; start < length; start += words.back().size() + 1) {
    words.emplace_back(bytes.data() + start);
  }
  return words;
}
