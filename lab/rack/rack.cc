// SPDX-License-Identifier: Apache-2.0
#include "lab/rack/rack.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>

#include "lab/rack/show.h"
#include "lab/supervisor/local_socket.h"
#include "lab/supervisor/signals.h"
#include "lab/supervisor/trap_daemon.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr std::array<const char*, 2> kReceivers = {"192.0.2.7", "198.51.100.9"};
constexpr const char* kSystemLog = "/dev/log";
constexpr milliseconds kSampleEvery(100);
constexpr seconds kReadyLimit(60);
constexpr int kLookMs = 20;
constexpr int kHostsAtOnce = 64;

std::string read_table(const char* path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void watch(const Rack& rack, int fd, uint32_t events, int number, int operation) {
  epoll_event event = {};
  event.events = events;
  event.data.u32 = static_cast<uint32_t>(number);
  epoll_ctl(rack.watched.get(), operation, fd, &event);
}

// Has the kernel tell of room in the channel as long as packets wait for it.
void watch_for_room(const Rack& rack, RackHost* host) {
  const Channel* channel = host->session < 0 ? nullptr : host->bmc.find_channel(host->session);
  const bool waits = channel != nullptr && !channel->unsent.empty();
  if (channel != nullptr && waits != host->waits) {
    watch(rack, channel->client.get(), waits ? EPOLLIN | EPOLLOUT : EPOLLIN, host->number,
          EPOLL_CTL_MOD);
  }
  host->waits = waits;
}

void move_bmcs(Rack* rack) {
  std::array<epoll_event, kHostsAtOnce> ready = {};
  const int count = epoll_wait(rack->watched.get(), ready.data(), kHostsAtOnce, 0);
  for (int i = 0; i < count; ++i) {
    move_bmc(rack, &rack->hosts[ready[static_cast<size_t>(i)].data.u32 - 1]);
  }
}

// The hosts' messages are counted. What one that complains has to say is on
// whose terminal it runs: standard error.
void read_log(Rack* rack) {
  constexpr int kAtOnce = 200;
  constexpr std::string_view kErrorOfDaemon = "<27>";
  std::array<char, 4096> bytes = {};
  for (int i = 0; i < kAtOnce; ++i) {
    const ssize_t length = recv(rack->log.get(), bytes.data(), bytes.size(), 0);
    if (length < 0) {
      return;
    }
    ++rack->log_lines;
    const std::string_view line(bytes.data(), static_cast<size_t>(length));
    if (line.starts_with(kErrorOfDaemon)) {
      set_trouble(rack, "a host's log says: " + std::string(line));
    }
  }
}

void look_after_daemons(Rack* rack) {
  for (RackHost& host : rack->hosts) {
    host.daemon.pump();
    if (host.daemon.ended()) {
      set_trouble(rack, "host " + std::to_string(host.number) + ": tvurev ended with status " +
                            std::to_string(host.daemon.status()) + ": " + host.daemon.out());
    }
  }
  for (const Receiver& receiver : rack->receivers) {
    if (receiver.snmptrapd.ended()) {
      set_trouble(rack, receiver.address + ": snmptrapd ended");
    }
  }
}

bool start_receivers(Rack* rack) {
  for (size_t i = 0; i < kReceivers.size(); ++i) {
    const std::string error = start_receiver(&rack->receivers[i], kReceivers[i],
                                             rack->settings.hosts, rack->settings.receivers);
    if (!error.empty()) {
      set_trouble(rack, "cannot start " + error);
      return false;
    }
  }
  const bool open = move_until(rack, kReadyLimit, [] {
    return trap_ports_are_open({kReceivers.begin(), kReceivers.end()});
  });
  if (!open) {
    set_trouble(rack, "snmptrapd did not become ready: " + rack->receivers[0].snmptrapd.out());
  }
  return open;
}

}  // namespace

void set_trouble(Rack* rack, const std::string& what) {
  if (rack->trouble.empty()) {
    rack->trouble = what;
  }
}

bool open_rack(Rack* rack) {
  rack->start = steady_clock::now();
  rack->next_sample = rack->start + kSampleEvery;
  rack->signals = hold_signals();
  unlink(kSystemLog);
  rack->log = serve_local(SOCK_DGRAM, kSystemLog);
  rack->watched = Descriptor(epoll_create1(EPOLL_CLOEXEC));
  if (!rack->log.valid() || !rack->watched.valid()) {
    set_trouble(rack, std::string(kSystemLog) + ": " + std::strerror(errno));
    return false;
  }
  if (!rack->settings.samples.empty()) {
    rack->samples = open_to_write(rack->settings.samples.c_str());
    if (rack->samples == nullptr) {
      set_trouble(rack, rack->settings.samples + ": " + std::strerror(errno));
      return false;
    }
  }
  rack->sent_first = datagrams_sent(read_table("/proc/net/snmp"));
  return start_receivers(rack);
}

bool add_host(Rack* rack) {
  RackHost& host = rack->hosts.emplace_back();
  const int number = static_cast<int>(rack->hosts.size());
  host.bmc.on_happening = [rack, &host, number](const Happening& happening) {
    if (happening.what == Happening::What::kOpened) {
      const Channel* channel = host.bmc.find_channel(happening.channel);
      watch(*rack, channel->client.get(), EPOLLIN, number, EPOLL_CTL_ADD);
      host.waits = false;
    }
  };
  const std::string error = start_host(&host, number, rack->settings.preload);
  for (const Channel& channel : host.bmc.channels) {
    watch(*rack, channel.listener.get(), EPOLLIN, number, EPOLL_CTL_ADD);
  }
  if (!error.empty()) {
    set_trouble(rack, "host " + std::to_string(number) + ": " + error);
  }
  return error.empty();
}

void move_bmc(Rack* rack, RackHost* host) {
  host->bmc.step(0);
  host->bmc.history.clear();  // nobody reads it, and a flood is long
  watch_for_room(*rack, host);
}

void move(Rack* rack, int timeout_ms) {
  std::vector<pollfd> descriptors = {{rack->signals.get(), POLLIN, 0},
                                     {rack->log.get(), POLLIN, 0},
                                     {rack->watched.get(), POLLIN, 0}};
  for (const Receiver& receiver : rack->receivers) {
    receiver.snmptrapd.add_descriptors(&descriptors);
  }
  poll(descriptors.data(), descriptors.size(), timeout_ms);
  rack->interrupted = rack->interrupted || descriptors[0].revents != 0;
  for (Receiver& receiver : rack->receivers) {
    count_traps(&receiver);
  }
  read_log(rack);
  move_bmcs(rack);
  if (steady_clock::now() >= rack->next_sample) {
    rack->next_sample = steady_clock::now() + kSampleEvery;
    take_sample(rack);
    constexpr int kSamplesALook = 10;
    if (rack->samples_taken % kSamplesALook == 0) {
      look_after_daemons(rack);
    }
  }
}

bool move_until(Rack* rack, milliseconds limit, const std::function<bool()>& done) {
  const auto end = steady_clock::now() + limit;
  while (!done()) {
    if (steady_clock::now() >= end || rack->interrupted || !rack->trouble.empty()) {
      return false;
    }
    move(rack, kLookMs);
  }
  return true;
}

long said(const Rack& rack) {
  return std::accumulate(rack.hosts.begin(), rack.hosts.end(), 0L,
                         [](long sum, const RackHost& host) { return sum + host.said; });
}

int connected(const Rack& rack) {
  return static_cast<int>(
      std::ranges::count_if(rack.hosts, [](const RackHost& host) { return host.session >= 0; }));
}

long missing(const Rack& rack, const Receiver& receiver) {
  return said(rack) - receiver.printed - receiver.socket.dropped;
}

bool all_arrived(const Rack& rack) {
  return std::ranges::all_of(rack.receivers, [&](const Receiver& receiver) {
    return receiver.socket.waiting_bytes == 0 && missing(rack, receiver) == 0;
  });
}

void take_sample(Rack* rack) {
  ++rack->samples_taken;
  const std::string sockets = read_table("/proc/net/udp");
  rack->sent = datagrams_sent(read_table("/proc/net/snmp")) - rack->sent_first;
  for (Receiver& receiver : rack->receivers) {
    receiver.socket = socket_counts(sockets, receiver.address);
  }
  show_sample(rack);
}
