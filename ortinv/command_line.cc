// SPDX-License-Identifier: Apache-2.0
#include "ortinv/command_line.h"

#include <ortinv/interval.h>
#include <ortinv/library.h>
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "ortinv/commands.h"
#include "ortinv/help.h"
#include "ortinv/json_format.h"
#include "ortinv/number.h"
#include "ortinv/output.h"
#include "ortinv/report.h"
#include "ortinv/request.h"
#include "ortinv/terminal_text.h"
#include "ortinv/text_format.h"

namespace {

void complain(const std::string& line) {
  fprintf(stderr, "ortinv: %s\n", terminal_text(line).c_str());
}

// Returns whether standard output took everything, after a complaint when not.
bool finish(Output& output) {
  const int error = output.finish();
  if (error != 0) {
    complain(std::string("standard output: ") + strerror(error));
  }
  return error == 0;
}

// For what no source is needed for.
int print_and_end(const std::string& text) {
  Output output;
  output.text() = text;
  return finish(output) ? kExitFound : kExitNoSource;
}

void add_option(CLI::App& app, Request& request, const Option& option) {
  const std::string names =
      *option.alias == '\0' ? option.name : std::string(option.alias) + "," + option.name;
  if (option.flag != nullptr) {
    app.add_flag(names, request.*option.flag);
    return;
  }
  CLI::Option* added = app.add_option(names, request.*option.target);
  added->check([mistake = option.mistake](const std::string& value) { return mistake(value); });
  if (option.repeats) {
    added->join();  // with line ends
  }
}

void add_argument(CLI::App& app, Request& request, const Argument& argument) {
  app.add_option(argument.name, request.*argument.target)
      ->required(argument.required)
      ->check([mistake = argument.mistake](const std::string& value) { return mistake(value); });
}

// What was said, and what the parser makes of it.
struct Line {
  Request request;
  const Command* command = &all_commands().front();
  const Group* group = nullptr;  // whose help is asked for
};

void add_command(CLI::App& app, Line& line, const Command& command) {
  CLI::App* added = app.add_subcommand(command.name);
  added->fallthrough();  // the options that every command knows
  for (const Argument& argument : command.arguments) {
    add_argument(*added, line.request, argument);
  }
  for (const Option& option : command.options) {
    add_option(*added, line.request, option);
  }
  added->preparse_callback([&line, &command](size_t) { line.command = &command; });
}

void add_commands(CLI::App& app, Line& line) {
  for (const Option* option : options_of(all_commands().front())) {
    add_option(app, line.request, *option);
  }
  for (const Group& group : command_groups()) {
    CLI::App* added = app.add_subcommand(group.name);
    added->fallthrough();
    added->require_subcommand(1);
    added->preparse_callback([&line, &group](size_t) { line.group = &group; });
    for (const Command& command : all_commands()) {
      if (std::string_view(command.group) == group.name) {
        add_command(*added, line, command);
      }
    }
  }
  for (const Command& command : all_commands()) {
    if (*command.group == '\0' && *command.name != '\0') {
      add_command(app, line, command);
    }
  }
}

int print_help(const Line& line) {
  if (*line.command->name != '\0') {
    return print_and_end(help_text(*line.command));
  }
  return print_and_end(line.group != nullptr ? help_text(*line.group) : help_text());
}

// What is wrong with options that are right by themselves, or "".
std::string mistake_of(const Line& line) {
  const Request& request = line.request;
  if (request.json && request.json_lines) {
    return "--json and --jsonl exclude each other";
  }
  if (request.is_about_dump() && !line.command->reads_table) {
    return std::string("\"") + line.command->name +
           "\" reads no SMBIOS table: --from-dump is not for it";
  }
  if (request.list && request.raw) {
    return "--list and --raw exclude each other";
  }
  const bool selects = !request.types.empty() || !request.handle.empty();
  if (!request.keyword.empty() && (selects || request.list || request.raw)) {
    return "--string excludes --type, --handle, --list and --raw";
  }
  return "";
}

int complain_of_usage(const std::string& mistake, const Command& command) {
  complain(mistake + "; see \"" + words_of(command) + " --help\"");
  return kExitUsage;
}

// A word was not expected. Where it is an option of another command, says of which.
int complain_of_extra_word(const std::string& mistake, const Command& command,
                           std::span<const char* const> words) {
  for (const std::string_view word : words) {
    const std::string_view name = word.substr(0, word.find('='));
    for (const Command& other : all_commands()) {
      if (find_option(command, name) == nullptr && find_option(other, name) != nullptr) {
        return complain_of_usage(
            "\"" + std::string(name) + "\" is an option of \"" + words_of(other) + "\"", other);
      }
    }
  }
  return complain_of_usage(mistake, command);
}

bool print_document(const Request& request, Report& report) {
  Output output;
  if (request.json_lines) {
    print_json_lines(report, output);
  } else if (request.json) {
    print_json(report, output);
  } else {
    print_text(report, output);
  }
  return finish(output);
}

int print(const Request& request, Report& report) {
  const int status = report.exit_status();
  if (status != kExitUsage && !print_document(request, report)) {
    return kExitNoSource;
  }
  for (const std::string& warning : report.warnings) {
    complain("warning: " + warning);
  }
  for (const Problem& problem : report.problems) {
    complain(problem.source + ": " + problem.message);
  }
  if (report.problems.empty() && !report.missing.empty()) {
    complain(report.missing);
  }
  return status;
}

int carry_out(const Line& line) {
  ortinv_init_debug_log();
  ortinv_set_print_stream(nullptr);  // or it would print between the lines of a document
  Report report;
  report.timeout = decimal_number(line.request.timeout, kLongestTimeout).value_or(kUsualTimeout);
  line.command->run(line.request, report);
  return print(line.request, report);
}

}  // namespace

int run_ortinv(int argc, const char* const* argv) {
  const std::span words(argv, static_cast<size_t>(argc));
  // For the shell's completion, which passes the words before the one that is
  // being typed.
  if (words.size() > 1 && std::string_view(words[1]) == "--complete") {
    return print_and_end(completion_text(words.subspan(2)));
  }
  Line line;
  CLI::App app("", "ortinv");
  app.set_help_flag("-h,--help");
  app.set_version_flag("-V,--version", std::string("ortinv ") + ortinv_version());
  app.require_subcommand(0, 1);  // so that an unknown word is named as such
  add_commands(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForVersion& version) {
    return print_and_end(std::string(version.what()) + "\n");
  } catch (const CLI::Success&) {
    return print_help(line);
  } catch (const CLI::ExtrasError& error) {
    return complain_of_extra_word(error.what(), *line.command, words.subspan(1));
  } catch (const CLI::ParseError& error) {
    return complain_of_usage(error.what(), *line.command);
  }
  const std::string mistake = mistake_of(line);
  return mistake.empty() ? carry_out(line) : complain_of_usage(mistake, *line.command);
}
