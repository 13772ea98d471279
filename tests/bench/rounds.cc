// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/rounds.h"

#include <string_view>

#include "tests/bench/notification.h"

namespace {

constexpr int kLeastTurns = 3;
constexpr int kProgramShare = 50;

struct Relayed {
  std::vector<Bytes> traps;
  std::vector<std::string> lines;
};

// A log line without its date and process number.
std::string bare_line(std::string_view line) {
  const size_t date = line.find('>') + 1;
  const size_t number = line.find('[', date);
  const size_t text = line.find("]: ", number);
  if (number == std::string_view::npos || text == std::string_view::npos) {
    return std::string(line);
  }
  constexpr size_t kDateSize = std::string_view("Nov 20 12:00:00 ").size();
  return std::string(line.substr(0, date)) +
         std::string(line.substr(date + kDateSize, number - date - kDateSize)) +
         std::string(line.substr(text));
}

Relayed relay_and_keep(Stage& stage, Row& row) {
  Packet packet = packet_for(row, kUsualBindings);
  Relayed relayed;
  Stations& stations = stage.stations;
  stations.drain_log();
  stations.lines.clear();
  deliver(row, packet, kFirstStamp, stage.receivers);
  stations.await_traps(stage.receivers, kFirstStamp, &relayed.traps);
  wait_until_idle(row.pid);
  stations.drain_log(true);
  for (const std::string& line : stations.lines) {
    relayed.lines.push_back(bare_line(line));
  }
  return relayed;
}

double run_round(Stage& stage, Row& row, int bindings, int count, Series* series) {
  Packet packet = packet_for(row, bindings);
  const double before = cpu_time(row);
  for (int i = 0; i < count; ++i) {
    series->latency_us.push_back(relay_one(stage, row, packet));
  }
  if (row.road != Road::kProgram) {
    wait_until_idle(row.pid);
  }
  return (cpu_time(row) - before) / 1e3 / count;
}

}  // namespace

double relay_one(Stage& stage, Row& row, Packet& packet) {
  Stations& stations = stage.stations;
  const uint32_t stamp = kFirstStamp + ++stations.last_stamp;
  const auto written = Clock::now();
  try {
    deliver(row, packet, stamp, stage.receivers);
    const auto arrived = stations.await_traps(stage.receivers, stamp);
    take_answer(row);
    ++row.relayed;
    stations.drain_log();
    return std::chrono::duration<double, std::micro>(arrived - written).count();
  } catch (const MeasurementFailed& failure) {
    throw MeasurementFailed(row.name + ": " + failure.what());
  }
}

void check_duties(Stage& stage) {
  const Relayed floor = relay_and_keep(stage, stage.rows.front());
  if (floor.lines.size() != static_cast<size_t>(stage.receivers)) {
    throw MeasurementFailed("the floor wrote " + std::to_string(floor.lines.size()) +
                            " log lines for " + std::to_string(stage.receivers) + " receivers");
  }
  for (Row& row : stage.rows) {
    if (!row.same_duties) {
      continue;
    }
    const Relayed relayed = relay_and_keep(stage, row);
    if (relayed.traps != floor.traps) {
      throw MeasurementFailed(row.name + " sends another trap than the floor:\n" +
                              hex_of(relayed.traps.front()) + "\n" + hex_of(floor.traps.front()));
    }
    if (relayed.lines != floor.lines) {
      throw MeasurementFailed(row.name + " logs otherwise than the floor: " +
                              (relayed.lines.empty() ? "nothing" : relayed.lines.front()));
    }
  }
}

std::vector<Series> run_rounds(Stage& stage, const std::vector<Turn>& turns, const RoundsPlan& plan,
                               const Progress& progress) {
  std::vector<Series> all(turns.size());
  const auto started = Clock::now();
  for (int round = 0; round < plan.rounds; ++round) {
    if (round >= kLeastTurns && Clock::now() - started > plan.at_most) {
      break;
    }
    progress(std::to_string(stage.receivers) + " of 3 receivers, round " +
             std::to_string(round + 1) + " of " + std::to_string(plan.rounds));
    for (size_t i = 0; i < turns.size(); ++i) {
      // Each round begins with another row.
      const size_t turn = (i + static_cast<size_t>(round)) % turns.size();
      Row& row = stage.rows[turns[turn].row];
      const int count = row.road == Road::kProgram ? std::max(1, plan.notifications / kProgramShare)
                                                   : plan.notifications;
      all[turn].cpu_us.push_back(run_round(stage, row, turns[turn].bindings, count, &all[turn]));
    }
  }
  return all;
}
