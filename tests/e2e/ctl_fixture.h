// SPDX-License-Identifier: Apache-2.0
// A host for tvurevctl: the fixture of the daemon's tests, and the tool run beside
// it.
#ifndef TVUREV_TESTS_E2E_CTL_FIXTURE_H_
#define TVUREV_TESTS_E2E_CTL_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/e2e/host.h"

inline constexpr const char* kState = "/opt/ortdv/tmp/tvurevstate.text";
inline constexpr const char* kAgentState = "/opt/ortdv/tmp/tvurevagentstate.text";

// What the tool printed, and how it ended.
struct Told {
  int status = -1;
  std::string out;
  std::string err;

  // The lines, without the last one; and the last one.
  std::vector<std::string> lines() const;
  std::string last() const;
  // The first line that ends with "[ID]", or empty.
  std::string line_of(std::string_view id) const;
};

class CtlHost : public Host {
 public:
  void SetUp() override;

  // Until both processes have written down that they wait, which they do after they
  // have logged it.
  void start_relay(const Settings& settings = {});
  // Until a state file says this.
  testing::AssertionResult run_until_state(const char* file, const std::string& state);

  // Runs "tvurevctl ARGUMENTS" while the BMC answers.
  Told ctl(std::vector<std::string> arguments);
  // The same without anybody serving the BMC or reading the log.
  static Told ctl_alone(const std::string& arguments);

  // What the tool sees from now on as another user's files.
  std::string foreign_files;
  // Whether its patience with others ends soon.
  bool impatient = false;
  // More of its environment.
  std::vector<std::string> environment;

  // For plays, which are no members.
  using Host::daemon;
  using Host::event;
  using Host::run_until;
  using Host::run_until_logged;
  using Host::socket_proxy;
};

#endif  // TVUREV_TESTS_E2E_CTL_FIXTURE_H_
