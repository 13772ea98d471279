// SPDX-License-Identifier: Apache-2.0
#include "ctl/command_line.h"

#include <sys/stat.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "ctl/check.h"
#include "ctl/commands.h"
#include "ctl/format.h"
#include "ctl/report.h"
#include "ctl/steering.h"
#include "ctl/test_trap.h"

namespace {

constexpr mode_t kWritableByOwnerOnly = 022;

// What was asked for. The command is chosen by its subcommand.
struct Request {
  bool json = false;
  bool show_communities = false;
  bool no_bmc = false;
  bool no_probe = false;
  TestTrapOptions test_trap;
  std::string part;
  std::string action;
  std::vector<std::string> modules;
  std::string output;
  std::function<int(const Request&)> command;

  CheckOptions check() const { return {.bmc = !no_bmc, .probe = !no_probe}; }
};

bool wants_colour() {
  const char* no_colour = getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || *no_colour == '\0');
}

int print(const std::string& text, int status) {
  fwrite(text.data(), 1, text.size(), stdout);
  if (fflush(stdout) != 0) {
    fprintf(stderr, "tvurevctl: standard output: %s\n", strerror(errno));
    return kExitCannotTell;
  }
  return status;
}

// A mistake in the command line is told where mistakes are.
int print(const Request& request, const Outcome& outcome) {
  if (outcome.exit_status == kExitUsage) {
    fprintf(stderr, "tvurevctl: %s\n", outcome.summary.c_str());
    return kExitUsage;
  }
  return print(request.json ? json_of(outcome) : text_of(outcome), outcome.exit_status);
}

int do_check(const Request& request) {
  const CheckReport report = run_check(request.check());
  return print(request.json ? json_of(report) : text_of(report, wants_colour()),
               report.exit_status);
}

int do_stop(const Request& request) {
  const Part part = request.part == "bmc"     ? Part::kBmc
                    : request.part == "agent" ? Part::kAgent
                                              : Part::kBoth;
  return print(request, run_stop(part));
}

int do_debug(const Request& request) {
  const DebugAction action = request.action == "on"    ? DebugAction::kOn
                             : request.action == "off" ? DebugAction::kOff
                                                       : DebugAction::kList;
  return print(request, run_debug(action, request.modules));
}

int do_mode(const Request& request) {
  const ModeAction action = request.action == "on"    ? ModeAction::kOn
                            : request.action == "off" ? ModeAction::kOff
                                                      : ModeAction::kShow;
  return print(request, run_mode(action));
}

// The one table of commands.
struct Command {
  const char* name;
  const char* description;
  const char* example;
  int (*run)(const Request& request);
  void (*add_options)(CLI::App& app, Request& request);
};

void add_nothing(CLI::App& /*app*/, Request& /*request*/) {}

void add_check_options(CLI::App& app, Request& request) {
  app.add_flag("--no-bmc", request.no_bmc, "Leave the BMC alone");
  app.add_flag("--no-probe", request.no_probe, "Send the receivers no empty datagram");
}

void add_communities_option(CLI::App& app, Request& request) {
  app.add_flag("--show-communities", request.show_communities,
               "Show communities, which are secret");
}

void add_test_trap_options(CLI::App& app, Request& request) {
  app.add_option("--receiver", request.test_trap.receiver, "Only this receiver of the settings");
  app.add_option("--oid", request.test_trap.oid, "The trap's object identifier");
  app.add_option("--text", request.test_trap.text, "The text of its one variable");
  app.add_flag("--through-daemon", request.test_trap.through_daemon,
               "Take the agent socket: a host agent is kept out for 30 seconds");
}

void add_part_option(CLI::App& app, Request& request) {
  app.add_option("part", request.part, "bmc or agent; both without it")
      ->check(CLI::IsMember({"bmc", "agent"}));
}

void add_debug_options(CLI::App& app, Request& request) {
  app.add_option("action", request.action, "on or off; lists without it")
      ->check(CLI::IsMember({"on", "off"}));
  app.add_option("module", request.modules, "Switches, such as tvud, chif or utils");
}

void add_mode_option(CLI::App& app, Request& request) {
  app.add_option("action", request.action, "on or off; shows without it")
      ->check(CLI::IsMember({"on", "off"}));
}

void add_report_options(CLI::App& app, Request& request) {
  add_check_options(app, request);
  add_communities_option(app, request);
  app.add_option("--output", request.output, "The folder to write to; the current one without it");
}

constexpr std::array kCommands = {
    Command{"check", "Tell whether a trap would arrive, and if not, why", "tvurevctl check",
            do_check, add_check_options},
    Command{"status", "Show the processes and what is in force", "tvurevctl status --json",
            [](const Request& r) { return print(r, run_status(r.show_communities)); },
            add_communities_option},
    Command{"test-trap", "Send a test trap to the receivers",
            "tvurevctl test-trap --oid 1.3.6.1.4.1.32473.1.0.9 --text \"rack 7\"",
            [](const Request& r) { return print(r, run_test_trap(r.test_trap)); },
            add_test_trap_options},
    Command{"restart", "Make tvurev read its settings again", "tvurevctl restart",
            [](const Request& r) { return print(r, run_restart()); }, add_nothing},
    Command{"stop", "End tvurev, or one of its processes", "tvurevctl stop agent", do_stop,
            add_part_option},
    Command{"debug", "List, set or remove debug switches", "tvurevctl debug on utils", do_debug,
            add_debug_options},
    Command{"forget", "Forget the BMC's generation, unless it is 6", "tvurevctl forget",
            [](const Request& r) { return print(r, run_forget()); }, add_nothing},
    Command{"mode", "Show or set the BMC's reverse mode", "tvurevctl mode on", do_mode,
            add_mode_option},
    Command{"report", "Write an archive for a support case", "tvurevctl report --output /tmp",
            [](const Request& r) {
              return print(r, run_report({r.output, r.show_communities, r.check()}));
            },
            add_report_options},
};

void add_commands(CLI::App& app, Request& request) {
  for (const Command& command : kCommands) {
    CLI::App* added = app.add_subcommand(command.name, command.description);
    added->add_flag("--json", request.json, "Print one JSON document instead of text");
    added->footer(std::string("Example: ") + command.example);
    command.add_options(*added, request);
    added->callback([&request, &command] { request.command = command.run; });
  }
}

// Returns the exit status of a command line that stops at parsing: help, version
// or a mistake.
int end_of_parsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    return app.exit(error);
  }
  fprintf(stderr, "tvurevctl: %s; see \"tvurevctl --help\"\n", error.what());
  return kExitUsage;
}

}  // namespace

int run_tvurevctl(int argc, const char* const* argv) {
  Request request;
  CLI::App app("Tells whether tvurev's traps would arrive, and steers it.", "tvurevctl");
  app.set_version_flag("--version", std::string("tvurevctl ") + TVUREV_VERSION);
  app.add_flag("--json", request.json, "Print one JSON document instead of text");
  app.require_subcommand(0, 1);  // so that an unknown word is named as such
  app.footer(
      "Exit status: 0 a trap would arrive at every receiver, or done; 1 not at every one, "
      "or not done; 2 a mistake in the command line; 3 cannot tell.");
  add_commands(app, request);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return end_of_parsing(app, error);
  }
  if (!request.command) {
    fprintf(stderr, "tvurevctl: a command is needed; see \"tvurevctl --help\"\n");
    return kExitUsage;
  }
  umask(kWritableByOwnerOnly);
  signal(SIGPIPE, SIG_IGN);
  return request.command(request);
}
