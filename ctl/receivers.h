// SPDX-License-Identifier: Apache-2.0
// Whether a trap would reach a receiver, as far as this host can tell: its address
// by the daemon's own code, and what becomes of one empty datagram.
#ifndef TVUREV_CTL_RECEIVERS_H_
#define TVUREV_CTL_RECEIVERS_H_

#include <string>
#include <vector>

#include "ctl/jobs.h"

struct Receiver {
  std::string text;     // as the settings have it
  std::string address;  // empty where there is none
  std::string why;      // there is none
  int error = 0;        // of the datagram; ECONNREFUSED where nobody listens
  bool probed = false;
};

// Starts one job a receiver. Each is over within a second for its name and a
// quarter for the datagram.
std::vector<Job> start_examining(const std::vector<std::string>& destinations, bool probe);

Receiver examined(const std::string& destination, const Job& job);

#endif  // TVUREV_CTL_RECEIVERS_H_
