// SPDX-License-Identifier: Apache-2.0
// The BMC's end of the driver's channels: one listening SOCK_SEQPACKET socket
// a channel at the place of its device node, one packet a message, one client
// at a time. Single-threaded; nothing here blocks.
//
// The device shim keeps a channel exclusive by the name that it binds its end
// to (lab/shim/channel_socket.h). A second client that comes without the shim
// is hung up on.
#ifndef TVUREV_LAB_SIM_CHANNEL_SERVER_H_
#define TVUREV_LAB_SIM_CHANNEL_SERVER_H_

#include <poll.h>

#include <deque>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "lab/sim/text.h"

struct Channel {
  int number = 0;
  std::string path;
  Descriptor listener;
  Descriptor client;
  std::deque<Bytes> unsent;  // packets that the client's queue had no room for
};

// What a channel reports; packet is only meaningful during the call.
struct ChannelReport {
  enum class What { kOpened, kClosed, kReceived };
  What what = What::kOpened;
  int channel = 0;
  std::span<const uint8_t> packet;
};
using ChannelReports = std::function<void(const ChannelReport&)>;

// Starts to serve a channel, replacing any node at its path at once. Returns an
// empty text, or what went wrong.
std::string open_listener(Channel* channel);

// Appends what to poll for.
void add_descriptors(const Channel& channel, std::vector<pollfd>* descriptors);

// Takes what is ready, without waiting: first everything that the client sent,
// then its hang-up, then the next client. Returns whether anything was.
bool serve(Channel* channel, const ChannelReports& report);

// Sends a packet now, or as soon as there is room. False without a client.
bool send_packet(Channel* channel, std::span<const uint8_t> packet);

// Whether the client has read everything that was sent to it.
bool is_drained(const Channel& channel);

// Closes the client's connection. What it has not read yet, it can still read.
void hang_up(Channel* channel);

#endif  // TVUREV_LAB_SIM_CHANNEL_SERVER_H_
