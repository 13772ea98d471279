#include "tests/e2e/trap_text.h"

#include <array>
#include <cstdio>
#include <optional>

#include "tests/support/packets.h"

namespace {

constexpr uint8_t kInteger = 0x02;
constexpr uint8_t kOctetString = 0x04;
constexpr uint8_t kObjectId = 0x06;
constexpr uint8_t kSequence = 0x30;
constexpr uint8_t kIpAddress = 0x40;
constexpr uint8_t kTimeTicks = 0x43;
constexpr uint8_t kTrapPdu = 0xA4;

using Octets = std::span<const uint8_t>;

// A cursor over BER elements. Once anything was wrong it stays bad.
struct Reader {
  explicit Reader(Octets octets) : rest(octets) {}

  Octets rest;
  bool good = true;

  // The next element's contents, which must have this tag.
  Octets take(uint8_t tag) {
    const auto element = take_any();
    good = good && element.tag == tag;
    return good ? element.contents : Octets{};
  }

  struct Element {
    uint8_t tag = 0;
    Octets contents;
  };
  Element take_any() {
    const std::optional<size_t> length = take_header();
    good = good && length && *length <= rest.size();
    if (!good) {
      return {};
    }
    const Element element = {tag_, rest.first(*length)};
    rest = rest.subspan(*length);
    return element;
  }

 private:
  std::optional<size_t> take_header() {
    constexpr uint8_t kLongForm = 0x80;
    if (rest.size() < 2) {
      return std::nullopt;
    }
    tag_ = rest[0];
    size_t length = rest[1];
    rest = rest.subspan(2);
    if (length < kLongForm) {
      return length;
    }
    const size_t count = length - kLongForm;
    if (count == 0 || count > 3 || count > rest.size()) {
      return std::nullopt;
    }
    length = 0;
    for (size_t i = 0; i < count; ++i) {
      length = length << 8 | rest[i];
    }
    rest = rest.subspan(count);
    return length;
  }

  uint8_t tag_ = 0;
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
  std::string text;
  for (const uint8_t octet : contents) {
    text += (text.empty() ? "" : ".") + std::to_string(octet);
  }
  return text;
}

std::string quoted_text(Octets contents) {
  std::string text = "\"";
  for (const uint8_t octet : contents) {
    if (octet >= 0x20 && octet < 0x7F) {
      text += static_cast<char>(octet);
    } else {
      std::array<char, 8> piece = {};
      snprintf(piece.data(), piece.size(), "\\x%02x", octet);
      text += piece.data();
    }
  }
  return text + "\"";
}

std::string value_text(const Reader::Element& value) {
  switch (value.tag) {
    case kInteger:
      return integer_text(value.contents);
    case kOctetString:
      return quoted_text(value.contents);
    case kObjectId:
      return object_id_text(value.contents);
    case kIpAddress:
      return "ip:" + address_text(value.contents);
    case kTimeTicks:
      return "ticks:" + integer_text(value.contents);
    default:
      return "tag-" + hex_of({&value.tag, 1}) + ":" + hex_of(value.contents);
  }
}

}  // namespace

std::string trap_text(std::span<const uint8_t> datagram) {
  Reader outer(datagram);
  Reader message(outer.take(kSequence));
  const std::string version = integer_text(message.take(kInteger));
  const Octets community = message.take(kOctetString);
  std::string text(community.begin(), community.end());

  Reader pdu(message.take(kTrapPdu));
  text += " " + object_id_text(pdu.take(kObjectId));
  text += " " + address_text(pdu.take(kIpAddress));
  text += " " + integer_text(pdu.take(kInteger));
  text += "/" + integer_text(pdu.take(kInteger));
  text += " @" + integer_text(pdu.take(kTimeTicks));
  Reader bindings(pdu.take(kSequence));
  bool good = outer.good && message.good && pdu.good && version == "0" && outer.rest.empty() &&
              message.rest.empty() && pdu.rest.empty();
  while (good && bindings.good && !bindings.rest.empty()) {
    Reader binding(bindings.take(kSequence));
    text += " " + object_id_text(binding.take(kObjectId));
    text += "=" + value_text(binding.take_any());
    good = binding.good && binding.rest.empty();
  }
  return good && bindings.good ? text : "not a trap: " + hex_of(datagram);
}
