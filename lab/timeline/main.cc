// SPDX-License-Identifier: Apache-2.0
// lab-timeline: what lab/run runs inside the sandbox. Shows the host, the BMC
// and the trap receivers in one timeline, or runs a command beside the BMC.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <span>

#include "lab/sim/scenario.h"
#include "lab/timeline/command.h"
#include "lab/timeline/show.h"
#include "wire/chif.h"

namespace {

constexpr int kWrong = 2;

struct Settings {
  ShowSettings show;
  std::string agent;
  std::vector<std::string> command;
};

int complain(const std::string& what) {
  std::fprintf(stderr, "lab: %s\n", what.c_str());
  return kWrong;
}

// A file of "notify" lines, for the agent's socket: the PDUs without the BMC's
// header around them.
std::string load_agent(const std::string& path, std::vector<Bytes>* notifications) {
  const Scenario scenario = load_scenario(path);
  for (const ScenarioLine& line : scenario.lines) {
    const auto* push = std::get_if<PushEvent>(&line.event);
    if (push == nullptr || push->packet.size() < chif::notification::kPdu) {
      return path + ":" + std::to_string(line.number) + ": an agent can only notify";
    }
    notifications->emplace_back(push->packet.begin() + chif::notification::kPdu,
                                push->packet.end());
  }
  return scenario.error;
}

}  // namespace

// Without memory for its options a program may end as it likes.
// NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
  CLI::App app("Shows the simulated host, its BMC and its trap receivers in one timeline.",
               "lab-timeline");
  Settings settings;
  app.add_option("--scenario", settings.show.scenario, "what the BMC does")->type_name("FILE");
  app.add_option("--nvram", settings.show.nvram, "the BMC's variables")->type_name("FILE");
  app.add_option("--agent", settings.agent, "notifications of a local agent")->type_name("FILE");
  app.add_option("--mibs", settings.show.mibs, "folders of MIB modules that name what traps hold")
      ->type_name("DIR[:DIR...]");
  app.add_option("--receiver", settings.show.receivers, "address to receive traps at")
      ->type_name("ADDRESS")
      ->expected(1)
      ->take_all();
  app.add_option("--pcap", settings.show.pcap, "directory to record what is sent in")
      ->type_name("DIR");
  app.add_flag("--keep", settings.show.keep, "stay up and take events from standard input");
  app.footer("After \"--\": a command to run beside the BMC instead of the daemon.");
  const std::span words(argv, static_cast<size_t>(argc));
  const auto own_end =
      std::ranges::find_if(words, [](const char* word) { return std::string_view(word) == "--"; });
  if (own_end != words.end()) {
    settings.command.assign(own_end + 1, words.end());
  }
  try {
    app.parse(static_cast<int>(own_end - words.begin()), argv);
  } catch (const CLI::CallForHelp&) {
    std::fputs(app.help().c_str(), stdout);
    return 0;
  } catch (const CLI::ParseError& error) {
    return complain(error.what());
  }
  settings.show.tools = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  if (!settings.agent.empty()) {
    if (const std::string error = load_agent(settings.agent, &settings.show.agent_notifications);
        !error.empty()) {
      return complain(error);
    }
  }
  return settings.command.empty() ? run_show(settings.show)
                                  : run_command(settings.show, settings.command);
}
