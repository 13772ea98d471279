// SPDX-License-Identifier: Apache-2.0
// One host of a rack: the unmodified daemon on a root and at an address of its
// own, and its BMC, which lives in our process. Runs inside lab/sandbox, whose
// network the hosts share.
//
// Files: /run/rack/N, the root of host N; it is not removed, the sandbox is.
#ifndef TVUREV_LAB_RACK_HOST_H_
#define TVUREV_LAB_RACK_HOST_H_

#include <cstdint>
#include <string>
#include <vector>

#include "lab/sim/simulator.h"
#include "lab/supervisor/child.h"

struct RackHost {
  int number = 0;  // from 1
  std::string address;
  Simulator bmc;
  Child daemon;
  int session = -1;    // the channel that the daemon is connected by, or -1
  int connects = 0;    // how often it connected so far
  uint32_t said = 0;   // notifications that the BMC sent so far; they are numbered from 1
  bool waits = false;  // packets wait for room in the channel
};

// The address of host number 1, 2, ...: 198.18.0.1 and so on; and the number, 0
// for an address of nobody.
std::string address_of_host(int number);
int host_of_address(const std::string& address);

// Makes the root, serves the BMC's channels there and starts the daemon with the
// libraries that simulate its device and its network, and those of preload (paths
// in the sandbox). Returns an empty text, or what went wrong.
std::string start_host(RackHost* host, int number, const std::vector<std::string>& preload);

// Has the BMC send a notification with this specific trap number, which carries
// its running number in 1.3.6.1.4.1.32473.1.1.1.0. Returns an empty text, or what
// went wrong.
std::string say(RackHost* host, uint32_t specific, const std::string& text);

// The specific trap with which a BMC announces its own reset.
inline constexpr uint32_t kBmcResets = 6061;

// The memory that the daemon's processes have for themselves, shared pages
// counted by their share: KiB. Takes some milliseconds of the kernel.
long memory_of_host(const RackHost& host);

#endif  // TVUREV_LAB_RACK_HOST_H_
