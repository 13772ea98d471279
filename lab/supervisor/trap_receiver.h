// SPDX-License-Identifier: Apache-2.0
// A trap receiver of a test: UDP port 162 of one IPv4 address.
#ifndef TVUREV_LAB_SUPERVISOR_TRAP_RECEIVER_H_
#define TVUREV_LAB_SUPERVISOR_TRAP_RECEIVER_H_

#include <string>
#include <vector>

#include "base/descriptor.h"

class TrapReceiver {
 public:
  // Returns an empty text, or what went wrong.
  std::string open(const std::string& address);

  int fd() const { return fd_.get(); }

  // Takes what is there, without waiting.
  void pump();

  // Everything received, in order, as trap_text() writes it.
  const std::vector<std::string>& traps() const { return traps_; }
  size_t count() const { return traps_.size(); }

 private:
  Descriptor fd_;
  std::vector<std::string> traps_;
};

#endif  // TVUREV_LAB_SUPERVISOR_TRAP_RECEIVER_H_
