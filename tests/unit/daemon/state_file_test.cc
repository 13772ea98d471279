// SPDX-License-Identifier: Apache-2.0
// The state files: their bytes, and the calls that bring them into being.
#include <unistd.h>

#include <ctime>

#include "base/text.h"
#include "bmc/channel.h"
#include "tests/support/call_text.h"
#include "tests/unit/daemon/daemon_fixture.h"
#include "tests/unit/daemon/state_recorder.h"

namespace {

constexpr const char* kFile = "/opt/ortdv/tmp/tvurevstate.text";
constexpr const char* kNew = "/opt/ortdv/tmp/tvurevstate.text.new";
constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
constexpr int kFd = 7;

// What was noted last is kept: each test notes a state of its own.
class StateFile : public Daemon {
 protected:
  static std::string now() { return std::to_string(time(nullptr)); }

  static std::string begin(const char* state) {
    return "pid=" + std::to_string(getpid()) + "\nversion=" TVUREV_VERSION "\nsince=" + now() +
           "\nstate=" + state + "\nstate_since=" + now() + "\n";
  }
  static void expect_written(CallScript& script, const std::string& path, const std::string& text) {
    script.unlink(path + ".new").fails(ENOENT);
    script.open(path + ".new", kFlags).returns(kFd);
    script.write(kFd, text_bytes(text));
    script.close(kFd);
    script.rename(path + ".new", path);
  }
};

TEST_F(StateFile, NamesProcessStateAddressAndReceiversWithoutCommunities) {
  trap_destinations = {"192.0.2.7", "  receiver.example", "192.0.2.8 secret;192.0.2.9"};
  trap_communities = {"public", "ops", "other"};
  copy_text(host_ipaddress, "192.0.2.20");
  CallScript script;
  expect_written(script, kFile,
                 begin("starting") +
                     "host_address=192.0.2.20\nreceiver=192.0.2.7\nreceiver=receiver.example\n"
                     "receiver=192.0.2.8;\n");
  __real__Z14note_bmc_state8BmcState(BmcState::kStarting);
}

TEST_F(StateFile, NamesTheChannelWhileOneIsOpen) {
  CallScript script;
  script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb15", O_RDWR | O_EXCL | O_CLOEXEC).returns(5);
  script.usleep(10'000);
  mox_chrdev("tvud");
  expect_written(script, kFile, begin("connected") + "host_address=\nchannel=15\n");
  __real__Z14note_bmc_state8BmcState(BmcState::kConnected);
}

TEST_F(StateFile, IsWrittenAtAChangeOnly) {
  CallScript script;
  expect_written(script, kFile, begin("unconnected") + "host_address=\n");
  __real__Z14note_bmc_state8BmcState(BmcState::kUnconnected);
  __real__Z14note_bmc_state8BmcState(BmcState::kUnconnected);
}

TEST_F(StateFile, OfTheSocketProxySaysWhetherAnAgentIsConnected) {
  CallScript script;
  const std::string file = "/opt/ortdv/tmp/tvurevagentstate.text";
  expect_written(script, file, begin("listening") + "host_address=\nagent=0\n");
  expect_written(script, file, begin("serving") + "host_address=\nagent=1\n");
  __real__Z16note_agent_state10AgentState(AgentState::kListening);
  __real__Z16note_agent_state10AgentState(AgentState::kServing);
}

TEST_F(StateFile, ThatCannotBeWrittenTakesTheOneBeforeAway) {
  CallScript script;
  script.unlink(kNew).fails(ENOENT);
  script.open(kNew, kFlags).returns(kFd);
  script.write(kFd, text_bytes(begin("waiting-host-snmp-off") + "host_address=\n")).fails(ENOSPC);
  script.close(kFd);
  script.unlink(kNew);
  script.unlink(kFile);
  errno = EBUSY;
  __real__Z14note_bmc_state8BmcState(BmcState::kWaitsForSnmp);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(script.logs(), Lines({}));
}

}  // namespace
