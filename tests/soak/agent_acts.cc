// SPDX-License-Identifier: Apache-2.0
// What the agent does in a life: its events as steps.
#include <algorithm>

#include "tests/soak/notifications.h"
#include "tests/soak/world.h"

namespace {

using What = AgentStep::What;

// One receive takes as much.
constexpr size_t kOneReceive = 4080;

void add_good(World& world, uint32_t number, bool last_word) {
  const Notification good = good_notification(world.settings.seed, number);
  world.agent.add({.bytes = good.pdu, .trap = good.trap, .last_word = last_word});
}

void notify(World& world, const LifeEvent& event) {
  for (uint32_t i = 0; i < event.count; ++i) {
    add_good(world, event.number + i, false);
  }
}

// Of what one receive takes, the first PDU is relayed.
void together(World& world, const LifeEvent& event) {
  const size_t most = kOneReceive / event.count / 4 * 4;
  const Notification first = good_notification(world.settings.seed, event.number, most);
  Bytes bytes = first.pdu;
  for (uint32_t i = 1; i < event.count; ++i) {
    ++world.counts.lost;
    const Bytes next = good_notification(world.settings.seed, event.number + i, most).pdu;
    bytes.insert(bytes.end(), next.begin(), next.end());
  }
  world.agent.add({.bytes = bytes, .trap = first.trap});
}

void garbage(World& world, const LifeEvent& event) {
  ++world.counts.dropped;
  world.agent.add({.bytes = hopeless_notification(world.settings.seed, event.number)});
}

// Not far enough for a trap OID.
void piece(World& world, const LifeEvent& event) {
  ++world.counts.dropped;
  Bytes bytes = good_notification(world.settings.seed, event.number).pdu;
  bytes.resize(std::min<size_t>(bytes.size(), event.count));
  world.agent.add({.bytes = bytes});
}

void last_word(World& world, const LifeEvent& event) {
  add_good(world, event.number, true);
}

void die(World& world, const LifeEvent&) {
  world.agent.add({.what = What::kHangUp});
}

void come_back_hastily(World& world, const LifeEvent& event) {
  world.agent.add({.what = What::kHangUp});
  world.agent.add({.what = What::kConnectAtOnce});
  add_good(world, event.number, false);
}

void finish(World& world, const LifeEvent& event) {
  world.agent.add({.what = What::kFinishSending});
  world.agent.add({.what = What::kPause, .pause = std::chrono::seconds(event.value)});
  world.agent.add({.what = What::kHangUp});
}

}  // namespace

const Acts& agent_acts() {
  static const Acts kActs = {
      {Kind::kAgentNotify, notify},           {Kind::kAgentTogether, together},
      {Kind::kAgentGarbage, garbage},         {Kind::kAgentPiece, piece},
      {Kind::kAgentLastWord, last_word},      {Kind::kAgentDies, die},
      {Kind::kAgentHasty, come_back_hastily}, {Kind::kAgentFinishes, finish}};
  return kActs;
}
