// A host agent: a client of the daemon's local socket.
#ifndef TVUREV_TESTS_E2E_LOCAL_CLIENT_H_
#define TVUREV_TESTS_E2E_LOCAL_CLIENT_H_

#include <cstdint>
#include <span>
#include <string>

#include "lab/sim/channel_server.h"

class LocalClient {
 public:
  // Connects, or waits in the backlog. Returns an empty text, or what went wrong.
  std::string connect();

  // Writes everything as one piece. Returns whether it was taken.
  bool send(std::span<const uint8_t> bytes) const;

  // What the daemon sent back so far, without waiting.
  std::string receive() const;

  // Closes the sending side only.
  void finish_sending() const;

  void hang_up() { fd_.reset(); }

 private:
  OwnedFd fd_;
};

#endif  // TVUREV_TESTS_E2E_LOCAL_CLIENT_H_
