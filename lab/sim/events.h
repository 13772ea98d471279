// SPDX-License-Identifier: Apache-2.0
// What a scenario can make the simulated BMC do: one record an event, built by
// the scenario parser or by a test. Nothing here has effects.
#ifndef TVUREV_LAB_SIM_EVENTS_H_
#define TVUREV_LAB_SIM_EVENTS_H_

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "lab/sim/packets.h"

// Lets real time pass.
struct WaitEvent {
  double seconds = 0;
};

// Waits until the host did something. What happened since the last expected
// thing counts, also when it came before the event did.
struct ExpectEvent {
  enum class What {
    kPacket,   // a packet of this kind arrived
    kOpened,   // a channel was opened
    kClosed,   // a channel was closed
    kDrained,  // the host has read everything that was sent
  };
  What what = What::kPacket;
  PacketKind kind = PacketKind::kUnknown;
  double limit_seconds = 30;
};

// Sends a packet on the session's channel. Unless its seqno was given, it gets
// the BMC's running number.
struct PushEvent {
  Bytes packet;
  bool keep_seqno = false;
};

// Closes the BMC's end of the session's channel.
struct HangupEvent {};

// Replaces the answers to requests of one kind.
struct AnswerEvent {
  std::optional<PacketKind> kind;  // none: every request
  int times = 0;                   // how often; 0: from now on
  bool normal = false;             // forget what was replaced
  bool silent = false;             // no answer; a utility query's reads come back empty
  std::optional<Bytes> packet;     // this instead of the true answer
  int seqno_offset = 0;            // added to the request's seqno
  FieldChanges fields;             // then these are replaced
};

// Makes the host's next device calls fail: the driver's part of the shim reads
// this from a file beside the nodes (lab/shim/faults.h).
struct FaultEvent {
  enum class Call { kWrite, kRead };
  Call call = Call::kWrite;
  int error = 0;  // an errno value; 0: the call does nothing and returns 0
  int times = 1;
};

// Takes channels away from the host, as another process that holds them would,
// or gives them back.
struct OccupyEvent {
  int first = 0;
  int last = 0;
  bool occupied = true;
};

// Sets a non-volatile variable, or removes it.
struct VariableEvent {
  std::string name;
  std::optional<Bytes> value;
};

// Changes what the BMC tells about itself, as far as it is given.
struct IdentityEvent {
  std::optional<int8_t> generation;
  std::optional<std::pair<uint8_t, uint8_t>> firmware;
  std::optional<uint32_t> firmware_date;
  std::optional<std::array<uint8_t, 4>> ipv4;
  std::optional<uint32_t> ipv6_options;
  std::optional<std::vector<Ipv6Entry>> ipv6_entries;
};

// Puts a text into the list of what happened.
struct NoteEvent {
  std::string text;
};

// Ends the scenario, also when more lines follow.
struct QuitEvent {};

using Event = std::variant<WaitEvent, ExpectEvent, PushEvent, HangupEvent, AnswerEvent, FaultEvent,
                           OccupyEvent, VariableEvent, IdentityEvent, NoteEvent, QuitEvent>;

#endif  // TVUREV_LAB_SIM_EVENTS_H_
