// SPDX-License-Identifier: Apache-2.0
// The parts of a check (ctl/check.h) and what they share. Each adds its findings;
// those called a job are run in a process of their own (ctl/jobs.h) and only return
// a text.
#ifndef TVUREV_CTL_CHECKING_H_
#define TVUREV_CTL_CHECKING_H_

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/check.h"
#include "ctl/findings.h"
#include "ctl/jobs.h"
#include "ctl/receivers.h"
#include "ctl/settings.h"
#include "ctl/view.h"

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

// The parts, in the order of the road.

// check_bmc.cc
bool check_driver(Checking& checking);  // false where the BMC cannot be asked
std::string ask_bmc();                  // a job
void check_bmc(Checking& checking, const Job& answers);
void check_no_bmc(Checking& checking, std::string_view why);

// check_settings.cc
void check_settings(Checking& checking);
void check_receivers(Checking& checking, const std::vector<Receiver>& receivers);
std::string ask_host_address();  // a job
void check_host_address(Checking& checking, const Job& address);

// check_host.cc
void check_folders(Checking& checking);
void check_socket(Checking& checking);
void check_log(Checking& checking);

// check_daemon.cc
void check_daemon(Checking& checking);
void check_marker_files(Checking& checking);

#endif  // TVUREV_CTL_CHECKING_H_
