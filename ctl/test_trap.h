// SPDX-License-Identifier: Apache-2.0
// Sends a test notification: with the daemon's own code and the settings in the
// file, or through the daemon.
#ifndef TVUREV_CTL_TEST_TRAP_H_
#define TVUREV_CTL_TEST_TRAP_H_

#include <string>

#include "ctl/outcome.h"

struct TestTrapOptions {
  std::string receiver;  // only this one; empty for all
  std::string oid;       // empty for the one that this program was built with
  std::string text = "tvurevctl test trap";
  bool through_daemon = false;
};

// Names receiver by receiver what was handed over. The OID that it was built with is
// refused where it is one for documentation, unless TVUREVCTL_LAB is 1 in the
// environment. A few seconds.
Outcome run_test_trap(const TestTrapOptions& options);

#endif  // TVUREV_CTL_TEST_TRAP_H_
