// SPDX-License-Identifier: Apache-2.0
// mox-sim: plays the BMC on the driver's channels, from a scenario, from events
// typed on standard input, or both. See man/mox-sim.1.
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <utility>

#include "lab/capture/capture_file.h"
#include "lab/capture/record_header.h"
#include "lab/sim/nvram.h"
#include "lab/sim/player.h"
#include "lab/supervisor/signals.h"

namespace {

// Exit statuses.
constexpr int kFailed = 1;  // an expectation or an event did not work out
constexpr int kWrong = 2;   // wrong options, files or scenario

struct Settings {
  std::string channels = kChannelDirectory;
  std::string nvram;
  std::string pcap;
  std::string scenario;
  bool live = false;
  bool stay = false;
  bool check = false;
};

void say(const std::string& text) {
  std::printf("%s\n", text.c_str());
  std::fflush(stdout);
}

void complain(const std::string& text) {
  std::fprintf(stderr, "mox-sim: %s\n", text.c_str());
}

// Events that are typed: collects bytes into lines and lines into events.
struct LiveInput {
  bool open = false;
  std::string unfinished;
  int line_number = 0;
  bool any_wrong = false;
};

void take_line(LiveInput* input, const std::string& line, Player* player) {
  ++input->line_number;
  const ParsedEvent parsed = parse_event(line);
  if (!parsed.error.empty()) {
    complain("stdin:" + std::to_string(input->line_number) + ": " + parsed.error);
    input->any_wrong = true;
  } else if (parsed.event) {
    player->waiting.push_back({input->line_number, line, *parsed.event});
  }
}

void read_input(LiveInput* input, Player* player) {
  std::array<char, 4096> bytes = {};
  const ssize_t length = read(STDIN_FILENO, bytes.data(), bytes.size());
  if (length <= 0) {
    input->open = false;
    if (!input->unfinished.empty()) {
      take_line(input, input->unfinished, player);
    }
    return;
  }
  input->unfinished.append(bytes.data(), static_cast<size_t>(length));
  for (const std::string& line : cut_lines(&input->unfinished)) {
    take_line(input, line, player);
  }
}

// Waits for the host, for a typed line or for a signal. False after a signal.
bool wait_for_something(Simulator* simulator, LiveInput* input, Player* live, int signals,
                        int timeout_ms) {
  auto descriptors = simulator->descriptors();
  descriptors.push_back({signals, POLLIN, 0});
  if (input->open) {
    descriptors.push_back({STDIN_FILENO, POLLIN, 0});
  }
  poll(descriptors.data(), descriptors.size(), timeout_ms);
  const size_t at_signals = descriptors.size() - (input->open ? 2 : 1);
  if (descriptors[at_signals].revents != 0) {
    return false;
  }
  if (input->open && descriptors.back().revents != 0) {
    read_input(input, live);
  }
  simulator->step(0);
  return true;
}

// Plays the scenario, then what is typed, until nothing is left to do.
int run(Simulator* simulator, const Scenario& scenario, bool live_wanted, bool stay) {
  const Descriptor signals = hold_signals();
  Player from_file = make_player(scenario);
  Player typed;
  typed.name = "stdin";
  LiveInput input;
  input.open = live_wanted;
  bool file_done = scenario.name.empty();
  bool any_failed = false;
  bool ready = false;
  bool done = false;
  while (true) {
    Player& player = file_done ? typed : from_file;
    const PlayState state = play(&player, simulator);
    if (!std::exchange(ready, true)) {
      // Not earlier: what the scenario begins with holds for the first client.
      say("mox-sim: ready");
    }
    if (state == PlayState::kFailed) {
      complain(player.error);
      any_failed = true;
    }
    if (!file_done && state != PlayState::kWaiting) {
      file_done = true;
      typed.next_happening = from_file.next_happening;
      say(any_failed ? "mox-sim: scenario failed" : "mox-sim: scenario passed");
      continue;
    }
    if (state == PlayState::kFailed) {
      continue;
    }
    const bool at_end = player.quit || (state == PlayState::kDone && !input.open);
    if (at_end && !stay) {
      return any_failed || input.any_wrong ? kFailed : 0;
    }
    if (at_end && !std::exchange(done, true)) {
      input.open = false;
      say("mox-sim: done");
    }
    if (!wait_for_something(simulator, &input, &typed, signals.get(), play_timeout_ms(player))) {
      return any_failed || input.any_wrong ? kFailed : 0;
    }
  }
}

// Says what happens and records packets; not all of them in *any_lost.
void watch(Simulator* simulator, CaptureFile* recording, bool* any_lost) {
  simulator->on_happening = [recording, any_lost](const Happening& happening) {
    const bool received = happening.what == Happening::What::kReceived;
    if (received || happening.what == Happening::What::kSent) {
      const std::string error =
          recording->record(received ? record_header::kWritten : record_header::kRead,
                            static_cast<uint32_t>(happening.channel), happening.packet);
      if (!error.empty()) {
        complain(error);
        *any_lost = true;
      }
    }
    say(describe(happening));
  };
}

int prepare_and_run(const Settings& settings) {
  Scenario scenario;
  if (!settings.scenario.empty()) {
    scenario = load_scenario(settings.scenario);
  }
  Simulator simulator;
  std::string error = scenario.error;
  if (error.empty() && !settings.nvram.empty()) {
    simulator.nvram_path = settings.nvram;
    error = load_nvram(settings.nvram, &simulator.variables);
  }
  CaptureFile recording;
  if (error.empty() && !settings.check && !settings.pcap.empty()) {
    error = recording.open(settings.pcap, LinkType::kChannel);
  }
  if (error.empty() && !settings.check) {
    error = simulator.open_channels(settings.channels);
  }
  if (!error.empty()) {
    complain(error);
    return kWrong;
  }
  if (settings.check) {
    return 0;
  }
  bool any_lost = false;
  watch(&simulator, &recording, &any_lost);
  const int status =
      run(&simulator, scenario, settings.live || settings.scenario.empty(), settings.stay);
  return status == 0 && any_lost ? kFailed : status;
}

}  // namespace

// Without memory for its options a program may end as it likes.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
  CLI::App app("Plays the BMC on the driver's channels.", "mox-sim");
  Settings settings;
  app.add_option("scenario", settings.scenario, "file with one event a line");
  app.add_option("--channels", settings.channels, "directory of the channel nodes")
      ->type_name("DIR")
      ->capture_default_str();
  app.add_option("--nvram", settings.nvram, "file with the non-volatile variables")
      ->type_name("FILE");
  app.add_option("--pcap", settings.pcap, "file to record the packets of all channels in")
      ->type_name("FILE");
  app.add_flag("--live", settings.live,
               "go on with events from standard input after the scenario, to its end");
  app.add_flag("--stay", settings.stay,
               "go on answering when everything was played, until a signal");
  app.add_flag("--check", settings.check, "only read the files and report what is wrong in them");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    return 0;
  } catch (const CLI::ParseError& error) {
    complain(error.what());
    return kWrong;
  }
  return prepare_and_run(settings);
}
