// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/player.h"

#include <algorithm>

namespace {

using std::chrono::duration;
using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The host's reading wakes nobody, so it must be looked for.
constexpr int kLookMs = 10;

bool is_expected(const ExpectEvent& event, const Happening& happening) {
  switch (event.what) {
    case ExpectEvent::What::kPacket:
      return happening.what == Happening::What::kReceived &&
             classify(happening.packet) == event.kind;
    case ExpectEvent::What::kOpened:
      return happening.what == Happening::What::kOpened;
    case ExpectEvent::What::kClosed:
      return happening.what == Happening::What::kClosed;
    case ExpectEvent::What::kDrained:
      break;
  }
  return false;
}

// Looks for the expected thing among what happened, and past it next time.
bool is_met(Player* player, const Simulator& simulator, const ExpectEvent& event) {
  if (event.what == ExpectEvent::What::kDrained) {
    return simulator.drained();
  }
  for (size_t i = player->next_happening; i < simulator.history.size(); ++i) {
    if (is_expected(event, simulator.history[i])) {
      player->next_happening = i + 1;
      return true;
    }
  }
  return false;
}

// How long the first line may last; none for lines that are played at once.
std::optional<double> limit_seconds(const Event& event) {
  if (const auto* wait = std::get_if<WaitEvent>(&event)) {
    return wait->seconds;
  }
  if (const auto* expect = std::get_if<ExpectEvent>(&event)) {
    return expect->limit_seconds;
  }
  return std::nullopt;
}

void finish_line(Player* player) {
  player->waiting.pop_front();
  player->line_started = false;
}

PlayState fail_line(Player* player, const std::string& what) {
  player->error = player->name + ":" + std::to_string(player->waiting.front().number) + ": " + what;
  finish_line(player);
  return PlayState::kFailed;
}

// Milliseconds until the first line's time is over, rounded up.
int left_ms(const Player& player, double limit) {
  const auto end = player.line_start + duration<double>(limit);
  const auto left = duration_cast<milliseconds>(end - steady_clock::now()).count();
  return end <= steady_clock::now() ? 0 : static_cast<int>(left) + 1;
}

}  // namespace

Player make_player(const Scenario& scenario) {
  Player player;
  player.waiting.assign(scenario.lines.begin(), scenario.lines.end());
  player.name = scenario.name;
  return player;
}

PlayState play(Player* player, Simulator* simulator) {
  while (!player->waiting.empty()) {
    const Event& event = player->waiting.front().event;
    if (!player->line_started) {
      player->line_started = true;
      player->line_start = steady_clock::now();
    }
    if (const auto* expect = std::get_if<ExpectEvent>(&event)) {
      if (is_met(player, *simulator, *expect)) {
        finish_line(player);
        continue;
      }
    }
    if (const auto limit = limit_seconds(event)) {
      if (left_ms(*player, *limit) > 0) {
        return PlayState::kWaiting;
      }
      if (std::holds_alternative<ExpectEvent>(event)) {
        return fail_line(player, "did not happen in time: " + player->waiting.front().text);
      }
    } else if (std::holds_alternative<QuitEvent>(event)) {
      player->quit = true;
      player->waiting.clear();
      break;
    } else if (const std::string error = simulator->execute(event); !error.empty()) {
      return fail_line(player, error);
    }
    finish_line(player);
  }
  player->line_started = false;
  return PlayState::kDone;
}

int play_timeout_ms(const Player& player) {
  if (player.waiting.empty()) {
    return -1;
  }
  const Event& event = player.waiting.front().event;
  const auto limit = limit_seconds(event);
  if (!limit || !player.line_started) {
    return 0;
  }
  const auto* expect = std::get_if<ExpectEvent>(&event);
  const bool looking = expect != nullptr && expect->what == ExpectEvent::What::kDrained;
  const int left = left_ms(player, *limit);
  return looking ? std::min(left, kLookMs) : left;
}
