// SPDX-License-Identifier: Apache-2.0
// A whole show: the services of the host, the simulated BMC and the daemon,
// started one after the other as soon as each is ready, and one timeline of
// what they say.
#ifndef TVUREV_LAB_TIMELINE_SHOW_H_
#define TVUREV_LAB_TIMELINE_SHOW_H_

#include <string>
#include <vector>

#include "lab/sim/text.h"

struct ShowSettings {
  std::string tools;                       // directory of mox-sim
  std::string scenario;                    // may be empty
  std::string nvram;                       // file, may be empty
  std::string mibs;                        // folders of MIB modules, with ":"; may be empty
  std::vector<std::string> receivers;      // addresses for snmptrapd
  std::vector<Bytes> agent_notifications;  // one PDU each
  std::string pcap;                        // directory for recordings; empty: none
  bool keep = false;
};

// Runs the show to its end. Returns 0 when the scenario passed and a trap
// arrived, 1 when not, 130 after an interruption.
int run_show(const ShowSettings& settings);

#endif  // TVUREV_LAB_TIMELINE_SHOW_H_
