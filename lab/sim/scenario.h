// SPDX-License-Identifier: Apache-2.0
// The language of scenarios: text files with one event a line, "#" for
// comments; a line that ends with a backslash goes on in the next. man/mox-sim.1
// describes it for users. The parser only builds records (lab/sim/events.h); the
// player runs them.
#ifndef TVUREV_LAB_SIM_SCENARIO_H_
#define TVUREV_LAB_SIM_SCENARIO_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/events.h"

class Options;

// An event of the language: the word that begins its line, what may follow, and
// what it does. The parser, "help" and the man page share these.
struct Verb {
  std::string_view name;
  std::string_view arguments;  // "WHAT [limit=SECONDS]"
  std::string_view help;
  Event (*read)(Options& options);  // of no meaning when the options have an error
};
std::span<const Verb> verbs();

// "expect WHAT [limit=SECONDS]".
std::string usage(const Verb& verb);

// One line an event.
std::string help_text();

// One line. A line without an event and without an error is empty or a comment.
struct ParsedEvent {
  std::optional<Event> event;
  std::string error;
};
ParsedEvent parse_event(std::string_view line);

struct ScenarioLine {
  int number = 0;  // from 1
  std::string text;
  Event event;
};

// A whole scenario. When error is not empty, it is "name:line: what is wrong"
// for the first wrong line, or "name: what is wrong" for the file.
struct Scenario {
  std::string name;
  std::vector<ScenarioLine> lines;
  std::string error;
};
Scenario parse_scenario(std::string_view text, const std::string& name);
Scenario load_scenario(const std::string& path);

#endif  // TVUREV_LAB_SIM_SCENARIO_H_
