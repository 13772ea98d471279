// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/agent.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "lab/supervisor/local_socket.h"
#include "tests/soak/paths.h"

namespace {

constexpr const char* kAgentSocket = "/opt/ortdv/sockets/agentx/tvud";

// What the kernel says where something was left unread.
bool was_reset(int fd) {
  int error = 0;
  socklen_t size = sizeof error;
  return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == ECONNRESET;
}

}  // namespace

bool Agent::act(Account& account, SimTime now) {
  bool any = false;
  if (client_.valid() && has_hung_up(client_.get())) {
    see_hang_up(account);
    any = true;
  }
  if (unread_ && is_all_read(client_.get())) {
    unread_.reset();
  }
  while (!unread_ && !steps_.empty() && take_step(account, now)) {
    any = true;
  }
  return any;
}

void Agent::see_hang_up(Account& account) {
  if (unread_ && was_reset(client_.get())) {
    if (!unread_->trap.empty()) {
      take_back(account, Road::kSocket, unread_->trap);
    }
    steps_.push_front(std::move(*unread_));
  }
  unread_.reset();
  client_.reset();
}

bool Agent::connect() {
  if (!hasty_ && !exists(kRunningFile)) {
    return false;
  }
  client_ = connect_local(SOCK_STREAM, kAgentSocket);
  hasty_ = hasty_ && !client_.valid();
  return client_.valid();
}

bool Agent::write(const AgentStep& step, Account& account) {
  if (!client_.valid() && !connect()) {
    return false;
  }
  if (!step.trap.empty()) {
    expect_trap(account, Road::kSocket, step.trap);
  }
  send(client_.get(), step.bytes.data(), step.bytes.size(), MSG_NOSIGNAL);
  if (step.last_word) {
    // What was written stays readable.
    client_.reset();
  } else {
    unread_ = step;
  }
  return true;
}

// Returns false when the step has to wait.
bool Agent::take_step(Account& account, SimTime now) {
  const AgentStep& step = steps_.front();
  switch (step.what) {
    case AgentStep::What::kWrite:
      if (!write(step, account)) {
        return false;
      }
      break;
    case AgentStep::What::kHangUp:
      client_.reset();
      break;
    case AgentStep::What::kFinishSending:
      if (client_.valid()) {
        shutdown(client_.get(), SHUT_WR);
      }
      break;
    case AgentStep::What::kConnectAtOnce:
      hasty_ = true;
      break;
    case AgentStep::What::kPause:
      if (paused_until_ == kNever) {
        paused_until_ = now + step.pause;
      }
      if (now < paused_until_) {
        return false;
      }
      paused_until_ = kNever;
      break;
  }
  steps_.pop_front();
  return true;
}
