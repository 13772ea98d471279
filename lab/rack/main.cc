// SPDX-License-Identifier: Apache-2.0
// lab-rack: what lab/fleet runs inside the sandbox.
#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>

#include "lab/rack/day.h"

namespace {

constexpr int kWrong = 2;
constexpr int kMostHosts = 10'000;
constexpr int kMostNotifications = 1'000'000;

}  // namespace

// Without memory for its options a program may end as it likes.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
  CLI::App app("Plays a rack's bad day on simulated hosts.", "lab-rack");
  DaySettings settings;
  bool no_restart = false;
  app.add_option("hosts", settings.hosts, "how many")->check(CLI::Range(1, kMostHosts))->required();
  app.add_option("--burst", settings.burst, "notifications of a host whose power feed fails")
      ->check(CLI::Range(1, kMostNotifications));
  app.add_option("--flood", settings.flood, "notifications of the host that floods")
      ->check(CLI::Range(1, kMostNotifications));
  app.add_option("--buffer", settings.receivers.buffer, "receive buffer of the receivers, bytes")
      ->check(CLI::NonNegativeNumber);
  app.add_option("--handler", settings.receivers.handler, "command that they run for every trap");
  app.add_option("--samples", settings.samples, "file to write for the plot");
  app.add_option("--preload", settings.preload, "library more for every daemon");
  app.add_flag("--no-restart", no_restart, "the BMCs do not restart");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    return 0;
  } catch (const CLI::ParseError& error) {
    std::fprintf(stderr, "fleet: %s\n", error.what());
    return kWrong;
  }
  settings.restart = !no_restart;
  const auto lab = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  settings.preload.insert(settings.preload.begin(),
                          {lab / "libmoxshim.so", lab / "libracksource.so"});
  rlimit files = {};  // some descriptors a host
  if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
  }
  return play_day(settings);
}
