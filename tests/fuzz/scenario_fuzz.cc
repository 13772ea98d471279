// SPDX-License-Identifier: Apache-2.0
// The lab's scenario files.
//
// Input: the file.
#include <algorithm>
#include <string>
#include <variant>

#include "lab/sim/scenario.h"
#include "tests/fuzz/input.h"
#include "tests/fuzz/target.h"
#include "wire/chif.h"

namespace {

void require_good_event(const Event& event) {
  if (const auto* push = std::get_if<PushEvent>(&event)) {
    require(push->packet.size() <= chif::kPacketMax, "a packet fits the driver");
  }
  if (const auto* wait = std::get_if<WaitEvent>(&event)) {
    require(wait->seconds >= 0 && wait->seconds <= 1e6, "a wait is a number of seconds");
  }
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  const std::string_view text = input.rest_as_text();
  const Scenario scenario = parse_scenario(text, "name");
  require(scenario.error.empty() || scenario.error.starts_with("name:"), "an error has its place");
  const auto line_ends = std::ranges::count(text, '\n');
  int number = 0;
  std::string story = scenario.error;
  for (const ScenarioLine& line : scenario.lines) {
    require(line.number > number && line.number <= line_ends + 1, "lines have their numbers");
    number = line.number;
    require_good_event(line.event);
    const ParsedEvent again = parse_event(line.text);
    require(again.event.has_value() && again.event->index() == line.event.index(),
            "a line of a scenario can be typed as it is");
    story += line.text;
  }
  const ParsedEvent typed = parse_event(text);
  require(!typed.event.has_value() || typed.error.empty(), "a line is an event or wrong");
  return story + typed.error;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
