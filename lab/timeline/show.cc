#include "lab/timeline/show.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <utility>

#include "lab/timeline/probes.h"

namespace {

using std::chrono::steady_clock;

// Nothing here should take longer; a slow machine may take much of it.
constexpr std::chrono::seconds kReadyLimit(30);
constexpr std::chrono::seconds kEndLimit(20);
constexpr std::chrono::seconds kInterruptedLimit(2);

// How often to look at what wakes nobody.
constexpr int kLookMs = 10;

constexpr const char* kStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
constexpr const char* kAgentStopFile = "/opt/ortdv/tmp/tvurevortstop.text";
constexpr const char* kShim = "/run/lab/libmoxshim.so";
constexpr const char* kTrapConfiguration = "/run/lab/snmptrapd.conf";
constexpr const char* kLastLogLine = "lab: end of the log";

void set_trouble(Show* show, const std::string& what) {
  if (show->trouble.empty()) {
    show->trouble = what;
  }
}

void take_bmc_line(Show* show, const std::string& line) {
  if (line == "mox-sim: ready") {
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
  if (line.starts_with("NET-SNMP version")) {
    show->snmptrapd_ready = true;
    return;
  }
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
  auto all = sources(show);
  for (const Source& source : all) {
    descriptors.push_back({source.child->output.get(), POLLIN, 0});
  }
  poll(descriptors.data(), descriptors.size(), timeout_ms);
  if (descriptors[0].revents != 0) {
    signalfd_siginfo taken;
    show->interrupted = read(show->signals.get(), &taken, sizeof(taken)) > 0;
  }
  if (descriptors[1].revents != 0) {
    take_input(show);
  }
  for (size_t i = 0; i < all.size(); ++i) {
    if (descriptors[i + 2].revents != 0) {
      read_lines(all[i].child, [&](const std::string& line) { all[i].take(show, line); });
    }
    reap(all[i].child);
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

// Starts a service and waits until it is ready, or says why it is not.
bool start(Show* show, Child* child, const std::string& label,
           const std::vector<std::string>& command, const std::function<bool()>& ready) {
  if (const std::string error = start_child(child, label, command); !error.empty()) {
    set_trouble(show, error);
    return false;
  }
  const bool in_time = pump_until(show, kReadyLimit, [&] {
    return ready() || child->exit_status.has_value() || show->interrupted;
  });
  if (child->exit_status) {
    set_trouble(show, label + " ended with status " + std::to_string(*child->exit_status));
  } else if (!in_time) {
    set_trouble(show, label + " did not become ready");
  }
  return in_time && !child->exit_status && !show->interrupted;
}

bool start_trap_receiver(Show* show) {
  const OwnedFd file(open(kTrapConfiguration, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (dprintf(file.get(), "disableAuthorization yes\n") < 0) {
    set_trouble(show, std::string(kTrapConfiguration) + ": cannot be written");
    return false;
  }
  std::vector<std::string> command = {"snmptrapd", "-f", "-Lo", "-On",
                                      "-n",        "-C", "-c",  kTrapConfiguration};
  for (const std::string& address : show->settings.receivers) {
    const bool ipv6 = address.find(':') != std::string::npos;
    command.push_back(ipv6 ? "udp6:[" + address + "]:162" : "udp:" + address + ":162");
  }
  return start(show, &show->snmptrapd, "snmptrapd", command,
               [show] { return show->snmptrapd_ready; });
}

bool start_bmc(Show* show) {
  std::vector<std::string> command = {show->settings.tools + "/mox-sim", "--live", "--stay"};
  if (!show->settings.nvram.empty()) {
    command.insert(command.end(), {"--nvram", show->settings.nvram});
  }
  if (!show->settings.scenario.empty()) {
    command.push_back(show->settings.scenario);
  } else {
    show->scenario_done = true;
    show->scenario_passed = true;
  }
  return start(show, &show->bmc, "mox-sim", command, [show] { return show->bmc_ready; });
}

bool start_everything(Show* show) {
  if (!start(show, &show->syslogd, "syslogd", {"busybox", "syslogd", "-n", "-O", "-"},
             syslog_is_ready) ||
      !start_trap_receiver(show) || !start_bmc(show)) {
    return false;
  }
  ::show(show->display, Stream::kLab, "starting tvurev");
  const std::string error =
      start_child(&show->daemon, "tvurev", {"/sbin/tvurev"},
                  {std::string("LD_PRELOAD=") + kShim, "ASAN_OPTIONS=verify_asan_link_order=0"});
  set_trouble(show, error);
  return error.empty();
}

// Hands the agent's notifications over. One receive of the daemon is one
// notification, so each waits until the one before it was taken.
void play_agent(Show* show) {
  const auto& notifications = show->settings.agent_notifications;
  if (show->notifications_sent == notifications.size()) {
    return;
  }
  if (!show->agent) {
    show->agent = OwnedFd(connect_as_agent());
  }
  if (show->agent && is_all_read(show->agent.get())) {
    const std::string& next = notifications[show->notifications_sent++];
    if (write(show->agent.get(), next.data(), next.size()) < 0) {
      set_trouble(show, "the agent's socket took no notification");
    }
  }
}

// Pumps until everything was played, or until the user ends it.
void play(Show* show) {
  while (!show->interrupted && !show->bmc_done) {
    pump(show, kLookMs);
    play_agent(show);
    if (show->daemon.exit_status && !show->daemon.output) {
      set_trouble(show, "tvurev ended with status " + std::to_string(*show->daemon.exit_status) +
                            (show->scenario_done ? "" : " before the scenario did"));
      return;
    }
    if (show->bmc.exit_status) {
      set_trouble(show, "mox-sim ended with status " + std::to_string(*show->bmc.exit_status));
      return;
    }
    if (show->scenario_done && !show->settings.keep &&
        show->notifications_sent == show->settings.agent_notifications.size()) {
      return;
    }
  }
}

void touch(const char* path) {
  const OwnedFd file(open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
}

// Lets the daemon's processes say goodbye, so that everything they were asked
// for is done.
void end_daemon(Show* show) {
  if (show->daemon.pid <= 0 || show->daemon.exit_status) {
    return;
  }
  ::show(show->display, Stream::kLab, "asking tvurev to stop");
  if (show->agent) {
    touch(kAgentStopFile);
    pump_until(show, kEndLimit, [show] { return is_closed_by_peer(show->agent.get()); });
  }
  touch(kStopFile);
  // It may be in a pause of ten seconds, for which nobody waits after Ctrl-C.
  const auto limit = show->interrupted ? kInterruptedLimit : kEndLimit;
  if (!pump_until(show, limit, [show] { return show->daemon.exit_status.has_value(); }) &&
      !show->interrupted) {
    set_trouble(show, "tvurev did not stop");
  }
}

// Lets the services say what they still have, in the order in which they would
// miss it.
void end_services(Show* show) {
  if (show->snmptrapd_ready) {
    pump_until(show, kEndLimit, [] { return trap_ports_are_empty(); });
    signal_child(show->snmptrapd, SIGTERM);
    pump_until(show, kEndLimit, [show] { return !show->snmptrapd.output; });
  }
  if (show->syslogd.pid > 0 && !show->syslogd.exit_status) {
    send_syslog(std::string("<30>") + kLastLogLine);
    pump_until(show, kEndLimit, [show] { return show->log_ended || !show->syslogd.output; });
  }
  signal_child(show->bmc, SIGTERM);
  pump_until(show, kEndLimit,
             [show] { return !show->bmc.output && (show->bmc.pid < 0 || show->bmc.exit_status); });
}

int summarise(Show* show) {
  ::show(show->display, Stream::kLab,
         std::to_string(show->bmc_packets) + " BMC packets, " + std::to_string(show->log_lines) +
             " log lines, " + std::to_string(show->traps) + " traps received");
  if (show->interrupted && !show->settings.keep) {
    return 128 + SIGINT;
  }
  if (!show->scenario_passed) {
    set_trouble(show, "the scenario failed");
  } else if (!show->settings.keep && show->traps == 0) {
    set_trouble(show, "no trap was received");
  } else if (show->bmc.exit_status.value_or(0) != 0 && isatty(STDIN_FILENO) == 0) {
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

int run_show(Show* show) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    sigaddset(&signals, number);
  }
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  sigdelset(&signals, SIGPIPE);
  show->signals = OwnedFd(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  show->display = make_display();

  if (start_everything(show)) {
    if (show->settings.keep) {
      show->input_open = true;
      show->display.prompt = isatty(STDIN_FILENO) != 0 ? "bmc> " : "";
      show_prompt(show->display);
    }
    play(show);
  }
  if (!std::exchange(show->display.prompt, "").empty()) {
    std::printf("\n");
  }
  show->input_open = false;
  end_daemon(show);
  end_services(show);
  for (Child* child : {&show->daemon, &show->bmc, &show->snmptrapd, &show->syslogd}) {
    destroy_child(child);
  }
  return summarise(show);
}
