// SPDX-License-Identifier: Apache-2.0
// Would a trap arrive, and if not, why? Looks at every gate and every link of the
// road in their order. Changes nothing: no marker or status file, no variable of
// the BMC, no connection to the agent socket, no trap.
#ifndef TVUREV_CTL_CHECK_H_
#define TVUREV_CTL_CHECK_H_

#include <optional>
#include <string>
#include <vector>

#include "ctl/findings.h"

struct CheckOptions {
  bool bmc = true;    // ask the BMC
  bool probe = true;  // send each receiver an empty datagram
};

struct CheckReport {
  std::vector<Finding> findings;
  std::string verdict;            // the last line
  std::optional<size_t> reached;  // nothing where it cannot be told
  size_t receivers = 0;
  int exit_status = 0;
};

// Takes a second or two, ten at most.
CheckReport run_check(const CheckOptions& options);

#endif  // TVUREV_CTL_CHECK_H_
