// SPDX-License-Identifier: Apache-2.0
// What happens in a life, made beforehand from the seed alone: the list of
// events, which --show prints. Nothing here knows the daemon.
#ifndef TVUREV_TESTS_SOAK_LIFE_H_
#define TVUREV_TESTS_SOAK_LIFE_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

// Who acts. Each of them does its events one after another, and waits where it
// cannot act yet: a BMC for its session, an agent until its last notification was
// read, the operator until nothing is on its way.
enum class Actor { kOperator, kBmc, kAgent };
inline constexpr size_t kActors = 3;

enum class Kind {
  // The BMC.
  kNotify,          // count good notifications, in one go
  kMixed,           // the same with dropped packets before each
  kDropped,         // count packets that are dropped
  kLogText,         // count log texts; each is acknowledged
  kBusyLogText,     // the device is busy count times for the acknowledgement
  kLostLogText,     // the acknowledgement's write fails: it is given up
  kShutdown,        // a request with a delay of value seconds; count is its row of actions
  kAbort,           // takes the last request back
  kFailingReads,    // count reads fail, then two good notifications are read
  kReset,           // announces its reset with count good ones behind it, which are lost
  kSilentReset,     // the same, and it does not answer the goodbye
  kHangUp,          // hangs up behind count good ones: the first of them arrives
  kSilentHello,     // hangs up, and does not answer count hellos
  kRefusedHello,    // the same with an error
  kForeignHello,    // the same with another hello's number
  kShortConnect,    // the same, and the answer to connect is too short
  kRefusedConnect,  // the same with an error
  kNotifyInHello,   // hangs up, and notifies before it answers the hello: lost
  kBusyChannels,    // hangs up, and other programs hold all channels for value seconds
  kHangUpAtOnce,    // hangs up count times right after the connect
  // The agent.
  kAgentNotify,    // count good notifications, each once the last one was read
  kAgentTogether,  // count in one write: the first of them arrives
  kAgentGarbage,   // a PDU of which no trap can be made
  kAgentPiece,     // the first bytes of a PDU
  kAgentLastWord,  // a good one, and at once hangs up
  kAgentDies,      // hangs up; comes back when the running file is there
  kAgentHasty,     // hangs up; comes back at once and writes to a daemon that pauses
  kAgentFinishes,  // closes its sending side, and hangs up value seconds later
  // The operator and the rest of the host.
  kReceiverAway,   // receiver number count is away for value seconds
  kLogGone,        // the log daemon and its socket are gone for value seconds
  kLogDead,        // the same, but the socket's file stays
  kLogStalled,     // it does not read for value seconds
  kNamesSilent,    // no name server answers for value seconds
  kStrayMarkers,   // a restart file and a running file that nobody asked for
  kSwitchDebug,    // debug output on, or off again, at the next start
  kStopFiles,      // both stop files; a supervisor starts it again
  kAgentStopFile,  // the agents' stop file; later the BMC's
  kSigterm,        // SIGTERM; started again
  kKill,           // SIGKILL to the daemon and its proxy; started again
  kReverseOff,     // restarted with reverse mode off for value seconds
  kTargets,        // restarted with other receivers: row number count
  kSignals,        // SIGHUP and SIGPIPE to both processes
};

struct LifeEvent {
  std::chrono::milliseconds at{0};  // not before
  Kind kind = Kind::kNotify;
  uint32_t number = 0;  // of its first notification or packet
  uint32_t count = 1;
  uint32_t value = 0;
};

struct LifeSettings {
  uint64_t seed = 1;
  uint32_t days = 30;
  uint32_t events = 100'000;
  std::vector<std::string> without = {};  // names of kinds to leave out: narrows a failure down
};

// In the order of their times.
std::vector<LifeEvent> make_life(const LifeSettings& settings);

Actor actor_of(Kind kind);

// "12d 03:04:05.678 bmc notify 4711 x3".
std::string event_text(const LifeEvent& event);
// "12d 03:04:05.678".
std::string time_text(std::chrono::milliseconds time);

#endif  // TVUREV_TESTS_SOAK_LIFE_H_
