// SPDX-License-Identifier: Apache-2.0
// Where things lie on the host that the daemon and its tools both look at, and
// the layout of the state files, in which each of the daemon's two processes
// writes down what cannot be seen of it from outside: text, one "key=value" a
// line, receivers one a line. A tool believes a state file only while the process
// that it names is there.
#ifndef TVUREV_WIRE_HOST_FILES_H_
#define TVUREV_WIRE_HOST_FILES_H_

#include <cstdint>

namespace host_files {

inline constexpr const char* kDriverNode = "/vmfs/devices/zemox-d0ccb0";
inline constexpr const char* kChannelNode = "/vmfs/devices/char/vmkdriver/zemox-d0ccb";  // + number
inline constexpr int kHighestChannel = 15;  // of the daemon's session
inline constexpr int kHighestQueryChannel = 4;

// PATH of a daemon that was started without one.
inline constexpr const char* kSystemPath = "/sbin:/usr/sbin:/bin:/usr/bin";

inline constexpr const char* kSnmpSettings = "/etc/vmware/snmp.xml";

inline constexpr const char* kFolder = "/opt/ortdv";
inline constexpr const char* kMarkerFolder = "/opt/ortdv/tmp";
inline constexpr const char* kSocketFolder = "/opt/ortdv/sockets/agentx";
inline constexpr const char* kAgentSocket = "/opt/ortdv/sockets/agentx/tvud";

inline constexpr const char* kBmcStatus = "/opt/ortdv/tmp/moxstatus";
inline constexpr int kSupportedGeneration = 6;

// Marker files: their existence is the whole message.
inline constexpr const char* kRunning = "/opt/ortdv/tmp/tvurevrunning.text";
inline constexpr const char* kBmcStop = "/opt/ortdv/tmp/tvurevbmcstop.text";
inline constexpr const char* kOrtStop = "/opt/ortdv/tmp/tvurevortstop.text";
inline constexpr const char* kRestart = "/opt/ortdv/tmp/tvurevrestart.text";
inline constexpr unsigned kRestartCheckSeconds = 120;

inline constexpr const char* kBmcState = "/opt/ortdv/tmp/tvurevstate.text";
inline constexpr const char* kAgentState = "/opt/ortdv/tmp/tvurevagentstate.text";
inline constexpr const char* kSupervisorState = "/opt/ortdv/tmp/tvurevsupervisor.text";
inline constexpr const char* kSupervisor = "tvurev-supervisor";  // the name of its script
inline constexpr const char* kInitScript = "/etc/init.d/tvurev";

}  // namespace host_files

namespace state_file {

// Keys of both files.
inline constexpr const char* kPid = "pid";
inline constexpr const char* kVersion = "version";
inline constexpr const char* kSince = "since";  // of the process; seconds since 1970
inline constexpr const char* kState = "state";
inline constexpr const char* kStateSince = "state_since";
inline constexpr const char* kHostAddress = "host_address";  // empty when none was found
inline constexpr const char* kReceiver = "receiver";         // once for each, in their order
// Of the first process only: the number of the open channel's node.
inline constexpr const char* kChannel = "channel";
// Of the socket proxy only: 1 while an agent is connected, else 0.
inline constexpr const char* kAgent = "agent";

}  // namespace state_file

// What the first process is doing.
enum class BmcState : uint8_t {
  kStarting,      // passing the gates
  kWaitsForMode,  // for a restart: reverse mode was off
  kWaitsForSnmp,  // for a restart: the host's SNMP agent was off
  kUnconnected,   // looking for a free channel, or pausing between two sessions
  kGreeting,      // a channel is open, and the BMC is being greeted
  kConnected,     // relaying
};

// What the socket proxy is doing.
enum class AgentState : uint8_t {
  kListening,  // no agent is connected
  kServing,    // one is
  kPausing,    // one has hung up; the next is served after the pause
};

// As they stand in the files.
constexpr const char* name_of(BmcState state) {
  switch (state) {
    case BmcState::kStarting:
      return "starting";
    case BmcState::kWaitsForMode:
      return "waiting-reverse-mode-off";
    case BmcState::kWaitsForSnmp:
      return "waiting-host-snmp-off";
    case BmcState::kUnconnected:
      return "unconnected";
    case BmcState::kGreeting:
      return "greeting";
    case BmcState::kConnected:
      return "connected";
  }
  return "";
}

constexpr const char* name_of(AgentState state) {
  switch (state) {
    case AgentState::kListening:
      return "listening";
    case AgentState::kServing:
      return "serving";
    case AgentState::kPausing:
      return "pausing";
  }
  return "";
}

#endif  // TVUREV_WIRE_HOST_FILES_H_
