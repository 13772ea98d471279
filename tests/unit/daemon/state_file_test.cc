// SPDX-License-Identifier: Apache-2.0
// The state files: their bytes, and the calls that bring them into being.
#include <unistd.h>

#include <string>
#include <string_view>

#include "base/text.h"
#include "bmc/channel.h"
#include "tests/unit/daemon/daemon_fixture.h"
#include "tests/unit/daemon/state_recorder.h"

namespace {

constexpr const char* kFile = "/opt/ortdv/tmp/tvurevstate.text";
constexpr const char* kNew = "/opt/ortdv/tmp/tvurevstate.text.new";
constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
constexpr int kOpened = 7;

// What was noted last is kept: each test notes a state of its own.
class StateFile : public Daemon {
 protected:
  static void expect_written(CallScript& script, const std::string& path) {
    script.unlink(path + ".new").fails(ENOENT);
    script.open(path + ".new", kFlags).returns(kOpened);
    script.write(kOpened);
    script.close(kOpened);
    script.rename(path + ".new", path);
  }
  // What was written, its times as N.
  static std::string text(const CallScript& script, size_t number = 0) {
    const Bytes bytes = script.written().at(number);
    std::string text(bytes.begin(), bytes.end());
    constexpr std::string_view kKey = "since=";
    for (size_t at = 0; (at = text.find(kKey, at)) != text.npos;) {
      at += kKey.size();
      if (text.find_first_of("123456789", at) == at) {
        text.replace(at, text.find_first_not_of("0123456789", at) - at, "N");
      }
    }
    return text;
  }
  static std::string begin(const char* state) {
    return "pid=" + std::to_string(getpid()) +
           "\nversion=" TVUREV_VERSION "\nsince=N\nstate=" + state + "\nstate_since=N\n";
  }
};

TEST_F(StateFile, NamesProcessStateAddressAndReceiversWithoutCommunities) {
  trap_destinations = {"192.0.2.7", "  receiver.example", "192.0.2.8 secret;192.0.2.9"};
  trap_communities = {"public", "ops", "other"};
  copy_text(host_ipaddress, "192.0.2.20");
  CallScript script;
  expect_written(script, kFile);
  __real__Z14note_bmc_state8BmcState(BmcState::kStarting);
  EXPECT_EQ(text(script),
            begin("starting") +
                "host_address=192.0.2.20\nreceiver=192.0.2.7\nreceiver=receiver.example\n"
                "receiver=192.0.2.8;\n");
}

TEST_F(StateFile, NamesTheChannelWhileOneIsOpen) {
  CallScript script;
  script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb15", O_RDWR | O_EXCL | O_CLOEXEC).returns(5);
  script.usleep(10'000);
  mox_chrdev("tvud");
  expect_written(script, kFile);
  __real__Z14note_bmc_state8BmcState(BmcState::kConnected);
  EXPECT_EQ(text(script), begin("connected") + "host_address=\nchannel=15\n");
}

TEST_F(StateFile, IsWrittenAtAChangeOnly) {
  CallScript script;
  expect_written(script, kFile);
  __real__Z14note_bmc_state8BmcState(BmcState::kUnconnected);
  __real__Z14note_bmc_state8BmcState(BmcState::kUnconnected);
}

TEST_F(StateFile, OfTheSocketProxySaysWhetherAnAgentIsConnected) {
  CallScript script;
  const std::string file = "/opt/ortdv/tmp/tvurevagentstate.text";
  expect_written(script, file);
  expect_written(script, file);
  __real__Z16note_agent_state10AgentState(AgentState::kListening);
  __real__Z16note_agent_state10AgentState(AgentState::kServing);
  EXPECT_EQ(text(script, 0), begin("listening") + "host_address=\nagent=0\n");
  EXPECT_EQ(text(script, 1), begin("serving") + "host_address=\nagent=1\n");
}

TEST_F(StateFile, ThatCannotBeWrittenTakesTheOneBeforeAway) {
  CallScript script;
  script.unlink(kNew).fails(ENOENT);
  script.open(kNew, kFlags).returns(kOpened);
  script.write(kOpened).fails(ENOSPC);
  script.close(kOpened);
  script.unlink(kNew);
  script.unlink(kFile);
  errno = EBUSY;
  __real__Z14note_bmc_state8BmcState(BmcState::kWaitsForSnmp);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(script.logs(), Lines({}));
}

}  // namespace
