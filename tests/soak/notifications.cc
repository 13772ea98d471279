// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/notifications.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>

#include "lab/sim/text.h"
#include "tests/soak/dice.h"

namespace {

constexpr const char* kAgentAddress = "192.0.2.20";  // what the sample host's localcli says
constexpr size_t kHeader = 20;
constexpr size_t kLongest = 4080;
constexpr size_t kBindingsSent = 25;

// A trap in the making: both of what is sent and of what must arrive.
struct Maker {
  Dice dice;
  NotifyBuilder builder;
  std::string head;
  std::string bindings;
  size_t sent = 0;

  void expect(const std::string& name, const std::string& value) {
    if (++sent <= kBindingsSent) {
      bindings += " " + name + "=" + value;
    }
  }
};

std::string dotted(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    text += (text.empty() ? "" : ".") + std::to_string(byte);
  }
  return text;
}

Bytes random_bytes(Dice& dice, size_t count, uint64_t lowest) {
  Bytes bytes(count);
  std::ranges::generate(bytes, [&] { return static_cast<uint8_t>(dice.between(lowest, 255)); });
  return bytes;
}

// A binding's name as it is sent and as it arrives: a number of more than six
// digits keeps its first six.
struct Name {
  std::string sent;
  std::string arrives;
};

Name make_name(Dice& dice) {
  const std::string start = "1.3.6.1.4.1.32473." + std::to_string(dice.between(1, 99'999)) + ".";
  if (dice.one_in(8)) {
    return {start + "12345678.0", start + "123456.0"};
  }
  const std::string name = start + std::to_string(dice.below(1'000)) + ".0";
  return {name, name};
}

void add_word(Maker& maker, const Name& name, size_t) {
  static constexpr std::array<uint16_t, 4> kTypes = {2, 65, 66, 67};
  const uint16_t type = kTypes[maker.dice.below(kTypes.size())];
  const auto value = static_cast<uint32_t>(maker.dice.below(uint64_t{1} << 32));
  maker.builder.word(type, name.sent, value);
  maker.expect(name.arrives, type == 67 ? "ticks:0" : std::to_string(static_cast<int32_t>(value)));
}

// Of octets, what stands before the first zero byte arrives; opaque ones alike.
void add_octets(Maker& maker, const Name& name, size_t room) {
  const size_t longest = maker.dice.one_in(6) ? room : std::min<size_t>(room, 64);
  Bytes octets = random_bytes(maker.dice, maker.dice.below(longest + 1), 1);
  const Bytes whole = octets;
  maker.builder.string(maker.dice.one_in(4) ? 68 : 4, name.sent, octets);
  maker.expect(name.arrives, quoted(whole));
}

void add_cut_octets(Maker& maker, const Name& name, size_t) {
  const Bytes seen = random_bytes(maker.dice, maker.dice.below(12), 1);
  Bytes octets = seen;
  octets.push_back(0);
  octets.push_back('x');
  maker.builder.string(4, name.sent, octets);
  maker.expect(name.arrives, quoted(seen));
}

void add_address(Maker& maker, const Name& name, size_t) {
  const Bytes address = random_bytes(maker.dice, 4, 0);
  maker.builder.ip_address(name.sent, address);
  maker.expect(name.arrives, "ip:" + dotted(address));
}

void add_object_id(Maker& maker, const Name& name, size_t) {
  const Name value = make_name(maker.dice);
  maker.builder.object_id(name.sent, value.sent);
  maker.expect(name.arrives, value.arrives);
}

// What an SNMPv1 trap cannot carry, and the community, which is not the BMC's.
void add_unsent(Maker& maker, const Name& name, size_t) {
  switch (maker.dice.below(4)) {
    case 0:
      maker.builder.counter64(name.sent, 1ULL << 40);
      break;
    case 1:
      maker.builder.null(name.sent);
      break;
    case 2:
      maker.builder.nothing(128, name.sent);
      break;
    default:
      maker.builder.community("secret");
      break;
  }
}

using AddBinding = void (*)(Maker&, const Name&, size_t);
constexpr std::array<AddBinding, 8> kBindingKinds = {add_word,      add_word,       add_octets,
                                                     add_octets,    add_cut_octets, add_address,
                                                     add_object_id, add_unsent};
// A binding without its octets, of the longest kind.
constexpr size_t kBindingRoom = 64;

// Anything but a standard trap has the number after the enterprise, and a 0
// between them is left out. No number holds the BMC's reset mark.
void add_trap_oid(Maker& maker) {
  const std::string number = std::to_string(maker.dice.between(1, 5'999));
  switch (maker.dice.below(6)) {
    case 0: {
      const uint64_t generic = maker.dice.below(6);
      maker.builder.trap_oid("1.3.6.1.6.3.1.1.5." + std::to_string(generic + 1));
      maker.head =
          "1.3.6.1.6.3.1.1.5 " + std::string(kAgentAddress) + " " + std::to_string(generic) + "/0";
      break;
    }
    case 1:
      maker.builder.trap_oid("1.3.6.1.4.1.32473.7." + number);
      maker.head = "1.3.6.1.4.1.32473.7 " + std::string(kAgentAddress) + " 6/" + number;
      break;
    default:
      maker.builder.trap_oid("1.3.6.1.4.1.32473.1.0." + number);
      maker.head = "1.3.6.1.4.1.32473.1 " + std::string(kAgentAddress) + " 6/" + number;
      break;
  }
}

std::string finished_trap(const Maker& maker, uint32_t number) {
  return maker.head + " @" + std::to_string(number) + maker.bindings;
}

// More bytes of bindings than there are: what is missing reads as zero, and adds
// nothing.
bool claims_more(Dice& dice) {
  return dice.one_in(40);
}

}  // namespace

Notification good_notification(uint64_t seed, uint32_t number, size_t most) {
  Maker maker = {.dice = Dice(seed, number), .builder = {}, .head = "", .bindings = ""};
  const bool large = maker.dice.one_in(12);
  const size_t usual = large ? kLongest : size_t{700};
  const size_t limit = std::min(most, usual);
  const size_t count = maker.dice.below(maker.dice.one_in(10) ? 31 : 9);
  maker.builder.uptime(number);
  add_trap_oid(maker);
  for (size_t i = 0; i < count; ++i) {
    const size_t used = maker.builder.bytes().size();
    if (used + kBindingRoom > limit) {
      break;
    }
    const AddBinding add = kBindingKinds[maker.dice.below(kBindingKinds.size())];
    add(maker, make_name(maker.dice), limit - used - kBindingRoom);
  }
  if (large && most == usual && maker.sent < kBindingsSent) {
    // To the last byte that fits.
    const std::string name = "1.3.6.1.4.1.32473.1";
    constexpr size_t kStart = 8 + 2 * 4 + 4 + 4;
    const size_t used = maker.builder.bytes().size();
    if (used + kStart <= limit) {
      const Bytes octets = random_bytes(maker.dice, (limit - used - kStart) / 4 * 4, 1);
      maker.builder.octets(name, std::string(octets.begin(), octets.end()));
      maker.expect(name, quoted(octets));
    }
  }
  // Only where nothing can follow it in the same receive.
  if (const Bytes whole = maker.builder.bytes(); most == kLongest && claims_more(maker.dice)) {
    maker.builder.payload_length(static_cast<uint32_t>(whole.size() - kHeader + 40));
  }
  maker.builder.flags(static_cast<uint8_t>(maker.dice.one_in(20) ? 0x08 : 0x00));
  return {maker.builder.bytes(), finished_trap(maker, number)};
}

Notification reset_notification(uint32_t number) {
  const Bytes pdu = NotifyBuilder().uptime(number).trap_oid("1.3.6.1.4.1.32473.6061.0.1").bytes();
  return {pdu, "1.3.6.1.4.1.32473.6061 " + std::string(kAgentAddress) + " 6/1 @" +
                   std::to_string(number)};
}

Bytes hopeless_notification(uint64_t seed, uint32_t number) {
  Dice dice(seed, number);
  NotifyBuilder builder;
  switch (dice.below(3)) {
    case 0:
      builder.uptime(number).octets("1.3.6.1.4.1.32473.2.1", "nobody's");
      break;
    case 1: {
      // Its length is read as a type, and of this there is none.
      const std::string context = "chassis";
      builder.raw_u32(static_cast<uint32_t>(context.size())).raw(text_bytes(context + '\0'));
      builder.uptime(number).trap_oid("1.3.6.1.4.1.32473.1.0.1").flags(0x08);
      break;
    }
    default:
      builder.raw_u32(static_cast<uint32_t>(dice.between(7, 63)));
      builder.raw(random_bytes(dice, 4 * dice.below(900), 0));
      break;
  }
  return builder.bytes();
}

Bytes notification_packet(const Bytes& pdu, uint64_t seed, uint32_t number) {
  static constexpr std::array<uint16_t, 4> kCommands = {0x0001, 0x0096, 0x0094, 0x8194};
  Dice dice(seed ^ 0xC41F, number);
  return ChifBuilder(kCommands[dice.below(kCommands.size())])
      .seqno(static_cast<uint16_t>(number))
      .svc(13)
      .agentx(pdu)
      .bytes();
}

Bytes dropped_packet(uint64_t seed, uint32_t number) {
  Dice dice(seed, number);
  const Bytes pdu = good_notification(seed, number, 600).pdu;
  ChifBuilder packet(0x0001);
  packet.svc(13).agentx(pdu);
  const auto size = static_cast<uint32_t>(packet.bytes().size());
  switch (dice.below(9)) {
    case 0:
      return packet.sized(dice.between(1, 16)).bytes();
    case 1:
      return packet.pktsize(static_cast<uint16_t>(size + 1 + dice.below(1'000))).bytes();
    case 2:
      return packet.agentx_resp_len(size + 1).bytes();
    case 3:
      return packet.agentx_resp_len(static_cast<uint32_t>(dice.between(4'081, 0xFFFFFFFF))).bytes();
    case 4:
      return packet.u8_at(17, static_cast<uint8_t>(dice.one_in(2) ? dice.below(12) : 13)).bytes();
    case 5:
      return packet.u16_at(4, 0x8094).errcode(static_cast<uint32_t>(dice.between(1, 99))).bytes();
    case 6:
      return packet.agentx_resp_len(0).bytes();
    case 7:
      return packet.u16_at(4, dice.one_in(2) ? 0x8093 : 0x8193).bytes();
    default:
      return ChifBuilder(0x0001).svc(13).agentx(hopeless_notification(seed, number)).bytes();
  }
}
