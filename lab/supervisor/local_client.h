// SPDX-License-Identifier: Apache-2.0
// A host agent: a client of the daemon's local socket.
#ifndef TVUREV_LAB_SUPERVISOR_LOCAL_CLIENT_H_
#define TVUREV_LAB_SUPERVISOR_LOCAL_CLIENT_H_

#include <cstdint>
#include <span>
#include <string>

#include "base/descriptor.h"

class LocalClient {
 public:
  // Connects, or waits in the backlog. Returns an empty text, or what went wrong.
  std::string connect();
  bool connected() const { return fd_.valid(); }

  // Writes everything as one piece. Returns whether it was taken.
  bool send(std::span<const uint8_t> bytes) const;
  // Whether the daemon has read all of it; whether it has closed its end.
  bool is_all_read() const;
  bool is_hung_up() const;

  // What the daemon sent back so far, without waiting.
  std::string receive() const;

  // Closes the sending side only.
  void finish_sending() const;

  void hang_up() { fd_.reset(); }

 private:
  Descriptor fd_;
};

#endif  // TVUREV_LAB_SUPERVISOR_LOCAL_CLIENT_H_
