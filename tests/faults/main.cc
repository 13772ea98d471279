// SPDX-License-Identifier: Apache-2.0
// Plays lives of the daemon: reads a fault a line ("-" for none) from standard
// input, and writes what was seen, one JSON object a line. tests/faults/walk.py
// starts it in a sandbox.
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/faults/life.h"

namespace {

nlohmann::json as_json(const Life& life) {
  nlohmann::json sent = nlohmann::json::array();
  for (const Sent& notification : life.sent) {
    sent.push_back({{"road", notification.road},
                    {"number", notification.number},
                    {"arrived", notification.arrived}});
  }
  return {{"fault", life.fault},
          {"error", life.error},
          {"hit", life.hit},
          {"frames", life.frames},
          {"steps", life.steps},
          {"sent", sent},
          {"bmc_road", life.bmc_road},
          {"agent_road", life.agent_road},
          {"first_status", life.first_status},
          {"proxy_status", life.proxy_status},
          {"asked_to_stop", life.asked_to_stop},
          {"proxy_asked_to_stop", life.proxy_asked_to_stop},
          {"left", life.left},
          {"commands", life.commands},
          {"descriptors", life.descriptors},
          {"zombies", life.zombies},
          {"blocks", life.blocks},
          {"simulated_seconds", life.simulated_seconds},
          {"calls", life.calls},
          {"log", life.log},
          {"started_again", life.started_again},
          {"relayed_again", life.relayed_again},
          {"log_again", life.log_again}};
}

}  // namespace

int main() {
  for (std::string fault; std::getline(std::cin, fault);) {
    const Life life = play_life(fault == "-" ? "" : fault);
    constexpr auto kReplaceWrongUtf8 = nlohmann::json::error_handler_t::replace;
    std::cout << as_json(life).dump(-1, ' ', false, kReplaceWrongUtf8) << std::endl;
  }
}
