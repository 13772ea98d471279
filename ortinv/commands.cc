// SPDX-License-Identifier: Apache-2.0
#include "ortinv/commands.h"

#include <array>

#include "ortinv/all_command.h"
#include "ortinv/bmc_commands.h"
#include "ortinv/choices.h"
#include "ortinv/device_commands.h"
#include "ortinv/diff_command.h"
#include "ortinv/host_commands.h"
#include "ortinv/number.h"
#include "ortinv/smbios_commands.h"
#include "ortinv/summary_command.h"

namespace {

std::string not_one_of(const std::string& value, const Words& choices) {
  for (const std::string& choice : choices) {
    if (value == choice) {
      return "";
    }
  }
  return "\"" + value + "\" is not " + choice_text(choices);
}

std::string mistake_of_address(const std::string& value) {
  return parse_pci_address(value) ? "" : "\"" + value + "\" is not an address such as 0000:03:00.0";
}

std::string mistake_of_serial(const std::string& value) {
  return value.empty() ? "the serial number must not be empty" : "";
}

std::string mistake_of_package(const std::string& value) {
  return value.empty() ? "the name must not be empty" : "";
}

std::string mistake_of_file(const std::string& value) {
  return value.empty() ? "the file's name must not be empty" : "";
}

std::string mistake_of_mode(const std::string& value) {
  return not_one_of(value, mode_choices());
}

std::string mistake_of_selector(const std::string& value) {
  return not_one_of(value, selector_choices());
}

std::string mistake_of_interval(const std::string& value) {
  return decimal_number(value, UINT32_MAX)
             ? ""
             : "\"" + value + "\" is not a decimal number from 0 to 4294967295";
}

std::string mistake_of_timeout(const std::string& value) {
  return decimal_number(value, kLongestTimeout)
             ? ""
             : "\"" + value + "\" is not a decimal number of seconds from 0 to " +
                   std::to_string(kLongestTimeout);
}

constexpr Argument kPciArguments[] = {
    {.name = "ADDRESS",
     .help = "SSSS:BB:DD.F, hexadecimal: segment, bus, device, function",
     .target = &Request::pci_address,
     .required = true,
     .mistake = mistake_of_address,
     .choices = pci_choices}};
constexpr Argument kDriveArguments[] = {{.name = "SERIAL",
                                         .help = "the drive's serial number, or how it begins",
                                         .target = &Request::serial,
                                         .required = true,
                                         .mistake = mistake_of_serial,
                                         .choices = serial_choices}};
constexpr Argument kSoftwareArguments[] = {{.name = "NAME",
                                            .help = "only the package of exactly this name",
                                            .target = &Request::package,
                                            .required = false,
                                            .mistake = mistake_of_package,
                                            .choices = package_choices}};
constexpr Argument kModeArguments[] = {{.name = "VALUE",
                                        .help = "the new value: on or off",
                                        .target = &Request::mode,
                                        .required = false,
                                        .mistake = mistake_of_mode,
                                        .choices = mode_choices}};
constexpr Argument kIntervalArguments[] = {{.name = "SELECTOR",
                                            .help = "which one: 8, 9 or 10",
                                            .target = &Request::selector,
                                            .required = true,
                                            .mistake = mistake_of_selector,
                                            .choices = selector_choices},
                                           {.name = "VALUE",
                                            .help = "the new value, decimal, 0 to 4294967295",
                                            .target = &Request::interval,
                                            .required = false,
                                            .mistake = mistake_of_interval,
                                            .choices = nullptr}};
constexpr Argument kDiffArguments[] = {{.name = "BEFORE",
                                        .help = "a document that \"ortinv --json\" has printed",
                                        .target = &Request::before,
                                        .required = true,
                                        .mistake = mistake_of_file,
                                        .choices = nullptr,
                                        .is_file = true},
                                       {.name = "AFTER",
                                        .help = "a later one",
                                        .target = &Request::after,
                                        .required = true,
                                        .mistake = mistake_of_file,
                                        .choices = nullptr,
                                        .is_file = true}};

constexpr Option flag(const char* name, const char* alias, const char* help,
                      bool Request::*target) {
  return {name, alias, nullptr, help, target, nullptr, nullptr, nullptr, false};
}

constexpr Option kSmbiosOptions[] = {
    {"--type", "-t", "TYPES", "only these: numbers or key words, joined by commas", nullptr,
     &Request::types, mistake_of_types, type_choices, false, true},
    {"--handle", "-H", "HANDLE", "only the structure with this handle, as 0x1A or 26", nullptr,
     &Request::handle, mistake_of_handle, nullptr, false},
    {"--string", "-s", "KEYWORD", "print one text, as for dmidecode: system-serial-number, ...",
     nullptr, &Request::keyword, mistake_of_keyword, keyword_choices, false},
    flag("--list", "-l", "one line for each structure", &Request::list),
    flag("--raw", "-u", "the bytes as hexadecimal, and the strings", &Request::raw)};
constexpr Option kDriveOptions[] = {
    flag("--exact", "", "only the drive of exactly this serial number", &Request::exact)};
constexpr Option kEntityMibOptions[] = {
    flag("--write", "", "ask the BMC and rewrite the file first", &Request::write)};

constexpr Option kCommonOptions[] = {
    flag("--json", "", "print one JSON document instead of text", &Request::json),
    flag("--jsonl", "", "print JSON Lines: one object a line", &Request::json_lines),
    {"--timeout", "", "SECONDS",
     "how long a source may take to answer; 30 unless said otherwise, 0 for ever", nullptr,
     &Request::timeout, mistake_of_timeout, nullptr, false}};
constexpr Option kDumpOption = {
    "--from-dump",
    "-d",
    "FILE",
    "read the SMBIOS table from a file: a dump, or a folder with a table as Linux shows it",
    nullptr,
    &Request::dump,
    mistake_of_file,
    nullptr,
    true};

constexpr std::array kCommands = {
    Command{"", "", "show one screen of the essentials", {}, {}, report_summary, true},
    Command{"",
            "smbios",
            "show the structures of the SMBIOS table",
            {},
            kSmbiosOptions,
            report_smbios,
            true},
    Command{"",
            "pci",
            "say where a PCI device sits and what it is",
            kPciArguments,
            {},
            report_pci,
            true},
    Command{"", "drive", "say where a drive sits", kDriveArguments, kDriveOptions, report_drive,
            true},
    Command{"", "host", "show the host's release, memory and uptime", {}, {}, report_host},
    Command{"", "software", "list the installed software", kSoftwareArguments, {}, report_software},
    Command{"bmc", "address", "show the BMC's own addresses", {}, {}, report_bmc_address},
    Command{"bmc", "mode", "show or set the reverse mode", kModeArguments, {}, report_bmc_mode},
    Command{"bmc",
            "interval",
            "show or set a periodic trap interval",
            kIntervalArguments,
            {},
            report_bmc_interval},
    Command{"",
            "entity-mib",
            "show or write the entity MIB registration file",
            {},
            kEntityMibOptions,
            report_entity_mib},
    Command{"", "all", "show everything that can be read", {}, {}, report_all, true},
    Command{"", "diff", "compare two saved inventories", kDiffArguments, {}, report_diff}};

constexpr Group kGroups[] = {{"bmc", "ask the BMC, or change its variables"}};

}  // namespace

std::span<const Command> all_commands() {
  return kCommands;
}

std::span<const Option> common_options() {
  return kCommonOptions;
}

const Option& dump_option() {
  return kDumpOption;
}

std::vector<const Option*> options_of(const Command& command) {
  std::vector<const Option*> options;
  for (const Option& option : command.options) {
    options.push_back(&option);
  }
  if (command.reads_table) {
    options.push_back(&kDumpOption);
  }
  for (const Option& option : kCommonOptions) {
    options.push_back(&option);
  }
  return options;
}

const Option* find_option(const Command& command, std::string_view name) {
  for (const Option* option : options_of(command)) {
    if (name == option->name || (*option->alias != '\0' && name == option->alias)) {
      return option;
    }
  }
  return nullptr;
}

std::string words_of(const Command& command) {
  std::string words = "ortinv";
  for (const std::string_view word : {command.group, command.name}) {
    words += word.empty() ? "" : " " + std::string(word);
  }
  return words;
}

std::span<const Group> command_groups() {
  return kGroups;
}
