// SPDX-License-Identifier: Apache-2.0
// Records what the daemon receives from host agents: each receive of its is one
// packet. A local stream cannot be listened to from outside, so the device shim
// in the daemon's process sends a copy of each receive here
// (lab/shim/agent_copy.h). Nothing here blocks.
#ifndef TVUREV_LAB_CAPTURE_AGENT_CAPTURE_H_
#define TVUREV_LAB_CAPTURE_AGENT_CAPTURE_H_

#include <poll.h>

#include <string>
#include <vector>

#include "base/descriptor.h"
#include "lab/capture/capture_file.h"

class AgentCapture {
 public:
  // From then on every receive is recorded, whenever pump() is called: the
  // daemon waits while too many copies are unread. Returns an empty text, or what
  // went wrong.
  std::string open(const std::string& path);

  void add_descriptors(std::vector<pollfd>* descriptors) const;

  // Records what was received meanwhile. Returns an empty text, or why the file
  // cannot be written. Does nothing while it is not open.
  std::string pump();

 private:
  Descriptor copies_;
  CaptureFile file_;
};

#endif  // TVUREV_LAB_CAPTURE_AGENT_CAPTURE_H_
