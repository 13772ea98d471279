// SPDX-License-Identifier: Apache-2.0
// What the BMC does in a life.
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <chrono>

#include "tests/soak/notifications.h"
#include "tests/soak/world.h"

namespace {

constexpr size_t kConnectReply = 16;

AnswerEvent answer(PacketKind kind, uint32_t times) {
  AnswerEvent event;
  event.kind = kind;
  event.times = static_cast<int>(times);
  return event;
}

AnswerEvent silent(PacketKind kind, uint32_t times) {
  AnswerEvent event = answer(kind, times);
  event.silent = true;
  return event;
}

AnswerEvent refusing(PacketKind kind, uint32_t times) {
  AnswerEvent event = answer(kind, times);
  event.fields.values["errcode"] = 5;
  return event;
}

Bytes log_packet(uint32_t number) {
  const std::string text = "life: log text " + std::to_string(number);
  return ChifBuilder(0x0095)
      .seqno(static_cast<uint16_t>(number))
      .svc(13)
      .u16_at(8, static_cast<uint16_t>(text.size()))
      .text(text)
      .bytes();
}

FaultEvent fault(FaultEvent::Call call, int error, uint32_t times) {
  return {.call = call, .error = error, .times = static_cast<int>(times)};
}

// A third of what a receiver's queue holds, so that the traps of all packets that
// the daemon can read before we look at the receivers again find room there,
// however long we are kept from it. The rest waits on our side.
void limit_queue(Simulator& bmc, int channel_number) {
  constexpr int kQueue = 32 * 1024;  // the kernel counts twice as much
  const Channel* channel = bmc.find_channel(channel_number);
  if (channel != nullptr) {
    setsockopt(channel->client.get(), SOL_SOCKET, SO_SNDBUF, &kQueue, sizeof kQueue);
  }
}

}  // namespace

// Follows the session as the BMC sees it.
void World::hear(const Happening& happening) {
  switch (happening.what) {
    case Happening::What::kReceived: {
      const PacketKind kind = classify(happening.packet);
      counts.log_acks += kind == PacketKind::kLogAck ? 1U : 0U;
      counts.shutdown_acks += kind == PacketKind::kShutdownAck ? 1U : 0U;
      connect_asked = kind == PacketKind::kConnect;
      if (kind == PacketKind::kBye) {
        session_up = false;
      }
      if (kind == PacketKind::kHello && in_hello) {
        const Bytes packet = *in_hello;
        in_hello.reset();
        bmc.push(happening.channel, packet);
      }
      break;
    }
    case Happening::What::kSent:
      if (connect_asked && happening.packet.size() >= kConnectReply &&
          get_u32(happening.packet, chif::session_reply::kErrcode) == 0) {
        session_up = true;
        session_channel = happening.channel;
        ++counts.sessions;
      }
      connect_asked = false;
      break;
    case Happening::What::kClosed:
      session_up = session_up && happening.channel != session_channel;
      break;
    case Happening::What::kOpened:
      limit_queue(bmc, happening.channel);
      break;
    case Happening::What::kNote:
      break;
  }
}

void World::hang_up_bmc() {
  session_up = false;
  bmc.execute(HangupEvent{});
}

void World::hold_channels(bool held) {
  bmc.execute(OccupyEvent{.first = 0, .last = kLastChannel, .occupied = held});
}

void World::send_packet(const Bytes& packet) {
  bmc.push(bmc.session_channel(), packet);
}

void World::send_good(uint32_t number) {
  const Notification good = good_notification(settings.seed, number);
  expect_trap(account, Road::kChannel, good.trap);
  send_packet(notification_packet(good.pdu, settings.seed, number));
}

namespace {

// Good ones that nobody will read.
void send_lost(World& world, uint32_t first, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    ++world.counts.lost;
    const Bytes pdu = good_notification(world.settings.seed, first + i).pdu;
    world.send_packet(notification_packet(pdu, world.settings.seed, first + i));
  }
}

void notify(World& world, const LifeEvent& event) {
  for (uint32_t i = 0; i < event.count; ++i) {
    world.send_good(event.number + i);
  }
}

void drop_one(World& world, uint32_t number) {
  ++world.counts.dropped;
  world.send_packet(dropped_packet(world.settings.seed, number));
}

void mixed(World& world, const LifeEvent& event) {
  for (uint32_t i = 0; i < event.count; ++i) {
    drop_one(world, event.number + i);
    world.send_good(event.number + i);
  }
}

void dropped(World& world, const LifeEvent& event) {
  for (uint32_t i = 0; i < event.count; ++i) {
    drop_one(world, event.number + i);
  }
}

void log_text(World& world, const LifeEvent& event) {
  for (uint32_t i = 0; i < event.count; ++i) {
    ++world.counts.log_texts;
    world.send_packet(log_packet(event.number + i));
  }
}

void busy_log_text(World& world, const LifeEvent& event) {
  world.bmc.execute(fault(FaultEvent::Call::kWrite, EBUSY, event.count));
  ++world.counts.log_texts;
  world.send_packet(log_packet(event.number));
}

void lost_log_text(World& world, const LifeEvent& event) {
  world.bmc.execute(fault(FaultEvent::Call::kWrite, EIO, 1));
  world.send_packet(log_packet(event.number));
}

void send_power_request(World& world, uint32_t number, uint32_t action, uint32_t delay) {
  ++world.counts.shutdowns;
  world.send_packet(ChifBuilder(0x0195)
                        .seqno(static_cast<uint16_t>(number))
                        .svc(13)
                        .errcode(action)
                        .agentx_resp_len(delay)
                        .text("life")
                        .bytes());
}

// The daemon rounds up to 5 s, and any action but 0 reboots.
void shutdown_request(World& world, const LifeEvent& event) {
  static constexpr std::array<uint32_t, 5> kActions = {0, 1, 4, 3, 1};
  const uint32_t action = kActions[event.count];
  send_power_request(world, event.number, action, event.value);
  const auto delay = std::chrono::seconds((event.value + 4) / 5 * 5);
  world.abortable = world.power_requests.size();
  world.power_requests.push_back(
      {.due = world.clock.now() + delay, .command = action == 0 ? "poweroff" : "reboot"});
}

// Only the last timer is remembered, and only by the daemon that started it.
void abort_request(World& world, const LifeEvent& event) {
  send_power_request(world, event.number, 2, 0);
  if (world.abortable && world.power_requests[*world.abortable].due > world.clock.now()) {
    world.power_requests[*world.abortable].taken_back = true;
  }
  world.abortable.reset();
}

void failing_reads(World& world, const LifeEvent& event) {
  world.bmc.execute(fault(FaultEvent::Call::kRead, EIO, event.count));
  world.send_good(event.number);
  world.send_good(event.number + 1);
}

void reset(World& world, const LifeEvent& event) {
  const Notification reset = reset_notification(event.number);
  expect_trap(world.account, Road::kChannel, reset.trap);
  world.send_packet(notification_packet(reset.pdu, world.settings.seed, event.number));
  send_lost(world, event.number + 1, event.count);
  world.session_up = false;
}

void silent_reset(World& world, const LifeEvent& event) {
  world.bmc.execute(silent(PacketKind::kBye, 1));
  reset(world, event);
}

// One packet is read in the round that sees the hang-up.
void hang_up(World& world, const LifeEvent& event) {
  if (event.count > 0) {
    world.send_good(event.number);
    send_lost(world, event.number + 1, event.count - 1);
  }
  world.hang_up_bmc();
}

void silent_hello(World& world, const LifeEvent& event) {
  world.bmc.execute(silent(PacketKind::kHello, event.count));
  world.hang_up_bmc();
}

void refused_hello(World& world, const LifeEvent& event) {
  world.bmc.execute(refusing(PacketKind::kHello, event.count));
  world.hang_up_bmc();
}

void foreign_hello(World& world, const LifeEvent& event) {
  AnswerEvent foreign = answer(PacketKind::kHello, event.count);
  foreign.seqno_offset = 100;
  world.bmc.execute(foreign);
  world.hang_up_bmc();
}

void short_connect(World& world, const LifeEvent& event) {
  AnswerEvent cut = answer(PacketKind::kConnect, event.count);
  cut.fields.size = kConnectReply - 1;
  world.bmc.execute(cut);
  world.hang_up_bmc();
}

void refused_connect(World& world, const LifeEvent& event) {
  world.bmc.execute(refusing(PacketKind::kConnect, event.count));
  world.hang_up_bmc();
}

void notify_in_hello(World& world, const LifeEvent& event) {
  ++world.counts.lost;
  const Bytes pdu = good_notification(world.settings.seed, event.number).pdu;
  world.in_hello = ChifBuilder(0x0001).seqno(0x7F00).svc(13).agentx(pdu).bytes();
  world.hang_up_bmc();
}

void busy_channels(World& world, const LifeEvent& event) {
  world.hold_channels(true);
  world.hang_up_bmc();
  world.after(std::chrono::seconds(event.value), [&world] { world.hold_channels(false); });
}

void hang_up_at_once(World& world, const LifeEvent& event) {
  world.hang_ups_at_once = static_cast<int>(event.count);
  world.hang_up_bmc();
}

}  // namespace

const Acts& bmc_acts() {
  static const Acts kActs = {{Kind::kNotify, notify},
                             {Kind::kMixed, mixed},
                             {Kind::kDropped, dropped},
                             {Kind::kLogText, log_text},
                             {Kind::kBusyLogText, busy_log_text},
                             {Kind::kLostLogText, lost_log_text},
                             {Kind::kShutdown, shutdown_request},
                             {Kind::kAbort, abort_request},
                             {Kind::kFailingReads, failing_reads},
                             {Kind::kReset, reset},
                             {Kind::kSilentReset, silent_reset},
                             {Kind::kHangUp, hang_up},
                             {Kind::kSilentHello, silent_hello},
                             {Kind::kRefusedHello, refused_hello},
                             {Kind::kForeignHello, foreign_hello},
                             {Kind::kShortConnect, short_connect},
                             {Kind::kRefusedConnect, refused_connect},
                             {Kind::kNotifyInHello, notify_in_hello},
                             {Kind::kBusyChannels, busy_channels},
                             {Kind::kHangUpAtOnce, hang_up_at_once}};
  return kActs;
}
