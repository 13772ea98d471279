// SPDX-License-Identifier: Apache-2.0
// What is recorded of a simulated host beside the BMC's channels, which mox-sim
// records itself: the agents' socket and the traps. Nothing here blocks.
#ifndef TVUREV_LAB_CAPTURE_RECORDING_H_
#define TVUREV_LAB_CAPTURE_RECORDING_H_

#include <poll.h>

#include <string>
#include <vector>

#include "lab/capture/agent_capture.h"
#include "lab/capture/trap_capture.h"

struct Recording {
  AgentCapture agent;
  TrapCapture traps;

  // Starts agent.pcap and traps.pcap in the directory. Returns an empty text, or
  // what went wrong, as pump() does.
  std::string open(const std::string& directory) {
    const std::string error = agent.open(directory + "/agent.pcap");
    return error.empty() ? traps.open(directory + "/traps.pcap") : error;
  }

  void add_descriptors(std::vector<pollfd>* descriptors) const {
    agent.add_descriptors(descriptors);
    traps.add_descriptors(descriptors);
  }

  // Records what there is. Does nothing when no recording was started.
  std::string pump() {
    const std::string error = agent.pump();
    return error.empty() ? traps.pump() : error;
  }
};

#endif  // TVUREV_LAB_CAPTURE_RECORDING_H_
