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
#include "ctl/settings.h"
#include "ctl/view.h"

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

// What the parts of a check share.
struct Checking {
  CheckOptions options;
  View view;
  Settings settings;
  // Whether the receivers in force are others than those of the file.
  bool changed = false;
  std::vector<std::string> in_force;  // receivers
  size_t receivers = 0;
  size_t reached = 0;
  Findings findings;

  // Adds what is wrong with a gate: no harm is done once the daemon has passed it.
  void add_gate(std::string_view id, std::initializer_list<std::string_view> words = {});
};

// The parts, in the order of the road; each in the file of its name.
struct Job;
struct Receiver;
bool check_driver(Checking& checking);  // false where the BMC cannot be asked
std::string ask_bmc();                  // a job
void check_bmc(Checking& checking, const Job& answers);
void check_no_bmc(Checking& checking, std::string_view why);
void check_settings(Checking& checking);
void check_receivers(Checking& checking, const std::vector<Receiver>& receivers);
std::string ask_host_address();  // a job
void check_host_address(Checking& checking, const Job& address);
void check_folders(Checking& checking);
void check_daemon(Checking& checking);
void check_socket(Checking& checking);
void check_marker_files(Checking& checking);
void check_log(Checking& checking);

#endif  // TVUREV_CTL_CHECK_H_
