// SPDX-License-Identifier: Apache-2.0
#include "ctl/check.h"

#include <syslog.h>

#include <algorithm>
#include <iterator>

#include "ctl/checking.h"

namespace {

constexpr int kBmcPatienceMs = 5'000;
constexpr int kCommandPatienceMs = 1'000;
constexpr int kArrives = 0;
constexpr int kDoesNotArrive = 1;
constexpr int kCannotTell = 3;
constexpr const char* kPassed =
    "The daemon that runs has passed this already; its next start would not.";

std::vector<std::string> written_down(const std::vector<std::string>& destinations) {
  std::vector<std::string> texts;
  texts.reserve(destinations.size());
  for (const std::string& destination : destinations) {
    texts.push_back(as_in_state_file(destination));
  }
  return texts;
}

// A daemon that runs has read the settings once.
void compare_with_daemon(Checking& checking) {
  const Settings& settings = checking.settings;
  checking.in_force = settings.destinations;
  checking.receivers = std::max(settings.entries.size(), settings.destinations.size());
  const bool readable = settings.state != Settings::State::kNeedsRoot;
  if (!checking.view.past_gates() || !checking.view.bmc || !readable) {
    return;
  }
  checking.changed = written_down(settings.destinations) != checking.view.bmc->receivers ||
                     settings.changed > checking.view.since();
  if (checking.changed) {
    checking.in_force = checking.view.bmc->receivers;
    checking.receivers = checking.in_force.size();
  }
}

// The last line.
void conclude(const Checking& checking, CheckReport& report) {
  const Findings& findings = checking.findings;
  const Finding* failure = findings.first_failure(Costs::kEverything);
  if (failure == nullptr && checking.reached == 0) {
    failure = findings.first_failure(Costs::kReceiver);
  }
  report.receivers = checking.receivers;
  if (failure != nullptr) {
    report.reached = 0;
    report.verdict = "A trap would NOT arrive: " + failure->text;
    report.exit_status = kDoesNotArrive;
  } else if (!checking.view.root) {
    report.verdict =
        "Cannot tell whether a trap would arrive: only root may ask the BMC and see the processes.";
    report.exit_status = kCannotTell;
  } else if (const Finding* unknown = findings.first_unknown()) {
    report.verdict = "Cannot tell whether a trap would arrive: " + unknown->text;
    report.exit_status = kCannotTell;
  } else if (checking.reached == 0) {
    report.reached = 0;
    report.verdict = "A trap would NOT arrive: tvurev takes no receiver out of its settings.";
    report.exit_status = kDoesNotArrive;
  } else {
    report.reached = checking.reached;
    report.verdict = "A trap would arrive at " + std::to_string(checking.reached) + " of " +
                     std::to_string(checking.receivers) + " receivers.";
    const bool everywhere = checking.reached == checking.receivers &&
                            findings.first_failure(Costs::kReceiver) == nullptr;
    report.exit_status = everywhere ? kArrives : kDoesNotArrive;
  }
}

std::vector<Receiver> all_examined(const Checking& checking, const std::vector<Job>& jobs) {
  std::vector<Receiver> receivers;
  for (size_t i = 0; i < jobs.size(); ++i) {
    receivers.push_back(examined(checking.in_force[i], jobs[i]));
  }
  return receivers;
}

// Whoever may wait begins first, and all wait side by side.
void look_along_the_road(Checking& checking) {
  const bool can_ask = check_driver(checking) && checking.view.root && checking.options.bmc;
  Job address = start_job(kCommandPatienceMs, ask_host_address);
  Job bmc;
  if (can_ask) {
    bmc = start_job(kBmcPatienceMs, ask_bmc);
  } else {
    bmc.end = Job::End::kNotBegun;
  }
  std::vector<Job> receivers = start_examining(checking.in_force, checking.options.probe);
  std::vector<Job*> jobs = {&address, &bmc};
  std::ranges::transform(receivers, std::back_inserter(jobs), [](Job& job) { return &job; });
  finish_jobs(jobs);

  if (can_ask && bmc.end == Job::End::kNotBegun) {
    check_no_bmc(checking, "no process could be had");
  } else if (can_ask) {
    check_bmc(checking, bmc);
  } else if (!checking.options.bmc) {
    check_no_bmc(checking, "--no-bmc");
  } else {
    check_no_bmc(checking, checking.view.root ? "it has no channel" : "only root may");
  }
  check_settings(checking);
  check_receivers(checking, all_examined(checking, receivers));
  check_host_address(checking, address);
  check_folders(checking);
  check_daemon(checking);
  check_socket(checking);
  check_marker_files(checking);
  check_log(checking);
}

}  // namespace

void Checking::add_gate(std::string_view id, std::initializer_list<std::string_view> words) {
  if (view.past_gates()) {
    findings.add_for_later(id, words, kPassed);
  } else {
    findings.add(id, words);
  }
}

CheckReport run_check(const CheckOptions& options) {
  setlogmask(LOG_MASK(LOG_DEBUG));  // the daemon's code says nothing to the host's log
  Checking checking;
  checking.options = options;
  checking.view = look_around();
  checking.settings = read_settings();
  compare_with_daemon(checking);
  look_along_the_road(checking);
  CheckReport report;
  report.findings = checking.findings.condensed();
  conclude(checking, report);
  return report;
}
