// SPDX-License-Identifier: Apache-2.0
// The one table of commands, their arguments and options. The parser, the help
// and the completion are made from it; the manual is checked against it.
#ifndef TVUREV_ORTINV_COMMANDS_H_
#define TVUREV_ORTINV_COMMANDS_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ortinv/choices.h"
#include "ortinv/report.h"
#include "ortinv/request.h"

// In seconds.
inline constexpr uint32_t kUsualTimeout = 30;
inline constexpr uint32_t kLongestTimeout = 86400;

struct Argument {
  const char* name;  // as the help shows it
  const char* help;
  std::string Request::*target;
  bool required;
  // What is wrong with a value, or "".
  std::string (*mistake)(const std::string& value);
  // The values to choose from, as far as they can be listed; null for none.
  Words (*choices)();
  bool is_file = false;  // the name of a file
};

struct Option {
  const char* name;   // "--type"
  const char* alias;  // "-t", or ""
  const char* value;  // what the help calls its value; null for a flag
  const char* help;
  bool Request::*flag;           // of a flag
  std::string Request::*target;  // of an option with a value
  std::string (*mistake)(const std::string& value);
  Words (*choices)();
  bool is_file = false;
  bool repeats = false;  // may be given more than once; line ends join its values
};

struct Command {
  const char* group;  // the word before its name, or ""
  const char* name;   // "" for what no command does
  const char* help;
  std::span<const Argument> arguments;
  std::span<const Option> options;
  void (*run)(const Request& request, Report& report);
  bool reads_table = false;  // knows --from-dump
};

// In the order of the help. The first one is what no command does.
std::span<const Command> all_commands();

// Those that every command knows, and the one that those know that read the table.
std::span<const Option> common_options();
const Option& dump_option();

// Returns the options of a command: its own, --from-dump if it knows it, and the
// common ones.
std::vector<const Option*> options_of(const Command& command);

// Returns the option of a command by its name or alias; null for none.
const Option* find_option(const Command& command, std::string_view name);

// Returns what is typed for a command: "ortinv bmc mode".
std::string words_of(const Command& command);

// The words that precede others ("bmc"), with what the help says of them.
struct Group {
  const char* name;
  const char* help;
};
std::span<const Group> command_groups();

#endif  // TVUREV_ORTINV_COMMANDS_H_
