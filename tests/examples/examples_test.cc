// SPDX-License-Identifier: Apache-2.0
// The agents of examples/: what they hand over arrives, each notification once
// and in order, and what goes wrong is said.
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "lab/sim/notification.h"
#include "lab/supervisor/local_socket.h"
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kSocketFolder = "/opt/ortdv/sockets/agentx";
constexpr const char* kSocket = "/opt/ortdv/sockets/agentx/tvud";
constexpr int kBurst = 10'000;

class Example : public Host, public testing::WithParamInterface<const char*> {
 protected:
  void start(Child* agent, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), GetParam());
    ASSERT_EQ(agent->start({.arguments = arguments}), "");
  }

  int status_of(Child* agent) {
    EXPECT_TRUE(run_until([&] {
      agent->pump();
      return agent->ended();
    })) << agent->err();
    return agent->status();
  }

  // Its exit status and what it says when it runs alone.
  std::pair<int, std::string> outcome(const std::vector<std::string>& arguments) {
    Child agent;
    start(&agent, arguments);
    const int status = status_of(&agent);
    return {status, agent.out() + agent.err()};
  }

  testing::AssertionResult run_until_said(Child* agent, const std::string& text) {
    return run_until([&] {
             agent->pump();
             return agent->err().find(text) != std::string::npos;
           })
           << agent->err();
  }
};

// A received trap without its time stamp.
std::string without_time(const std::string& trap) {
  const size_t stamp = trap.find('@');
  return trap.substr(0, stamp) + trap.substr(trap.find(' ', stamp) + 1);
}

std::string trap_number(int number, const std::string& text) {
  return "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 1.3.6.1.4.1.32473.1.1.1.0=" +
         std::to_string(number) + " 1.3.6.1.4.1.32473.1.1.2.0=\"" + text + "\"";
}

TEST_P(Example, EveryNotificationOfABurstArrivesOnceAndInOrder) {
  write_targets("192.0.2.7@162 public");
  const int room = 4 << 20;  // as much as the kernel grants
  setsockopt(receiver.fd(), SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
  start_relay();
  Child agent;
  start(&agent, {"--count", std::to_string(kBurst), "all of them"});
  EXPECT_EQ(status_of(&agent), 0);
  EXPECT_EQ(agent.err(), "");
  ASSERT_TRUE(run_until_traps(kBurst));
  ASSERT_EQ(receiver.count(), size_t{kBurst});
  for (int i = 0; i < kBurst; ++i) {
    ASSERT_EQ(without_time(receiver.traps()[static_cast<size_t>(i)]),
              trap_number(i + 1, "all of them"));
  }
  // Nothing was taken together. (Log lines may be lost where this test is held up.)
  EXPECT_TRUE(log_starting("3 ").empty());
}

TEST_P(Example, ANotificationOfAnyLengthArrivesWhole) {
  start_relay();
  for (const size_t length : {0U, 1U, 3U, 4U, 255U}) {
    const std::string text(length, 'x');
    EXPECT_EQ(outcome({text}).first, 0);  // it may have had to wait for the daemon
    ASSERT_TRUE(run_until([&] {
      return !receiver.traps().empty() &&
             without_time(receiver.traps().back()) == trap_number(1, text);
    })) << length;
  }
}

TEST_P(Example, ASecondAgentWaitsUntilThePauseIsOver) {
  start_relay();
  touch(kHoldFile);
  EXPECT_EQ(outcome({"first"}), std::pair(0, std::string()));
  ASSERT_TRUE(run_until_logged("clock: sleep 30"));
  Child agent;
  start(&agent, {"second"});
  ASSERT_TRUE(
      run_until_said(&agent,
                     "tvurev takes no client (/opt/ortdv/tmp/tvurevrunning.text: No such file or "
                     "directory); waiting\n"));
  EXPECT_EQ(receiver.count(), 1U);
  unlink(kHoldFile);
  EXPECT_EQ(status_of(&agent), 0);
  ASSERT_TRUE(run_until_traps(2));
  EXPECT_EQ(without_time(receiver.traps()[1]), trap_number(1, "second"));
}

// Plays the daemon, to hang up between two reads.
class HangUp : public Example {
 protected:
  void SetUp() override {
    Example::SetUp();
    std::filesystem::create_directories(kSocketFolder);
    listener_ = serve_local(SOCK_STREAM, kSocket);
    ASSERT_TRUE(listener_.valid());
    touch(kRunningFile);
  }

  void accept_agent(Child* agent) {
    ASSERT_TRUE(run_until([&] {
      agent->pump();
      client_ = Descriptor(accept(listener_.get(), nullptr, nullptr));
      return client_.valid();
    })) << agent->err();
  }

  // The next notification's running number, taken or left there.
  int number(int flags) {
    std::array<uint8_t, 4096> bytes = {};
    const ssize_t length = recv(client_.get(), bytes.data(), bytes.size(), flags);
    const std::string text =
        describe_notify(std::span(bytes).first(static_cast<size_t>(std::max<ssize_t>(length, 0))));
    const std::string before = "1.3.6.1.4.1.32473.1.1.1.0=integer:";
    const size_t found = text.find(before);
    EXPECT_NE(found, std::string::npos) << text;
    return found == std::string::npos ? -1 : std::atoi(text.c_str() + found + before.size());
  }

  Descriptor listener_;
  Descriptor client_;
};

TEST_P(HangUp, WhatWasNotReadIsSentAgainAndNothingElse) {
  Child agent;
  start(&agent, {"--count", "3"});
  accept_agent(&agent);
  const int first = number(0);
  const int left_unread = number(MSG_PEEK);
  unlink(kRunningFile);
  client_.reset();
  ASSERT_TRUE(run_until_said(&agent, "notify: tvurev hung up before it read number 2\n"));
  ASSERT_TRUE(run_until_said(&agent, "; waiting\n"));
  touch(kRunningFile);
  accept_agent(&agent);
  const int again = number(0);
  const int last = number(0);
  const std::vector<int> numbers = {first, left_unread, again, last};
  EXPECT_THAT(numbers, ElementsAre(1, 2, 2, 3));
  EXPECT_EQ(status_of(&agent), 0);
}

TEST_P(HangUp, WhatWasReadBeforeAHangUpIsNotSentAgain) {
  Child agent;
  start(&agent, {"--count", "2"});
  accept_agent(&agent);
  EXPECT_EQ(number(0), 1);
  client_.reset();
  accept_agent(&agent);
  EXPECT_EQ(number(0), 2);
  EXPECT_EQ(status_of(&agent), 0);
}

// Without it the kernel may let one receive take what is written just then, too.
TEST_P(HangUp, ANotificationCarriesADescriptorThatEndsTheReceive) {
  Child agent;
  start(&agent, {});
  accept_agent(&agent);
  std::array<uint8_t, 4096> bytes = {};
  iovec part = {.iov_base = bytes.data(), .iov_len = bytes.size()};
  msghdr message = {};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  EXPECT_GT(recvmsg(client_.get(), &message, 0), 0);
  EXPECT_NE(message.msg_flags & MSG_CTRUNC, 0) << "no descriptor came with it";
  EXPECT_EQ(status_of(&agent), 0);
}

TEST_P(HangUp, NobodyBehindTheSocketIsSaid) {
  listener_.reset();
  EXPECT_EQ(outcome({"--wait", "0"}),
            std::pair(1, std::string("notify: tvurev takes no client "
                                     "(/opt/ortdv/sockets/agentx/tvud: Connection refused)\n")));
}

TEST_P(Example, AHostWithoutTheDaemonIsSaid) {
  EXPECT_EQ(outcome({"--wait", "0"}),
            std::pair(1, std::string("notify: tvurev takes no client "
                                     "(/opt/ortdv/tmp/tvurevrunning.text: No such file or "
                                     "directory)\n")));
}

TEST_P(Example, OptionsAreExplainedAndWrongOnesRefused) {
  const auto [status, help] = outcome({"--help"});
  EXPECT_EQ(status, 0);
  EXPECT_THAT(help, HasSubstr("sage: notify"));
  EXPECT_THAT(help, HasSubstr("--count N"));
  EXPECT_EQ(outcome({"--cuont", "1"}).first, 2);
  EXPECT_EQ(outcome({"--count", "many"}).first, 2);
  EXPECT_EQ(outcome({"--count"}).first, 2);
  EXPECT_EQ(outcome({std::string(256, 'x')}).first, 2);
}

constexpr const char* kC = C_EXAMPLE;
constexpr const char* kPython = PYTHON_EXAMPLE;
std::string language(const testing::TestParamInfo<const char*>& info) {
  return info.param == kC ? "C" : "Python";
}
INSTANTIATE_TEST_SUITE_P(Agent, Example, testing::Values(kC, kPython), language);
INSTANTIATE_TEST_SUITE_P(Agent, HangUp, testing::Values(kC, kPython), language);

}  // namespace
