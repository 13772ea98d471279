// SPDX-License-Identifier: Apache-2.0
#include "ortinv/command_line.h"

#include <ortinv/interval.h>
#include <ortinv/library.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "ortinv/bmc_commands.h"
#include "ortinv/host_commands.h"
#include "ortinv/json_format.h"
#include "ortinv/report.h"
#include "ortinv/smbios_commands.h"
#include "ortinv/text_format.h"

namespace {

// What was asked for. The command is chosen by its subcommand.
struct Request {
  bool json = false;
  std::optional<uint32_t> type;
  std::string pci_address;
  std::string serial;
  std::string package;
  std::string mode;
  int selector = 0;
  std::optional<uint32_t> interval;
  bool write = false;
  std::function<void(Report&)> command;
};

void show_smbios(const Request& request, Report& report) {
  if (request.json) {
    report_smbios(request.type, report);
  } else {
    dump_smbios(request.type, report);
  }
}

void show_all(const Request& request, Report& report) {
  show_smbios(request, report);
  if (!request.json && report.problems.empty()) {
    putchar('\n');  // between the dumps and the rest
  }
  report_all_pci(report);
  report_all_drives(report);
  report_host(report);
  report_software("", report);
  report_bmc(report);
  report_entity_mib(false, report);
  report.missing.clear();  // nothing was asked for by name
}

// "1, 2 or 3".
template <typename Number>
std::string choice_text(const std::vector<Number>& numbers) {
  std::string text;
  for (size_t i = 0; i < numbers.size(); ++i) {
    text += i == 0 ? "" : (i + 1 == numbers.size() ? " or " : ", ");
    text += std::to_string(numbers[i]);
  }
  return text;
}

// Adds a subcommand that runs command and knows --json.
CLI::App* add_command(CLI::App& app, Request& request, const std::string& name,
                      const std::string& description, std::function<void(Report&)> command) {
  CLI::App* added = app.add_subcommand(name, description);
  added->add_flag("--json", request.json, "Print one JSON document instead of text");
  added->callback([&request, command = std::move(command)] { request.command = command; });
  return added;
}

void add_smbios_commands(CLI::App& app, Request& request) {
  CLI::App* smbios = add_command(app, request, "smbios", "Dump records of the SMBIOS table",
                                 [&](Report& report) { show_smbios(request, report); });
  smbios->add_option("--type", request.type, "Only this type: " + choice_text(dumped_types()))
      ->check(CLI::IsMember(dumped_types()));

  CLI::App* pci = add_command(
      app, request, "pci", "Say where a PCI device sits and what it is", [&](Report& report) {
        report_pci(parse_pci_address(request.pci_address).value_or(PciAddress{}), report);
      });
  pci->add_option("address", request.pci_address, "SSSS:BB:DD.F, hexadecimal")
      ->required()
      ->check([](const std::string& text) {
        return parse_pci_address(text) ? "" : text + " is not an address such as 0000:03:00.0";
      });

  CLI::App* drive = add_command(app, request, "drive", "Say where a drive sits",
                                [&](Report& report) { report_drive(request.serial, report); });
  drive->add_option("serial", request.serial, "The drive's serial number, or how it begins")
      ->required()
      ->check([](const std::string& text) {
        return text.empty() ? "the serial number must not be empty" : "";
      });
}

void add_host_commands(CLI::App& app, Request& request) {
  add_command(app, request, "host", "Show the host's release, memory and uptime", report_host);
  CLI::App* software =
      add_command(app, request, "software", "List the installed software",
                  [&](Report& report) { report_software(request.package, report); });
  software->add_option("name", request.package, "Only the package of exactly this name");
}

void add_bmc_commands(CLI::App& app, Request& request) {
  CLI::App* bmc = app.add_subcommand("bmc", "Ask the BMC, or change its variables");
  bmc->require_subcommand(1);
  add_command(*bmc, request, "address", "Show the BMC's own addresses", report_bmc_address);

  CLI::App* mode =
      add_command(*bmc, request, "mode", "Show or set the reverse mode", [&](Report& report) {
        report_bmc_mode(
            request.mode.empty() ? std::nullopt : std::optional<bool>(request.mode == "on"),
            report);
      });
  mode->add_option("value", request.mode, "on or off")->check(CLI::IsMember({"on", "off"}));

  CLI::App* interval = add_command(
      *bmc, request, "interval", "Show or set a periodic trap interval",
      [&](Report& report) { report_bmc_interval(request.selector, request.interval, report); });
  interval->add_option("selector", request.selector, choice_text(interval_selectors()))
      ->required()
      ->check(CLI::IsMember(interval_selectors()));
  interval->add_option("value", request.interval, "The new value, 0 to 4294967295")
      ->check(CLI::Range(uint32_t{0}, UINT32_MAX));

  CLI::App* entity_mib =
      add_command(app, request, "entity-mib", "Show or write the entity MIB registration file",
                  [&](Report& report) { report_entity_mib(request.write, report); });
  entity_mib->add_flag("--write", request.write, "Ask the BMC and rewrite the file first");
}

// Returns the exit status of a command line that stops at parsing: help, version
// or a mistake.
int end_of_parsing(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
    return app.exit(error);
  }
  fprintf(stderr, "ortinv: %s; see \"ortinv --help\"\n", error.what());
  return kExitUsage;
}

int print(const Request& request, Report& report) {
  const std::string text = request.json ? json_text(report) : human_text(report);
  fwrite(text.data(), 1, text.size(), stdout);
  if (fflush(stdout) != 0) {
    fprintf(stderr, "ortinv: standard output: %s\n", strerror(errno));
    return kExitNoSource;
  }
  for (const Problem& problem : report.problems) {
    fprintf(stderr, "ortinv: %s: %s\n", problem.source.c_str(), problem.message.c_str());
  }
  if (report.problems.empty() && !report.missing.empty()) {
    fprintf(stderr, "ortinv: %s\n", report.missing.c_str());
  }
  return report.exit_status();
}

}  // namespace

int run_ortinv(int argc, const char* const* argv) {
  Request request;
  CLI::App app("Shows what firmware, hypervisor and BMC know about this host.", "ortinv");
  app.set_version_flag("--version", std::string("ortinv ") + ortinv_version());
  app.require_subcommand(0, 1);  // so that an unknown word is named as such
  add_smbios_commands(app, request);
  add_host_commands(app, request);
  add_bmc_commands(app, request);
  add_command(app, request, "all", "Show everything that can be read",
              [&](Report& report) { show_all(request, report); });
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return end_of_parsing(app, error);
  }
  if (!request.command) {
    fprintf(stderr, "ortinv: a command is needed; see \"ortinv --help\"\n");
    return kExitUsage;
  }
  ortinv_init_debug_log();
  ortinv_set_print_stream(nullptr);  // or it would print between the lines of a document
  Report report;
  request.command(report);
  return print(request, report);
}
