// SPDX-License-Identifier: Apache-2.0
#include "lab/timeline/programs.h"

#include "lab/supervisor/trap_daemon.h"

Program bmc_program(const ShowSettings& settings) {
  Program program = {.arguments = {settings.tools + "/mox-sim", "--live", "--stay"},
                     .output = Program::kMerged,
                     .has_input = true};
  if (!settings.nvram.empty()) {
    program.arguments.insert(program.arguments.end(), {"--nvram", settings.nvram});
  }
  if (!settings.pcap.empty()) {
    program.arguments.insert(program.arguments.end(), {"--pcap", settings.pcap + "/channel.pcap"});
  }
  if (!settings.scenario.empty()) {
    program.arguments.push_back(settings.scenario);
  }
  return program;
}

Program receiver_program(const ShowSettings& settings) {
  return settings.mibs.empty()
             ? trap_daemon(settings.receivers)
             : trap_daemon(settings.receivers, {"-M", settings.mibs, "-m", "ALL", "-OS"});
}

std::vector<std::string> on_host() {
  // The sanitizers want to be the first library.
  return {"LD_PRELOAD=/run/lab/libmoxshim.so", "ASAN_OPTIONS=verify_asan_link_order=0"};
}
