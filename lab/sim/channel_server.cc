// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/channel_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "lab/supervisor/local_socket.h"
#include "wire/chif.h"

namespace {

void close_client(Channel* channel, const ChannelReports& report) {
  channel->client.reset();
  channel->unsent.clear();
  report({ChannelReport::What::kClosed, channel->number, {}});
}

// Sends what waits for room. False when the client is gone.
bool flush(Channel* channel) {
  while (!channel->unsent.empty()) {
    const Bytes& packet = channel->unsent.front();
    if (send(channel->client.get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL) <
        0) {
      return errno == EAGAIN;
    }
    channel->unsent.pop_front();
  }
  return true;
}

// Takes everything that the client sent. A report may hang up on the client.
bool serve_client(Channel* channel, const ChannelReports& report) {
  std::array<uint8_t, 2 * chif::kPacketMax> buffer = {};
  bool any = false;
  while (channel->client.valid()) {
    const ssize_t length = recv(channel->client.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (length < 0 && errno == EAGAIN) {
      break;
    }
    any = true;
    // A client that left something unread: said once, before what it had sent.
    if (length < 0 && errno == ECONNRESET) {
      continue;
    }
    if (length < 0 || (length == 0 && has_hung_up(channel->client.get()))) {
      close_client(channel, report);
      break;
    }
    report({ChannelReport::What::kReceived, channel->number,
            std::span(buffer).first(static_cast<size_t>(length))});
  }
  if (channel->client.valid() && !channel->unsent.empty()) {
    flush(channel);
  }
  return any;
}

}  // namespace

std::string open_listener(Channel* channel) {
  // Listens under another name first, so that there is always a node and
  // somebody behind it.
  const std::string fresh = channel->path + "~";
  unlink(fresh.c_str());
  Descriptor listener = serve_local(SOCK_SEQPACKET, fresh);
  if (!listener.valid() || std::rename(fresh.c_str(), channel->path.c_str()) != 0) {
    return channel->path + ": cannot serve the channel: " + std::strerror(errno);
  }
  channel->listener = std::move(listener);
  return "";
}

void add_descriptors(const Channel& channel, std::vector<pollfd>* descriptors) {
  if (channel.listener.valid()) {
    descriptors->push_back({channel.listener.get(), POLLIN, 0});
  }
  if (channel.client.valid()) {
    const int events = channel.unsent.empty() ? POLLIN : POLLIN | POLLOUT;
    descriptors->push_back({channel.client.get(), static_cast<short>(events), 0});
  }
}

bool serve(Channel* channel, const ChannelReports& report) {
  bool any = serve_client(channel, report);
  while (channel->listener.valid()) {
    Descriptor newcomer(
        accept4(channel->listener.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!newcomer.valid()) {
      break;
    }
    any = true;
    // The client before it may have left meanwhile; then that is seen now.
    serve_client(channel, report);
    if (channel->client.valid()) {
      continue;
    }
    channel->client = std::move(newcomer);
    report({ChannelReport::What::kOpened, channel->number, {}});
    serve_client(channel, report);
  }
  return any;
}

bool send_packet(Channel* channel, std::span<const uint8_t> packet) {
  if (!channel->client.valid()) {
    return false;
  }
  channel->unsent.emplace_back(packet.begin(), packet.end());
  return flush(channel);
}

bool is_drained(const Channel& channel) {
  return !channel.client.valid() || (channel.unsent.empty() && is_all_read(channel.client.get()));
}

void hang_up(Channel* channel) {
  channel->client.reset();
  channel->unsent.clear();
}
