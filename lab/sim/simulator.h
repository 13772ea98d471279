// SPDX-License-Identifier: Apache-2.0
// The simulated BMC: serves the driver's channels, answers what the host asks
// and does what events tell it to. A library for tests and for mox-sim:
// single-threaded, driven by the caller's own poll loop, with a list of
// everything that happened.
//
//   Simulator bmc;
//   bmc.open_channels("/vmfs/devices/char/vmkdriver");
//   ... start the daemon ...
//   while (bmc.received(PacketKind::kConnect) == 0) bmc.step(-1);
//   bmc.execute(parse_event("notify 1.3.6.1.4.1.32473.1.0.3").event.value());
//
// Files: the nodes "zemox-d0ccbN" and the faults file "zemox-d0ccb-faults" in
// the directory given; the variables' file, when one is named.
#ifndef TVUREV_LAB_SIM_SIMULATOR_H_
#define TVUREV_LAB_SIM_SIMULATOR_H_

#include <poll.h>

#include <functional>
#include <string>
#include <vector>

#include "lab/sim/channel_server.h"
#include "lab/sim/events.h"

// Where the host has its channels.
inline constexpr const char* kChannelDirectory = "/vmfs/devices/char/vmkdriver";
inline constexpr int kLastChannel = 15;

// One thing that happened.
struct Happening {
  enum class What {
    kOpened,    // a client opened the channel
    kClosed,    // a client closed it, or the BMC hung up
    kReceived,  // a packet from the host
    kSent,      // a packet to the host
    kNote,      // text of the simulator's own
  };
  What what = What::kNote;
  int channel = -1;
  Bytes packet;
  std::string note;
};

// One line about a happening, for people: "ch 15 < hello, seqno 0".
std::string describe(const Happening& happening);

struct Simulator {
  // What it answers with; may be changed at any time.
  BmcIdentity identity;
  Variables variables = {{"KXHVM6", {1}}};
  std::string nvram_path;  // when set, written after every change of a variable

  // Everything so far, in order, and a call for each when it happens.
  std::vector<Happening> history;
  std::function<void(const Happening&)> on_happening;

  Simulator() = default;
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;
  ~Simulator() { close_channels(); }

  // Serves these channels; the directory must exist. Clears the faults file.
  // Returns an empty text, or what went wrong.
  std::string open_channels(const std::string& directory = kChannelDirectory, int first = 0,
                            int last = kLastChannel);

  // Hangs up on every client and removes the nodes and the faults file.
  void close_channels();

  // What to poll for. After any of it is ready, call step(0).
  std::vector<pollfd> descriptors() const;

  // Waits up to timeout_ms (negative: without limit) for something to do and
  // does it. Returns whether anything happened.
  bool step(int timeout_ms);

  // Does one event at once; waits and expectations do nothing here, the player
  // (lab/sim/player.h) knows them. Returns an empty text, or what went wrong.
  std::string execute(const Event& event);

  // How many packets of this kind were received so far.
  int received(PacketKind kind) const;

  // The channel of the last hello whose client is still there; without one,
  // the highest channel that has a client; -1 when none has.
  int session_channel() const;

  // Whether the host has read everything that was sent to it.
  bool drained() const;

  // Sends bytes as one packet on a channel. False when it has no client.
  bool push(int channel, std::span<const uint8_t> packet);

  // Private matters of the functions above.
  void report(Happening happening);
  void answer(int channel, std::span<const uint8_t> request);
  std::string set_variable(const std::string& name, const std::optional<Bytes>& value);
  Channel* find_channel(int number);

  std::string directory;
  std::vector<Channel> channels;
  std::vector<AnswerEvent> replaced_answers;  // in the order of their events
  int greeted_channel = -1;
  uint16_t next_seqno = 1;
};

// The faults that the shim is still to act on (lab/shim/faults.h).
std::string faults_path(const std::string& directory);

#endif  // TVUREV_LAB_SIM_SIMULATOR_H_
