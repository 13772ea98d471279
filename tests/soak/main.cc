// SPDX-License-Identifier: Apache-2.0
// The soak test, inside a sandbox; ./soak starts it.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "tests/soak/flood.h"
#include "tests/soak/life.h"
#include "tests/soak/month.h"

int main(int argc, char** argv) {
  LifeSettings settings;
  bool show = false;
  CLI::App app("Lives a seeded life of the daemon in simulated time.");
  app.add_option("--days", settings.days)->check(CLI::Range(1, 3650));
  app.add_option("--events", settings.events)->check(CLI::Range(1, 10'000'000));
  app.add_option("--seed", settings.seed);
  app.add_option("--without", settings.without, "leave this kind of event out")->delimiter(',');
  app.add_flag("--show", show, "print the events and do nothing");
  FloodSettings flood_settings;
  std::string road;
  app.add_option("--flood", road)->check(CLI::IsMember({"channel", "agent"}));
  app.add_option("--seconds", flood_settings.seconds)->check(CLI::Range(1, 100'000));
  CLI11_PARSE(app, argc, argv);
  if (!road.empty()) {
    flood_settings.road = road == "channel" ? Road::kChannel : Road::kSocket;
    flood_settings.seed = settings.seed;
    return flood(flood_settings, SOAK_CLOCK) ? 0 : 1;
  }
  if (show) {
    for (const LifeEvent& event : make_life(settings)) {
      puts(event_text(event).c_str());
    }
    return 0;
  }
  return live(settings, SOAK_CLOCK) ? 0 : 1;
}
