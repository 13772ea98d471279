// SPDX-License-Identifier: Apache-2.0
// lab-bare: a life of the installed package on a bare host (lab/run --bare), told
// line by line: the init script starts it, a notification becomes a trap, the
// daemon is killed and comes back, "stop" leaves no process. Exits with 1 at the
// first thing that does not happen, or when memory is beyond its limits. Linked
// statically, because that host has no library for it. Time is real.
#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/scenario.h"
#include "lab/sim/simulator.h"
#include "lab/supervisor/child.h"
#include "lab/supervisor/syslog_socket.h"
#include "lab/supervisor/trap_receiver.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* kInit = "/etc/init.d/tvurev";
constexpr const char* kDaemon = "/opt/ortdv/sbin/tvurev";
constexpr const char* kConnected = "6 ortdv: [tvud]: BMC Reverse channel is [";
constexpr std::chrono::seconds kPatience(60);

struct Limits {
  const char* process;
  long resident_kib;
  long anonymous_kib;
};
constexpr Limits kFirst = {"first process", 2560, 307};
constexpr Limits kProxy = {"socket proxy", 2252, 307};

Simulator g_bmc;
TrapReceiver g_receiver;
SyslogSocket g_syslog;
size_t g_lines_shown = 0;
size_t g_traps_shown = 0;

[[noreturn]] void give_up(const std::string& what) {
  std::printf("FAILED: %s\n", what.c_str());
  std::exit(1);
}

void must(const std::string& error) {
  if (!error.empty()) {
    give_up(error);
  }
}

void step(const char* what) {
  std::printf("== %s\n", what);
  std::fflush(stdout);
}

void show_news() {
  for (; g_lines_shown < g_syslog.lines().size(); ++g_lines_shown) {
    const LogLine& line = g_syslog.lines()[g_lines_shown];
    std::printf("log   %s\n", line.text.c_str());
  }
  for (; g_traps_shown < g_receiver.count(); ++g_traps_shown) {
    std::printf("trap  %s\n", g_receiver.traps()[g_traps_shown].c_str());
  }
  std::fflush(stdout);
}

void move_everything() {
  std::vector<pollfd> descriptors = g_bmc.descriptors();
  descriptors.push_back({g_syslog.fd(), POLLIN, 0});
  descriptors.push_back({g_receiver.fd(), POLLIN, 0});
  poll(descriptors.data(), descriptors.size(), 5);
  g_receiver.pump();
  g_syslog.pump();
  g_bmc.step(0);
  show_news();
}

void wait_until(const std::function<bool()>& done, const char* what) {
  const auto end = steady_clock::now() + kPatience;
  while (!done()) {
    if (steady_clock::now() > end) {
      give_up(std::string("in a minute not: ") + what);
    }
    move_everything();
  }
}

size_t connects() {
  return static_cast<size_t>(std::ranges::count_if(
      g_syslog.lines(), [](const LogLine& line) { return line.text.starts_with(kConnected); }));
}

// Runs the init script as a host does; the device's shim goes into what it starts.
void run_init(const char* word) {
  Child init;
  must(init.start({.arguments = {kInit, word},
                   .environment = {"LD_PRELOAD=/run/lab/libmoxshim.so"},
                   .output = Program::kMerged}));
  wait_until(
      [&] {
        init.pump();
        return init.ended();
      },
      "the end of the init script");
  for (const std::string& line : init.take_lines()) {
    std::printf("init  %s\n", line.c_str());
  }
  if (init.status() != 0) {
    give_up("the init script's status is " + std::to_string(init.status()));
  }
}

std::string text_of(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Those of the daemon, or with its supervisor, by the start of a command line.
std::vector<pid_t> processes_of(std::string_view command) {
  std::vector<pid_t> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") == std::string::npos &&
        text_of(entry.path() / "cmdline").find(command) != std::string::npos) {
      found.push_back(std::stoi(name));
    }
  }
  std::ranges::sort(found);
  return found;
}

std::vector<pid_t> daemon_processes() {
  std::vector<pid_t> found = processes_of(kDaemon);
  std::erase_if(found, [](pid_t pid) {
    return !text_of("/proc/" + std::to_string(pid) + "/cmdline").starts_with(kDaemon) ||
           text_of("/proc/" + std::to_string(pid) + "/cmdline") != std::string(kDaemon) + '\0';
  });
  return found;
}

long field_kib(pid_t pid, const std::string& field) {
  const std::string status = text_of("/proc/" + std::to_string(pid) + "/status");
  const size_t at = status.find("\n" + field + ":");
  return at == std::string::npos ? -1 : std::strtol(&status[at + field.size() + 2], nullptr, 10);
}

void judge_memory(pid_t pid, const Limits& limits) {
  const long resident = field_kib(pid, "VmRSS");
  const long anonymous = field_kib(pid, "RssAnon");
  std::printf("host  %s: %ld KiB resident, %ld of them anonymous\n", limits.process, resident,
              anonymous);
  if (resident <= 0 || resident > limits.resident_kib || anonymous > limits.anonymous_kib) {
    give_up("at most " + std::to_string(limits.resident_kib) + " and " +
            std::to_string(limits.anonymous_kib) + " KiB are allowed");
  }
}

pid_t start_and_measure() {
  const auto begin = steady_clock::now();
  run_init("start");
  wait_until([] { return connects() == 1; }, "a connect");
  const auto taken = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
  std::printf("host  connected %lld ms after the init script's start\n",
              static_cast<long long>(taken.count()));
  wait_until(
      [] {
        return daemon_processes().size() == 2 &&
               std::filesystem::exists("/opt/ortdv/tmp/tvurevrunning.text");
      },
      "two processes");
  const std::vector<pid_t> processes = daemon_processes();
  judge_memory(processes[0], kFirst);
  judge_memory(processes[1], kProxy);
  return processes[0];
}

void relay_one() {
  const size_t before = g_receiver.count();
  const ParsedEvent event = parse_event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=100");
  must(event.error);
  must(g_bmc.execute(*event.event));
  wait_until([&] { return g_receiver.count() > before; }, "a trap");
}

void play() {
  step("start");
  const pid_t daemon = start_and_measure();
  step("a notification");
  relay_one();
  step("the daemon is killed");
  kill(daemon, SIGKILL);
  wait_until([] { return connects() == 2; }, "a second connect");
  step("a notification to the one that came back");
  relay_one();
  step("stop");
  run_init("stop");
  wait_until([] { return processes_of("tvurev").empty(); }, "no process left");
  std::printf("host  no process is left\n");
}

}  // namespace

int main() {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  signal(SIGCHLD, SIG_DFL);
  must(g_syslog.open());
  must(g_bmc.open_channels());
  must(g_receiver.open("192.0.2.7"));
  play();
  return 0;
}
