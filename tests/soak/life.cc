// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/life.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <string_view>

#include "tests/soak/dice.h"

namespace {

using std::chrono::milliseconds;

// One row a kind: how often, and between what its count and value are.
struct Row {
  Kind kind;
  Actor actor;
  std::string_view name;
  uint32_t weight;
  uint32_t least_count;
  uint32_t most_count;
  uint32_t least_value;
  uint32_t most_value;
};

constexpr std::array kRows = {
    Row{Kind::kNotify, Actor::kBmc, "notify", 4'000, 1, 1, 0, 0},
    Row{Kind::kNotify, Actor::kBmc, "notify", 300, 2, 20, 0, 0},
    Row{Kind::kNotify, Actor::kBmc, "notify", 10, 100, 300, 0, 0},
    Row{Kind::kMixed, Actor::kBmc, "mixed", 200, 1, 12, 0, 0},
    Row{Kind::kDropped, Actor::kBmc, "dropped", 600, 1, 3, 0, 0},
    Row{Kind::kDropped, Actor::kBmc, "dropped", 10, 100, 400, 0, 0},
    Row{Kind::kLogText, Actor::kBmc, "log-text", 300, 1, 2, 0, 0},
    Row{Kind::kLogText, Actor::kBmc, "log-text", 6, 20, 120, 0, 0},
    Row{Kind::kBusyLogText, Actor::kBmc, "busy-log-text", 40, 1, 60, 0, 0},
    Row{Kind::kLostLogText, Actor::kBmc, "lost-log-text", 20, 1, 1, 0, 0},
    Row{Kind::kShutdown, Actor::kBmc, "shutdown", 40, 0, 4, 0, 900},
    Row{Kind::kAbort, Actor::kBmc, "abort", 30, 1, 1, 0, 0},
    Row{Kind::kFailingReads, Actor::kBmc, "failing-reads", 30, 1, 25, 0, 0},
    Row{Kind::kReset, Actor::kBmc, "reset", 30, 0, 4, 0, 0},
    Row{Kind::kSilentReset, Actor::kBmc, "silent-reset", 3, 0, 4, 0, 0},
    Row{Kind::kHangUp, Actor::kBmc, "hang-up", 30, 0, 4, 0, 0},
    Row{Kind::kSilentHello, Actor::kBmc, "silent-hello", 3, 1, 2, 0, 0},
    Row{Kind::kRefusedHello, Actor::kBmc, "refused-hello", 4, 1, 5, 0, 0},
    Row{Kind::kForeignHello, Actor::kBmc, "foreign-hello", 2, 1, 1, 0, 0},
    Row{Kind::kShortConnect, Actor::kBmc, "short-connect", 3, 1, 3, 0, 0},
    Row{Kind::kRefusedConnect, Actor::kBmc, "refused-connect", 3, 1, 3, 0, 0},
    Row{Kind::kNotifyInHello, Actor::kBmc, "notify-in-hello", 6, 1, 1, 0, 0},
    Row{Kind::kBusyChannels, Actor::kBmc, "busy-channels", 4, 1, 1, 1, 600},
    Row{Kind::kHangUpAtOnce, Actor::kBmc, "hang-up-at-once", 3, 2, 8, 0, 0},
    Row{Kind::kAgentNotify, Actor::kAgent, "notify", 3'000, 1, 1, 0, 0},
    Row{Kind::kAgentNotify, Actor::kAgent, "notify", 250, 2, 20, 0, 0},
    Row{Kind::kAgentNotify, Actor::kAgent, "notify", 6, 100, 300, 0, 0},
    Row{Kind::kAgentTogether, Actor::kAgent, "together", 120, 2, 5, 0, 0},
    Row{Kind::kAgentGarbage, Actor::kAgent, "garbage", 200, 1, 1, 0, 0},
    Row{Kind::kAgentPiece, Actor::kAgent, "piece", 60, 1, 24, 0, 0},
    Row{Kind::kAgentLastWord, Actor::kAgent, "last-word", 60, 1, 1, 0, 0},
    Row{Kind::kAgentDies, Actor::kAgent, "dies", 40, 1, 1, 0, 0},
    Row{Kind::kAgentHasty, Actor::kAgent, "hasty", 40, 1, 1, 0, 0},
    Row{Kind::kAgentFinishes, Actor::kAgent, "finishes", 10, 1, 1, 1, 300},
    Row{Kind::kReceiverAway, Actor::kOperator, "receiver-away", 12, 0, 2, 1, 3'600},
    Row{Kind::kLogGone, Actor::kOperator, "log-gone", 6, 1, 1, 1, 1'800},
    Row{Kind::kLogDead, Actor::kOperator, "log-dead", 6, 1, 1, 1, 1'800},
    Row{Kind::kLogStalled, Actor::kOperator, "log-stalled", 8, 1, 1, 1, 1'800},
    Row{Kind::kNamesSilent, Actor::kOperator, "names-silent", 12, 1, 1, 60, 3'600},
    Row{Kind::kStrayMarkers, Actor::kOperator, "stray-markers", 6, 1, 1, 0, 0},
    Row{Kind::kSwitchDebug, Actor::kOperator, "switch-debug", 0, 1, 1, 0, 0},
    Row{Kind::kStopFiles, Actor::kOperator, "stop-files", 0, 1, 1, 0, 0},
    Row{Kind::kAgentStopFile, Actor::kOperator, "agent-stop-file", 0, 1, 1, 0, 0},
    Row{Kind::kSigterm, Actor::kOperator, "sigterm", 0, 1, 1, 0, 0},
    Row{Kind::kKill, Actor::kOperator, "kill", 0, 1, 1, 0, 0},
    Row{Kind::kReverseOff, Actor::kOperator, "reverse-off", 0, 1, 1, 1, 7'200},
    Row{Kind::kTargets, Actor::kOperator, "targets", 0, 0, 4, 0, 0},
    Row{Kind::kSignals, Actor::kOperator, "signals", 5, 1, 1, 0, 0},
};

// The restarts, which a life has few of, in turn. Debug output is on from one of
// them to the next; that costs a hundred lines a notification.
constexpr std::array kRestarts = {Kind::kStopFiles,   Kind::kSigterm,    Kind::kTargets,
                                  Kind::kKill,        Kind::kReverseOff, Kind::kAgentStopFile,
                                  Kind::kSwitchDebug, Kind::kSwitchDebug};

constexpr milliseconds kDay(86'400'000);

const Row& row_of(Kind kind) {
  return *std::ranges::find(kRows, kind, &Row::kind);
}

const Row& throw_row(Dice& dice) {
  static const uint64_t kTotal =
      std::accumulate(kRows.begin(), kRows.end(), uint64_t{0},
                      [](uint64_t sum, const Row& row) { return sum + row.weight; });
  uint64_t point = dice.below(kTotal);
  for (const Row& row : kRows) {
    if (point < row.weight) {
      return row;
    }
    point -= row.weight;
  }
  return kRows.front();
}

LifeEvent throw_event(Dice& dice, const Row& row, uint64_t latest_ms) {
  return {.at = milliseconds(dice.below(latest_ms)),
          .kind = row.kind,
          .number = 0,
          .count = static_cast<uint32_t>(dice.between(row.least_count, row.most_count)),
          .value = static_cast<uint32_t>(dice.between(row.least_value, row.most_value))};
}

// Two in three days, in the first two thirds of the life: the last third is one
// process's, over which nothing may grow.
void add_restarts(std::vector<LifeEvent>& life, Dice& dice, const LifeSettings& settings) {
  const uint64_t end = static_cast<uint64_t>(kDay.count()) * settings.days * 2 / 3;
  const size_t count = std::max<size_t>(settings.days * 2 / 3, kRestarts.size());
  for (size_t i = 0; i < count && i < settings.events / 4; ++i) {
    LifeEvent event = throw_event(dice, row_of(kRestarts[i % kRestarts.size()]), 1);
    event.at = milliseconds(end * (i + 1) / (count + 1) + dice.below(60'000));
    life.push_back(event);
  }
}

}  // namespace

std::vector<LifeEvent> make_life(const LifeSettings& settings) {
  Dice dice(settings.seed);
  std::vector<LifeEvent> life;
  add_restarts(life, dice, settings);
  while (life.size() < settings.events) {
    life.push_back(
        throw_event(dice, throw_row(dice), static_cast<uint64_t>(kDay.count()) * settings.days));
  }
  std::ranges::stable_sort(life, {}, &LifeEvent::at);
  uint32_t number = 1;
  for (LifeEvent& event : life) {
    event.number = number;
    number += event.count + 2;
  }
  // Last, so that the others stay as they are.
  std::erase_if(life, [&](const LifeEvent& event) {
    return std::ranges::count(settings.without, row_of(event.kind).name) > 0;
  });
  return life;
}

Actor actor_of(Kind kind) {
  return row_of(kind).actor;
}

std::string time_text(milliseconds time) {
  const auto total = static_cast<unsigned long long>(time.count());
  std::array<char, 48> text = {};
  snprintf(text.data(), text.size(), "%llud %02llu:%02llu:%02llu.%03llu", total / 86'400'000,
           total / 3'600'000 % 24, total / 60'000 % 60, total / 1'000 % 60, total % 1'000);
  return text.data();
}

std::string event_text(const LifeEvent& event) {
  static constexpr std::array<std::string_view, kActors> kNames = {"operator", "bmc", "agent"};
  const Row& row = row_of(event.kind);
  std::string text = time_text(event.at) + " ";
  text += kNames[static_cast<size_t>(row.actor)];
  text += " " + std::string(row.name) + " " + std::to_string(event.number) + " x" +
          std::to_string(event.count);
  return row.most_value > 0 ? text + " " + std::to_string(event.value) + " s" : text;
}
