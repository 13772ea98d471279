// SPDX-License-Identifier: Apache-2.0
// Records the traps as the network carries them: IP packets to UDP port 162 on
// the loopback interface, which is all the network that the simulated host has.
// Nothing here blocks. Needs the sandbox, or CAP_NET_RAW.
#ifndef TVUREV_LAB_CAPTURE_TRAP_CAPTURE_H_
#define TVUREV_LAB_CAPTURE_TRAP_CAPTURE_H_

#include <poll.h>

#include <string>
#include <vector>

#include "lab/capture/capture_file.h"

class TrapCapture {
 public:
  // From then on no trap is missed, whenever pump() is called. Returns an empty
  // text, or what went wrong.
  std::string open(const std::string& path);

  void add_descriptors(std::vector<pollfd>* descriptors) const;

  // Records what was seen meanwhile. Returns an empty text, or what went wrong:
  // the file cannot be written, or packets came faster than this was called and
  // are missing. Does nothing while it is not open.
  std::string pump();

 private:
  Pcap interface_;
  CaptureFile file_;
  unsigned missing_ = 0;
};

#endif  // TVUREV_LAB_CAPTURE_TRAP_CAPTURE_H_
