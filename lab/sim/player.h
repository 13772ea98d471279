// SPDX-License-Identifier: Apache-2.0
// Runs a scenario against a simulator, line by line, without ever blocking: the
// caller pumps the simulator and calls play() again.
#ifndef TVUREV_LAB_SIM_PLAYER_H_
#define TVUREV_LAB_SIM_PLAYER_H_

#include <chrono>
#include <deque>
#include <string>

#include "lab/sim/scenario.h"
#include "lab/sim/simulator.h"

struct Player {
  std::deque<ScenarioLine> waiting;  // lines to come; more may be appended
  std::string name;                  // for messages: the file's name
  std::string error;                 // "name:line: what went wrong"
  bool quit = false;                 // a "quit" was played

  size_t next_happening = 0;  // what the next expectation may look at
  bool line_started = false;
  std::chrono::steady_clock::time_point line_start;
};

Player make_player(const Scenario& scenario);

enum class PlayState {
  kDone,     // no lines left
  kWaiting,  // the first line waits for time or for the host
  kFailed,   // error says why; the failed line is gone, playing may go on
};

// Plays as many lines as can be played now.
PlayState play(Player* player, Simulator* simulator);

// How long play() has nothing to do unless the simulator has: milliseconds, or
// -1 when there is nothing to wait for.
int play_timeout_ms(const Player& player);

#endif  // TVUREV_LAB_SIM_PLAYER_H_
