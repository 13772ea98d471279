// SPDX-License-Identifier: Apache-2.0
// The host around the unmodified daemon in simulated time: BMC, agent, receivers,
// log daemon, files and a supervisor that starts the daemon again. Plays the
// events of a life (life.h) and keeps the account (account.h).
#ifndef TVUREV_TESTS_SOAK_WORLD_H_
#define TVUREV_TESTS_SOAK_WORLD_H_

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/sim/simulator.h"
#include "lab/supervisor/child.h"
#include "tests/soak/account.h"
#include "tests/soak/agent.h"
#include "tests/soak/clock_master.h"
#include "tests/soak/host_log.h"
#include "tests/soak/life.h"

// A request to reboot or power off that the daemon's timers are to carry out.
struct PowerRequest {
  SimTime due;
  std::string command;
  bool taken_back = false;
};

// What one process had when it was warm, and has.
struct Footprint {
  pid_t pid = -1;
  long warm_kib = 0;  // resident
  long now_kib = 0;
  long warm_own_kib = 0;  // of that, what it wrote: heap, stack, data
  long now_own_kib = 0;
  size_t warm_descriptors = 0;
  size_t now_descriptors = 0;
};

struct World;

// How each kind of event is done.
using Acts = std::map<Kind, void (*)(World&, const LifeEvent&)>;
const Acts& bmc_acts();
const Acts& agent_acts();
const Acts& operator_acts();

struct World {
  explicit World(const LifeSettings& life_settings, std::string clock_library);

  // Puts the host together and starts the daemon. Throws std::runtime_error.
  void start();

  // Lets everybody do what they can until nobody can; no simulated time passes.
  void settle();
  // Lets time pass to whatever comes first, not past the limit.
  void step(SimTime limit);
  // Steps until it is so. Throws when it is not so after an hour.
  void step_until(const std::string& what, const std::function<bool()>& done);

  // Whether whose event it is can act now; doing it.
  bool can_act(Actor actor) const;
  void play(const LifeEvent& event);

  // What shall be done later on.
  void after(SimTime delay, std::function<void()> action);
  // The same, but not while a notification is on its way: it would not be sure
  // whom it finds.
  void after_quietly(SimTime delay, const std::function<void()>& action);

  // The daemon's processes other than running shutdown timers.
  std::vector<pid_t> relays();
  pid_t socket_proxy();
  // The daemon is in its relaying loop, and its proxy is there.
  bool relaying() const { return daemon.running() && session_up && exits_expected == 0; }

  LifeSettings settings;
  std::string library;
  ClockMaster clock;
  Account account;
  HostLog log;
  Simulator bmc;
  Agent agent;
  Child daemon;
  pid_t proxy = -1;  // of the present daemon

  bool session_up = false;  // the BMC has answered the connect
  bool connect_asked = false;
  int exits_expected = 0;  // the operator asked it to end
  int exit_status_expected = 1;
  std::optional<Bytes> in_hello;  // sent before the next hello's answer
  int hang_ups_at_once = 0;       // after the next connects
  int session_channel = -1;
  bool gated = false;           // the daemon waits for reverse mode to come back
  bool named_receiver = false;  // receiver 0 is told by name
  std::array<uint64_t, kRoads> received_at_start = {};  // of receiver 0
  std::optional<uint32_t> next_targets;                 // row, for the next start

  std::multimap<SimTime, std::function<void()>> later;
  std::vector<PowerRequest> power_requests;
  std::optional<size_t> abortable;  // the request whose timer the daemon remembers

  struct Counts {
    uint64_t dropped = 0;    // bad packets and PDUs
    uint64_t lost = 0;       // good ones that the daemon may lose, as documented
    uint64_t log_texts = 0;  // whose acknowledgement must come
    uint64_t log_acks = 0;
    uint64_t shutdowns = 0;
    uint64_t shutdown_acks = 0;
    uint64_t sessions = 0;
    uint64_t starts = 0;
  } counts;

  // Private matters of the functions above, in world.cc, bmc_acts.cc,
  // agent_acts.cc and operator_acts.cc.
  bool anything_to_take() const;
  Pumped pump(bool at_rest);
  void supervise();
  void start_daemon();
  void hear(const Happening& happening);
  void run_due();
  void hang_up_bmc();
  void hold_channels(bool held);  // by others
  void send_packet(const Bytes& packet);
  void send_good(uint32_t number);
  void set_targets(uint32_t row);
  void restart(int exit_status);
  bool names_are_known() const;
  void stop_by_files();
  void stop_when_possible();
};

#endif  // TVUREV_TESTS_SOAK_WORLD_H_
