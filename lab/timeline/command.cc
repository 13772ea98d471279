// SPDX-License-Identifier: Apache-2.0
#include "lab/timeline/command.h"

#include <poll.h>

#include <cstdio>

#include "lab/capture/recording.h"
#include "lab/supervisor/child.h"
#include "lab/timeline/programs.h"

namespace {

// How often to look at what wakes nobody.
constexpr int kLookMs = 10;
constexpr int kWrong = 2;
constexpr int kNotFound = 127;

// Waits a moment for anything of these two and takes it. What goes wrong with the
// recording is told once: it ends with that.
void pump_both(Child* one, Child* other, Recording* recording) {
  std::vector<pollfd> descriptors;
  one->add_descriptors(&descriptors);
  other->add_descriptors(&descriptors);
  recording->add_descriptors(&descriptors);
  poll(descriptors.data(), descriptors.size(), kLookMs);
  one->pump();
  other->pump();
  if (const std::string error = recording->pump(); !error.empty()) {
    std::fprintf(stderr, "lab: %s\n", error.c_str());
  }
}

}  // namespace

int run_command(const ShowSettings& settings, const std::vector<std::string>& command) {
  Child bmc;
  Child program;
  Recording recording;
  if (const std::string error = settings.pcap.empty() ? "" : recording.open(settings.pcap);
      !error.empty()) {
    std::fprintf(stderr, "lab: %s\n", error.c_str());
    return kWrong;
  }
  std::string said = bmc.start(bmc_program(settings));
  bool ready = false;
  while (!ready && bmc.running()) {
    pump_both(&bmc, &program, &recording);
    for (const std::string& line : bmc.take_lines()) {
      ready = ready || line == kBmcReady;
      said = line;
    }
  }
  if (!ready) {
    std::fprintf(stderr, "lab: %s\n", said.c_str());
    return kWrong;
  }
  const std::string error =
      program.start({.arguments = command, .environment = on_host(), .output = Program::kOurs});
  if (!error.empty()) {
    std::fprintf(stderr, "%s\n", error.c_str());
    return kNotFound;
  }
  while (program.running()) {
    pump_both(&bmc, &program, &recording);
    bmc.take_lines();
  }
  return program.status();
}
