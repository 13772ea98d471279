// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/life.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "lab/sim/scenario.h"
#include "tests/e2e/process.h"
#include "tests/faults/host.h"
#include "tests/support/packets.h"

namespace {

constexpr const char* kRunningFile = "/opt/ortdv/tmp/tvurevrunning.text";
constexpr const char* kBmcStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
constexpr const char* kOrtStopFile = "/opt/ortdv/tmp/tvurevortstop.text";
constexpr const char* kRestartFile = "/opt/ortdv/tmp/tvurevrestart.text";
constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";
constexpr const char* kSocket = "/opt/ortdv/sockets/agentx/tvud";
constexpr const char* kHostCommands = "/var/log/host-commands.log";

// Simulated seconds. A greeting may take two times 300, a goodbye 1,000. What did
// not come then is not waited for as long again.
constexpr int64_t kSessionLimit = 2'000;
constexpr int64_t kHopelessLimit = 20;
constexpr int64_t kTrapLimit = 5;
// An agent that comes back at once waits until the socket proxy's pause is over.
constexpr int64_t kAgentTrapLimit = 40;
// A receiver whose name did not resolve is left out for a minute.
constexpr int64_t kNameRestMs = 65'000;
constexpr int64_t kAnswerLimit = 5;
constexpr int64_t kAgentLimit = 100;
constexpr int kTries = 3;
constexpr int64_t kRestMs = 100;

// Numbers of a restarted daemon's notifications are told from the first one's.
constexpr int kFirstNumber = 1;

struct Player {
  Host host;
  Life life;
  int next_number = kFirstNumber;
  bool hopeless = false;
};

const char* kind_name(int kind) {
  constexpr std::array<const char*, kProcessKinds> kNames = {"first", "proxy", "timer", "lookup"};
  return kNames[static_cast<size_t>(kind)];
}

bool is_there(const char* path) {
  return access(path, F_OK) == 0;
}

void touch(const char* path) {
  std::ofstream(path, std::ios::app).flush();
}

const char* text_of(Wait wait) {
  switch (wait) {
    case Wait::kDone:
      return "done";
    case Wait::kLimit:
      return "limit";
    case Wait::kStalled:
      return "stalled";
    case Wait::kStuck:
      break;
  }
  return "stuck";
}

bool is_over(const Player& player) {
  return !player.host.daemon.running();
}

// Waits, and writes down what did not come about. A daemon that ended ends every
// wait; that is judged by its status.
bool wait(Player& player, const char* step, const std::function<bool()>& done, int64_t seconds) {
  const Wait result = player.host.run_until([&] { return done() || is_over(player); },
                                            player.hopeless ? kHopelessLimit : seconds);
  if (result != Wait::kDone) {
    player.hopeless = true;
    player.life.steps.push_back(std::string(step) + ": " + text_of(result));
  }
  return result == Wait::kDone && !is_over(player);
}

void bmc_does(Player& player, const std::string& line) {
  const ParsedEvent parsed = parse_event(line);
  if (!parsed.event) {
    player.life.error = line + ": " + parsed.error;
    return;
  }
  const std::string error = player.host.bmc.execute(*parsed.event);
  if (!error.empty()) {
    player.life.steps.push_back(line + ": " + error);
  }
}

// Whether the channel that is open has seen a connect since it was opened.
bool is_connected(const Host& host) {
  const int channel = host.bmc.session_channel();
  bool connected = false;
  for (const Happening& seen : host.bmc.history) {
    if (seen.channel != channel) {
      continue;
    }
    if (seen.what == Happening::What::kOpened) {
      connected = false;
    } else if (seen.what == Happening::What::kReceived) {
      connected = connected || classify(seen.packet) == PacketKind::kConnect;
    }
  }
  return connected;
}

// Connected and at rest: a session that is being closed, with a short pause in
// between, still looks like one.
void wait_for_session(Player& player, const char* step) {
  wait(
      player, step, [&] { return is_connected(player.host); }, kSessionLimit);
  player.host.let_pass(kRestMs);
  wait(
      player, step, [&] { return is_connected(player.host); }, kSessionLimit);
}

std::string trap_oid(int number) {
  return "1.3.6.1.4.1.32473.1.0." + std::to_string(number);
}

void count_arrived(const Host& host, Sent* sent) {
  const std::string mark = " 6/" + std::to_string(sent->number) + " ";
  for (size_t i = 0; i < kReceivers.size(); ++i) {
    sent->arrived[i] = static_cast<int>(std::ranges::count_if(
        host.receivers[i].traps(),
        [&](const std::string& trap) { return trap.find(mark) != std::string::npos; }));
  }
}

// What was sent may not arrive: that is no step that failed, it is counted.
bool arrives(Player& player, Sent sent) {
  const auto everywhere = [&] {
    count_arrived(player.host, &sent);
    return std::ranges::all_of(sent.arrived, [](int times) { return times > 0; });
  };
  player.host.run_until([&] { return everywhere() || is_over(player); },
                        sent.road == "agent" ? kAgentTrapLimit : kTrapLimit);
  player.host.settle();
  const bool arrived = everywhere();
  player.life.sent.push_back(sent);
  return arrived;
}

// Tries until one notification went through: the next good one is what counts.
bool relay_for_bmc(Player& player, const char* step) {
  for (int attempt = 0; attempt < kTries && !is_over(player); ++attempt) {
    wait_for_session(player, step);
    if (is_over(player) || player.host.bmc.session_channel() < 0) {
      return false;
    }
    const int number = player.next_number++;
    bmc_does(player, "notify " + trap_oid(number) + " uptime=5");
    if (arrives(player, {"bmc", number, {}})) {
      return true;
    }
  }
  return false;
}

// A well-behaved agent looks for the running file first.
enum class Manners { kGood, kBad };

void connect_agent(Player& player, const char* step, Manners manners = Manners::kGood) {
  Host& host = player.host;
  wait(
      player, step,
      [&] {
        return host.living(kSocketProxy) == nullptr ||
               (is_there(kSocket) && (manners == Manners::kBad || is_there(kRunningFile)) &&
                host.agent.connect().empty());
      },
      kAgentLimit);
  host.settle();
}

bool relay_for_agent(Player& player, const char* step) {
  Host& host = player.host;
  for (int attempt = 0; attempt < kTries && !is_over(player); ++attempt) {
    if (host.living(kSocketProxy) == nullptr) {
      return false;
    }
    if (!host.agent.connected() || host.agent.is_hung_up()) {
      connect_agent(player, step);
    }
    const int number = player.next_number++;
    const Bytes pdu = NotifyBuilder().uptime(5).trap_oid(trap_oid(number)).bytes();
    if (host.agent.connected() && host.agent.send(pdu) && arrives(player, {"agent", number, {}})) {
      return true;
    }
    if (attempt == 1) {
      host.agent.hang_up();
    }
  }
  return false;
}

std::vector<std::string> host_commands() {
  std::ifstream file(kHostCommands);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    lines.push_back(line);
  }
  return lines;
}

// Waits for the BMC's own acknowledgements, or goes on without: some are lost by
// design.
void wait_for_answer(Player& player, PacketKind kind, int times) {
  player.host.run_until([&] { return player.host.bmc.received(kind) >= times || is_over(player); },
                        kAnswerLimit);
  player.host.settle();
}

void ask_for_shutdowns(Player& player) {
  bmc_does(player, "reboot delay=30 reason=heat");
  wait_for_answer(player, PacketKind::kShutdownAck, 1);
  bmc_does(player, "abort reason=heat");
  wait_for_answer(player, PacketKind::kShutdownAck, 2);
  bmc_does(player, "shutdown delay=0 reason=smoke");
  player.host.run_until(
      [&] { return std::ranges::count(host_commands(), "poweroff ") != 0 || is_over(player); },
      kAnswerLimit);
  player.host.settle();
}

void lose_sessions(Player& player) {
  bmc_does(player, "reset");
  player.host.settle();
  relay_for_bmc(player, "session after the reset");
  bmc_does(player, "hangup");
  player.host.settle();
  relay_for_bmc(player, "session after the hang-up");
}

void note_state(Player& player) {
  Host& host = player.host;
  host.settle();
  for (const FaultSlot* slot : host.living_slots()) {
    player.life.descriptors[kind_name(slot->kind)] =
        static_cast<int>(descriptors_of(slot->pid).size());
  }
  for (const FaultSlot* slot : host.living_slots()) {
    player.life.zombies += static_cast<int>(std::ranges::count_if(
        children_of(slot->pid), [](pid_t child) { return state_of(child) == 'Z'; }));
  }
  std::ranges::copy(host.world->blocks, player.life.blocks.begin());
}

void stop(Player& player) {
  Host& host = player.host;
  if (host.living(kSocketProxy) != nullptr) {
    player.life.proxy_asked_to_stop = true;
    touch(kOrtStopFile);
    if (!host.agent.connected() || host.agent.is_hung_up()) {
      // The stop file is only looked at while there is a client.
      connect_agent(player, "agent before the stop", Manners::kBad);
    }
    wait(
        player, "stop of the socket proxy", [&] { return host.living(kSocketProxy) == nullptr; },
        kAgentLimit);
  }
  if (!is_over(player)) {
    player.hopeless = false;
    player.life.asked_to_stop = true;
    touch(kBmcStopFile);
    touch(kRestartFile);
    wait(
        player, "stop", [&] { return is_over(player); }, kSessionLimit);
  }
}

bool lost_any(const Player& player) {
  return std::ranges::any_of(player.life.sent, [](const Sent& sent) {
    return std::ranges::find(sent.arrived, 0) != sent.arrived.end();
  });
}

void live(Player& player) {
  wait_for_session(player, "session at the start");
  relay_for_bmc(player, "session at the start");
  relay_for_bmc(player, "session at the start");
  connect_agent(player, "agent");
  relay_for_agent(player, "agent");
  relay_for_agent(player, "agent");
  bmc_does(player, "log \"a drive was removed\"");
  wait_for_answer(player, PacketKind::kLogAck, 1);
  ask_for_shutdowns(player);
  lose_sessions(player);
  player.host.agent.hang_up();
  player.host.settle();
  connect_agent(player, "agent that comes again");
  relay_for_agent(player, "agent that comes again");
  if (lost_any(player) && !is_over(player)) {
    player.host.let_pass(kNameRestMs);
  }
  player.life.bmc_road = relay_for_bmc(player, "session at the end");
  player.life.agent_road = relay_for_agent(player, "agent at the end");
  note_state(player);
  stop(player);
}

std::vector<std::string> log_of(const Host& host, size_t first) {
  const auto kind_of = [&](pid_t pid) {
    for (const FaultSlot& slot : host.world->slots) {
      if (slot.used != 0 && slot.pid == pid) {
        return kind_name(slot.kind);
      }
    }
    return "other";
  };
  std::vector<std::string> lines;
  for (size_t i = first; i < host.syslog.lines().size(); ++i) {
    const LogLine& line = host.syslog.lines()[i];
    lines.push_back(std::string(kind_of(line.pid)) + " " + line.text);
  }
  return lines;
}

void write_down(Player& player) {
  Host& host = player.host;
  Life& life = player.life;
  host.settle();
  life.first_status = host.daemon.status();
  for (const FaultSlot& slot : host.world->slots) {
    if (slot.used != 0 && slot.kind == kSocketProxy) {
      life.proxy_status = slot.exit_status;
    }
  }
  for (const FaultSlot* slot : host.living_slots()) {
    life.left.emplace_back(kind_name(slot->kind));
  }
  for (Sent& sent : life.sent) {
    count_arrived(host, &sent);
  }
  for (const FaultCount& counted : host.world->counts) {
    if (counted.name[0] != '\0') {
      std::ranges::copy(counted.calls, life.calls[counted.name].begin());
    }
  }
  life.hit = host.world->hits != 0;
  life.frames.assign(host.world->frames, host.world->frames + host.world->frames_used);
  life.simulated_seconds = static_cast<double>(host.world->now_us) / 1e6;
  life.commands = host_commands();
  life.log = log_of(host, 0);
}

// What a supervisor does with a daemon that has ended, or a reader of the log with
// one that has lost a road. The status file goes first: the BMC may be asked again.
void start_again(Player& player) {
  Host& host = player.host;
  player.life.started_again = true;
  host.kill_all();
  host.agent.hang_up();
  unlink(kStatusFile);
  unlink(kBmcStopFile);
  unlink(kOrtStopFile);
  unlink(kRestartFile);
  player.hopeless = false;
  const size_t lines = host.syslog.lines().size();
  if (!host.start("").empty()) {
    return;
  }
  const auto sent = player.life.sent;
  const auto steps = player.life.steps;
  const bool by_bmc = relay_for_bmc(player, "session of the second start");
  player.life.relayed_again = relay_for_agent(player, "agent of the second start") && by_bmc;
  player.life.sent = sent;
  player.life.steps = steps;
  player.life.log_again = log_of(host, lines);
}

}  // namespace

Life play_life(const std::string& fault) {
  Player player;
  player.life.fault = fault;
  player.life.error = player.host.reset();
  if (player.life.error.empty()) {
    player.life.error = player.host.start(fault);
  }
  if (!player.life.error.empty()) {
    return player.life;
  }
  live(player);
  write_down(player);
  if (!player.life.asked_to_stop || !player.life.bmc_road || !player.life.agent_road) {
    start_again(player);
  }
  return player.life;
}
