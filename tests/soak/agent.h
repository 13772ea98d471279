// SPDX-License-Identifier: Apache-2.0
// The host agent of a life. It keeps the rule of docs/protocol-agentx.md: the
// next write only when the daemon has read the last one; what a daemon that ended
// has not read, it writes again to the next. What it does is a queue of steps; a
// step that cannot be done yet waits.
#ifndef TVUREV_TESTS_SOAK_AGENT_H_
#define TVUREV_TESTS_SOAK_AGENT_H_

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "tests/soak/account.h"
#include "tests/soak/clock_master.h"
#include "tests/support/packets.h"

struct AgentStep {
  enum class What { kWrite, kHangUp, kFinishSending, kConnectAtOnce, kPause };
  What what = What::kWrite;
  Bytes bytes = {};
  std::string trap = {};   // what the write must bring; empty for none
  bool last_word = false;  // hangs up right behind the write
  SimTime pause{0};
};

class Agent {
 public:
  void add(AgentStep step) { steps_.push_back(std::move(step)); }

  // Does what it can. Returns whether it did anything that the daemon can see.
  bool act(Account& account, SimTime now);

  // Nothing left to do, and everything read.
  bool idle() const { return steps_.empty() && !unread_; }
  int fd() const { return client_.get(); }
  bool connected() const { return client_.valid(); }
  // When it has to be asked again although nothing came.
  SimTime next() const { return paused_until_; }

 private:
  bool take_step(Account& account, SimTime now);
  bool write(const AgentStep& step, Account& account);
  bool connect();
  void see_hang_up(Account& account);

  std::deque<AgentStep> steps_;
  Descriptor client_;
  std::optional<AgentStep> unread_;  // the last write
  bool hasty_ = false;               // does not look for the running file
  SimTime paused_until_ = kNever;
};

#endif  // TVUREV_TESTS_SOAK_AGENT_H_
