// SPDX-License-Identifier: Apache-2.0
#include "ortinv/help.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr const char* kAbout = "Shows what firmware, hypervisor and BMC know about this host.\n";
constexpr const char* kAnyFile = "<file>\n";

struct Line {
  std::string left;
  std::string right;
};

std::string section(const char* heading, const std::vector<Line>& lines) {
  if (lines.empty()) {
    return "";
  }
  size_t width = 0;
  for (const Line& line : lines) {
    width = std::max(width, line.left.size());
  }
  std::string out = std::string("\n") + heading + ":\n";
  for (const Line& line : lines) {
    out += "  " + line.left + std::string(width + 2 - line.left.size(), ' ') + line.right + "\n";
  }
  return out;
}

Line option_line(const Option& option) {
  const std::string alias = *option.alias == '\0' ? "" : std::string(option.alias) + ", ";
  return {alias + option.name + (option.value == nullptr ? "" : std::string(" ") + option.value),
          option.help};
}

std::vector<Line> ending_lines() {
  return {{"-h, --help", "print this"}};
}

bool is_alone(const Command& command) {
  return *command.group == '\0' && *command.name != '\0';
}

template <typename... Lines>
std::vector<Line> joined(std::vector<Line> first, const Lines&... more) {
  (first.insert(first.end(), more.begin(), more.end()), ...);
  return first;
}

std::vector<Line> option_lines(const Command& command) {
  std::vector<Line> lines;
  for (const Option* option : options_of(command)) {
    lines.push_back(option_line(*option));
  }
  return joined(lines, ending_lines());
}

const Command* find_command(std::string_view group, std::string_view name) {
  for (const Command& command : all_commands()) {
    if (group == command.group && name == command.name) {
      return &command;
    }
  }
  return nullptr;
}

const Group* find_group(std::string_view name) {
  for (const Group& group : command_groups()) {
    if (name == group.name) {
      return &group;
    }
  }
  return nullptr;
}

void append_words(std::string& out, const Words& words) {
  for (const std::string& word : words) {
    out += word + "\n";
  }
}

// Where a command line stands.
struct Position {
  const Command* command = &all_commands().front();
  const Group* group = nullptr;    // its word was said, the command's name was not
  const Option* option = nullptr;  // whose value comes next
  size_t arguments = 0;            // of the command, said already
};

Position position_behind(std::span<const char* const> words) {
  Position at;
  for (const std::string_view word : words) {
    if (at.option != nullptr) {
      at.option = nullptr;
    } else if (word.starts_with("-")) {
      const Option* option = find_option(*at.command, word);
      at.option = option != nullptr && option->value != nullptr ? option : nullptr;
    } else if (*at.command->name != '\0') {
      ++at.arguments;
    } else if (const Command* found = find_command(at.group == nullptr ? "" : at.group->name, word);
               found != nullptr) {
      at.command = found;
      at.group = nullptr;
    } else {
      at.group = find_group(word);
    }
  }
  return at;
}

void append_values(std::string& out, Words (*choices)(), bool is_file) {
  if (choices != nullptr) {
    append_words(out, choices());
  }
  out += is_file ? kAnyFile : "";
}

void append_commands(std::string& out, const Group* group) {
  const std::string_view wanted = group == nullptr ? "" : group->name;
  for (const Command& command : all_commands()) {
    if (wanted == command.group && *command.name != '\0') {
      out += std::string(command.name) + "\n";
    }
  }
  for (const Group& other : command_groups()) {
    out += group == nullptr ? std::string(other.name) + "\n" : "";
  }
}

}  // namespace

std::string help_text() {
  std::vector<Line> commands;
  for (const Command& command : all_commands()) {
    const Group* group = find_group(command.group);
    if (is_alone(command)) {
      commands.push_back({command.name, command.help});
    } else if (group != nullptr && (commands.empty() || commands.back().left != group->name)) {
      commands.push_back({group->name, group->help});
    }
  }
  return std::string("Usage: ortinv [COMMAND] [OPTION]...\n\n") + kAbout +
         "Without a command: one screen of the essentials.\n" + section("Commands", commands) +
         section("Options", joined(option_lines(all_commands().front()),
                                   std::vector<Line>{{"-V, --version", "print the version"}})) +
         "\n\"ortinv COMMAND --help\" says more of a command.\n";
}

std::string help_text(const Group& group) {
  std::vector<Line> commands;
  for (const Command& command : all_commands()) {
    if (std::string_view(command.group) == group.name) {
      commands.push_back({command.name, command.help});
    }
  }
  return std::string("Usage: ortinv ") + group.name + " COMMAND [OPTION]...\n" +
         section("Commands", commands) + section("Options", ending_lines());
}

std::string help_text(const Command& command) {
  std::string usage = "Usage: " + words_of(command);
  std::vector<Line> arguments;
  for (const Argument& argument : command.arguments) {
    usage += argument.required ? std::string(" ") + argument.name
                               : std::string(" [") + argument.name + "]";
    arguments.push_back({argument.name, argument.help});
  }
  std::string help = command.help;
  help[0] = static_cast<char>(help[0] - 'a' + 'A');
  std::string out = usage + " [OPTION]...\n\n" + help + ".\n" + section("Arguments", arguments) +
                    section("Options", option_lines(command));
  for (const Option& option : command.options) {
    if (option.choices != nullptr) {
      out += std::string("\n") + option.value + ": ";
      for (const std::string& word : option.choices()) {
        out += word + " ";
      }
      out.back() = '\n';
    }
  }
  return out;
}

std::string completion_text(std::span<const char* const> words) {
  const Position at = position_behind(words);
  std::string out;
  if (at.option != nullptr) {
    append_values(out, at.option->choices, at.option->is_file);
    return out;
  }
  if (*at.command->name == '\0') {
    append_commands(out, at.group);
  } else if (at.arguments < at.command->arguments.size()) {
    const Argument& next = at.command->arguments[at.arguments];
    append_values(out, next.choices, next.is_file);
  }
  for (const Option* option : options_of(*at.command)) {
    out += std::string(option->name) + "\n";
  }
  out += "--help\n";
  out += words.empty() ? "--version\n" : "";
  return out;
}
