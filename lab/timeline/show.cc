// SPDX-License-Identifier: Apache-2.0
#include "lab/timeline/show.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <utility>

#include "lab/capture/recording.h"
#include "lab/supervisor/child.h"
#include "lab/supervisor/local_client.h"
#include "lab/supervisor/local_socket.h"
#include "lab/supervisor/signals.h"
#include "lab/supervisor/trap_daemon.h"
#include "lab/timeline/display.h"
#include "lab/timeline/programs.h"

namespace {

using std::chrono::steady_clock;

// Nothing here should take longer; a slow machine may take much of it.
constexpr std::chrono::seconds kReadyLimit(30);
constexpr std::chrono::seconds kEndLimit(20);
constexpr std::chrono::seconds kInterruptedLimit(2);

// How often to look at what wakes nobody.
constexpr int kLookMs = 10;

constexpr int kSignalled = 128;

constexpr const char* kSystemLog = "/dev/log";
constexpr const char* kStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
constexpr const char* kAgentStopFile = "/opt/ortdv/tmp/tvurevortstop.text";
constexpr const char* kLastLogLine = "lab: end of the log";

struct Show {
  const ShowSettings& settings;
  Display display = make_display();
  Child syslogd = {};
  Child snmptrapd = {};
  Child bmc = {};
  Child daemon = {};
  Descriptor signals = {};
  LocalClient agent = {};
  Recording recording = {};

  // What was seen.
  int bmc_packets = 0;
  int log_lines = 0;
  int traps = 0;
  bool bmc_ready = false;
  bool scenario_done = false;
  bool scenario_passed = false;
  bool log_ended = false;
  bool bmc_done = false;  // it has played everything, typed events too
  bool interrupted = false;
  bool input_open = false;
  size_t notifications_sent = 0;  // of the agent's
  std::string trouble = {};       // the first thing that went wrong
};

void set_trouble(Show* show, const std::string& what) {
  if (show->trouble.empty()) {
    show->trouble = what;
  }
}

void take_bmc_line(Show* show, const std::string& line) {
  if (line == kBmcReady) {
    show->bmc_ready = true;
  } else if (line == "mox-sim: done") {
    show->bmc_done = true;
  } else if (line == "mox-sim: scenario passed" || line == "mox-sim: scenario failed") {
    show->scenario_done = true;
    show->scenario_passed = line.ends_with("passed");
    ::show(show->display, Stream::kLab, line.substr(line.find(' ') + 1));
  } else {
    show->bmc_packets += line.starts_with("channel") && (line.find(" < ") != std::string::npos ||
                                                         line.find(" > ") != std::string::npos);
    ::show(show->display, Stream::kBmc, line);
  }
}

void take_log_line(Show* show, const std::string& line) {
  if (line.find(kLastLogLine) != std::string::npos) {
    show->log_ended = true;
  } else if (line.find("syslogd started:") == std::string::npos) {
    ++show->log_lines;
    ::show(show->display, Stream::kLog, without_syslog_header(line));
  }
}

void take_trap_line(Show* show, const std::string& line) {
  const bool of_its_own = line.find("NET-SNMP version") != std::string::npos ||
                          line.starts_with("Stopping snmptrapd") ||
                          line.starts_with("Created directory") || line.empty();
  if (!of_its_own) {
    show->traps += line.find(" TRAP, SNMP v") != std::string::npos;
    ::show(show->display, Stream::kTrap, line);
  }
}

void take_input(Show* show) {
  std::array<char, 4096> bytes = {};
  const ssize_t length = read(STDIN_FILENO, bytes.data(), bytes.size());
  if (length <= 0) {
    show->input_open = false;
    show->bmc.input.reset();
    return;
  }
  if (write(show->bmc.input.get(), bytes.data(), static_cast<size_t>(length)) < 0) {
    show->input_open = false;
  }
  show_prompt(show->display);
}

struct Source {
  Child* child;
  void (*take)(Show* show, const std::string& line);
};

std::array<Source, 4> sources(Show* show) {
  return {{{&show->daemon,
            [](Show* at, const std::string& line) { ::show(at->display, Stream::kHost, line); }},
           {&show->bmc, take_bmc_line},
           {&show->syslogd, take_log_line},
           {&show->snmptrapd, take_trap_line}}};
}

// Waits a moment for anything and takes it.
void pump(Show* show, int timeout_ms) {
  std::vector<pollfd> descriptors = {{show->signals.get(), POLLIN, 0},
                                     {show->input_open ? STDIN_FILENO : -1, POLLIN, 0}};
  const auto all = sources(show);
  for (const Source& source : all) {
    source.child->add_descriptors(&descriptors);
  }
  show->recording.add_descriptors(&descriptors);
  poll(descriptors.data(), descriptors.size(), timeout_ms);
  if (const std::string error = show->recording.pump(); !error.empty()) {
    set_trouble(show, error);
  }
  if (descriptors[0].revents != 0) {
    signalfd_siginfo taken;
    show->interrupted = read(show->signals.get(), &taken, sizeof(taken)) > 0;
  }
  if (descriptors[1].revents != 0) {
    take_input(show);
  }
  for (const Source& source : all) {
    source.child->pump();
    for (const std::string& line : source.child->take_lines()) {
      source.take(show, line);
    }
  }
}

// Pumps until done() or the time is over.
bool pump_until(Show* show, std::chrono::seconds limit, const std::function<bool()>& done) {
  const auto end = steady_clock::now() + limit;
  while (!done()) {
    if (steady_clock::now() >= end) {
      return false;
    }
    pump(show, kLookMs);
  }
  return true;
}

void set_ended(Show* show, const std::string& label, const Child& child, const char* when = "") {
  set_trouble(show, label + " ended with status " + std::to_string(child.status()) + when);
}

bool start(Show* show, Child* child, const std::string& label, const Program& program) {
  const std::string error = child->start(program);
  if (!error.empty()) {
    set_trouble(show, label + ": cannot start " + error);
  }
  return error.empty();
}

// Starts a service and waits until it is ready, or says why it is not.
bool start_service(Show* show, Child* child, const std::string& label, const Program& program,
                   const std::function<bool()>& ready) {
  if (!start(show, child, label, program)) {
    return false;
  }
  const bool in_time =
      pump_until(show, kReadyLimit, [&] { return ready() || child->ended() || show->interrupted; });
  if (child->ended()) {
    set_ended(show, label, *child);
  } else if (!in_time) {
    set_trouble(show, label + " did not become ready");
  }
  return in_time && !child->ended() && !show->interrupted;
}

bool start_everything(Show* show) {
  const ShowSettings& settings = show->settings;
  show->scenario_done = show->scenario_passed = settings.scenario.empty();
  const auto log_is_read = [] { return connect_local(SOCK_DGRAM, kSystemLog).valid(); };
  if (!start_service(
          show, &show->syslogd, "syslogd",
          {.arguments = {"busybox", "syslogd", "-n", "-O", "-"}, .output = Program::kMerged},
          log_is_read) ||
      !start_service(show, &show->snmptrapd, "snmptrapd", receiver_program(settings),
                     [&] { return trap_ports_are_open(settings.receivers); }) ||
      !start_service(show, &show->bmc, "mox-sim", bmc_program(settings),
                     [show] { return show->bmc_ready; })) {
    return false;
  }
  ::show(show->display, Stream::kLab, "starting tvurev");
  return start(
      show, &show->daemon, "tvurev",
      {.arguments = {"/sbin/tvurev"}, .environment = on_host(), .output = Program::kMerged});
}

// Hands the agent's notifications over. One receive of the daemon is one
// notification, so each waits until the one before it was taken.
void play_agent(Show* show) {
  const auto& notifications = show->settings.agent_notifications;
  if (show->notifications_sent == notifications.size()) {
    return;
  }
  if (!show->agent.connected()) {
    show->agent.connect();
  }
  if (show->agent.connected() && show->agent.is_all_read() &&
      !show->agent.send(notifications[show->notifications_sent++])) {
    set_trouble(show, "the agent's socket took no notification");
  }
}

// Pumps until everything was played, or until the user ends it.
void play(Show* show) {
  while (!show->interrupted && !show->bmc_done) {
    pump(show, kLookMs);
    play_agent(show);
    if (show->daemon.ended()) {
      return set_ended(show, "tvurev", show->daemon,
                       show->scenario_done ? "" : " before the scenario did");
    }
    if (show->bmc.ended()) {
      return set_ended(show, "mox-sim", show->bmc);
    }
    if (show->scenario_done && !show->settings.keep &&
        show->notifications_sent == show->settings.agent_notifications.size()) {
      return;
    }
  }
}

void touch(const char* path) {
  const Descriptor file(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
}

// Lets the daemon's processes say goodbye, so that everything they were asked
// for is done.
void end_daemon(Show* show) {
  if (!show->daemon.running()) {
    return;
  }
  ::show(show->display, Stream::kLab, "asking tvurev to stop");
  if (show->agent.connected()) {
    touch(kAgentStopFile);
    pump_until(show, kEndLimit, [show] { return show->agent.is_hung_up(); });
  }
  touch(kStopFile);
  // It may be in a pause of ten seconds, for which nobody waits after Ctrl-C.
  const auto limit = show->interrupted ? kInterruptedLimit : kEndLimit;
  if (!pump_until(show, limit, [show] { return show->daemon.ended(); }) && !show->interrupted) {
    set_trouble(show, "tvurev did not stop");
  }
}

// Lets the services say what they still have, in the order in which they would
// miss it.
void end_services(Show* show) {
  if (show->snmptrapd.running()) {
    pump_until(show, kEndLimit, [] { return trap_ports_are_empty(); });
    show->snmptrapd.signal(SIGTERM);
    pump_until(show, kEndLimit, [show] { return show->snmptrapd.ended(); });
  }
  if (show->syslogd.running()) {
    const std::string last = std::string("<30>") + kLastLogLine;
    send(connect_local(SOCK_DGRAM, kSystemLog).get(), last.data(), last.size(), MSG_NOSIGNAL);
    pump_until(show, kEndLimit, [show] { return show->log_ended || show->syslogd.ended(); });
  }
  show->bmc.signal(SIGTERM);
  pump_until(show, kEndLimit, [show] { return !show->bmc.running(); });
}

int summarise(Show* show) {
  ::show(show->display, Stream::kLab,
         std::to_string(show->bmc_packets) + " BMC packets, " + std::to_string(show->log_lines) +
             " log lines, " + std::to_string(show->traps) + " traps received");
  if (show->interrupted && !show->settings.keep) {
    return kSignalled + SIGINT;
  }
  if (!show->scenario_passed) {
    set_trouble(show, "the scenario failed");
  } else if (!show->settings.keep && show->traps == 0) {
    set_trouble(show, "no trap was received");
  } else if (show->bmc.ended() && show->bmc.status() != 0 && isatty(STDIN_FILENO) == 0) {
    // At a terminal one may mistype.
    set_trouble(show, "an event failed");
  }
  if (!show->trouble.empty()) {
    std::fprintf(stderr, "lab: %s\n", show->trouble.c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int run_show(const ShowSettings& settings) {
  Show show = {.settings = settings};
  show.signals = hold_signals();
  signal(SIGPIPE, SIG_IGN);  // the BMC may be gone when a line is typed
  if (!settings.pcap.empty()) {
    set_trouble(&show, show.recording.open(settings.pcap));
  }
  if (show.trouble.empty() && start_everything(&show)) {
    if (settings.keep) {
      show.input_open = true;
      show.display.prompt = isatty(STDIN_FILENO) != 0 ? "bmc> " : "";
      show_prompt(show.display);
    }
    play(&show);
  }
  if (!std::exchange(show.display.prompt, "").empty()) {
    std::printf("\n");
  }
  show.input_open = false;
  end_daemon(&show);
  end_services(&show);
  return summarise(&show);
}
