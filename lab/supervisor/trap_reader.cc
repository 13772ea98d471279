// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/trap_reader.h"

#include "lab/sim/text.h"

namespace {

constexpr uint8_t kInteger = 0x02;
constexpr uint8_t kOctetString = 0x04;
constexpr uint8_t kObjectId = 0x06;
constexpr uint8_t kSequence = 0x30;
constexpr uint8_t kIpAddress = 0x40;
constexpr uint8_t kTimeTicks = 0x43;
constexpr uint8_t kTrapPdu = 0xA4;

using Octets = std::span<const uint8_t>;

struct Element {
  uint8_t tag = 0;
  Octets contents;
};

// A cursor over BER elements. Once anything was wrong it stays bad and empty.
struct Reader {
  explicit Reader(Octets octets) : rest(octets) {}

  Octets rest;
  bool good = true;

  Element take_any() {
    constexpr uint8_t kLongForm = 0x80;
    const uint8_t tag = take_octet();
    size_t length = take_octet();
    if (length >= kLongForm) {
      const size_t count = length - kLongForm;
      good = good && count >= 1 && count <= 3;
      length = 0;
      for (size_t i = 0; good && i < count; ++i) {
        length = length << 8 | take_octet();
      }
    }
    good = good && length <= rest.size();
    const Element element = good ? Element{tag, rest.first(length)} : Element{};
    rest = good ? rest.subspan(length) : Octets{};
    return element;
  }

  // The next element's contents, which must have this tag.
  Octets take(uint8_t tag) {
    const Element element = take_any();
    good = good && element.tag == tag;
    return good ? element.contents : Octets{};
  }

  bool finished() const { return good && rest.empty(); }

 private:
  uint8_t take_octet() {
    good = good && !rest.empty();
    const uint8_t octet = good ? rest[0] : uint8_t{0};
    rest = good ? rest.subspan(1) : Octets{};
    return octet;
  }
};

std::string integer_text(Octets contents) {
  int64_t value = !contents.empty() && contents[0] >= 0x80 ? -1 : 0;
  for (const uint8_t octet : contents) {
    value = static_cast<int64_t>(static_cast<uint64_t>(value) << 8 | octet);
  }
  return std::to_string(value);
}

std::string object_id_text(Octets contents) {
  std::string text;
  uint64_t number = 0;
  for (const uint8_t octet : contents) {
    number = number << 7 | (octet & 0x7F);
    if (octet >= 0x80) {
      continue;
    }
    // The first two numbers share one.
    text += text.empty() ? std::to_string(number / 40) + "." + std::to_string(number % 40)
                         : "." + std::to_string(number);
    number = 0;
  }
  return text;
}

std::string address_text(Octets contents) {
  return oid_text(OidNumbers(contents.begin(), contents.end()));
}

}  // namespace

std::optional<TrapMessage> read_trap_message(std::span<const uint8_t> datagram) {
  Reader outer(datagram);
  Reader message(outer.take(kSequence));
  const std::string version = integer_text(message.take(kInteger));
  const Octets community = message.take(kOctetString);
  Reader pdu(message.take(kTrapPdu));
  TrapMessage trap;
  trap.community.assign(community.begin(), community.end());
  trap.enterprise = object_id_text(pdu.take(kObjectId));
  trap.agent = address_text(pdu.take(kIpAddress));
  trap.generic = integer_text(pdu.take(kInteger));
  trap.specific = integer_text(pdu.take(kInteger));
  trap.time_stamp = integer_text(pdu.take(kTimeTicks));
  Reader bindings(pdu.take(kSequence));
  bool good = version == "0" && outer.finished() && message.finished() && pdu.finished();
  while (good && !bindings.finished()) {
    Reader binding(bindings.take(kSequence));
    const std::string name = object_id_text(binding.take(kObjectId));
    const Element value = binding.take_any();
    good = bindings.good && binding.finished();
    trap.bindings.push_back({name, value.tag, value.contents});
  }
  return good ? std::optional(trap) : std::nullopt;
}

std::string value_text(const TrapMessage::Binding& binding) {
  switch (binding.tag) {
    case kInteger:
      return integer_text(binding.contents);
    case kOctetString:
      return quoted(binding.contents);
    case kObjectId:
      return object_id_text(binding.contents);
    case kIpAddress:
      return "ip:" + address_text(binding.contents);
    case kTimeTicks:
      return "ticks:" + integer_text(binding.contents);
    default:
      return "tag-" + hex_text({&binding.tag, 1}) + ":" + hex_text(binding.contents);
  }
}

std::string trap_text(std::span<const uint8_t> datagram) {
  const auto trap = read_trap_message(datagram);
  if (!trap) {
    return "not a trap: " + hex_text(datagram);
  }
  std::string text = trap->community + " " + trap->enterprise + " " + trap->agent + " " +
                     trap->generic + "/" + trap->specific + " @" + trap->time_stamp;
  for (const TrapMessage::Binding& binding : trap->bindings) {
    text += " " + binding.name + "=" + value_text(binding);
  }
  return text;
}
