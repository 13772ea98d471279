#include "tests/unit/trap/trap_reader.h"

#include <array>
#include <cstdio>

namespace {

constexpr uint8_t kInteger = 0x02;
constexpr uint8_t kOid = 0x06;
constexpr uint8_t kSequence = 0x30;
constexpr uint8_t kIpAddress = 0x40;
constexpr uint8_t kTimeTicks = 0x43;
constexpr uint8_t kTrapPdu = 0xA4;

struct Element {
  uint8_t tag = 0;
  std::span<const uint8_t> contents;
};

// Cuts the next element off; tag 0 when there is none.
Element next(std::span<const uint8_t>& bytes) {
  if (bytes.size() < 2) {
    bytes = {};
    return {};
  }
  const uint8_t tag = bytes[0];
  size_t length = bytes[1];
  size_t start = 2;
  if (length > 0x80) {
    const size_t count = length - 0x80;
    length = 0;
    for (size_t i = 0; i < count && start < bytes.size(); ++i) {
      length = length << 8 | bytes[start++];
    }
  }
  if (start + length > bytes.size()) {
    bytes = {};
    return {};
  }
  const Element element = {tag, bytes.subspan(start, length)};
  bytes = bytes.subspan(start + length);
  return element;
}

std::string number_text(const Element& element) {
  const bool is_signed = element.tag == kInteger;
  int64_t number = is_signed && !element.contents.empty() && element.contents[0] >= 0x80 ? -1 : 0;
  for (const uint8_t byte : element.contents) {
    number = static_cast<int64_t>(static_cast<uint64_t>(number) << 8 | byte);
  }
  return std::to_string(number);
}

std::string oid_text(std::span<const uint8_t> contents) {
  std::string text;
  uint64_t arc = 0;
  for (const uint8_t byte : contents) {
    arc = arc << 7 | (byte & 0x7F);
    if (byte < 0x80) {
      text += text.empty() ? std::to_string(arc / 40) + "." + std::to_string(arc % 40)
                           : "." + std::to_string(arc);
      arc = 0;
    }
  }
  return text;
}

std::string dotted_text(std::span<const uint8_t> contents) {
  std::string text;
  for (const uint8_t byte : contents) {
    text += (text.empty() ? "" : ".") + std::to_string(byte);
  }
  return text;
}

std::string value_text(const Element& element) {
  switch (element.tag) {
    case kInteger:
    case kTimeTicks:
      return number_text(element);
    case kOid:
      return oid_text(element.contents);
    case kIpAddress:
      return dotted_text(element.contents);
    default:
      return {element.contents.begin(), element.contents.end()};
  }
}

std::string tagged_text(const Element& element) {
  std::array<char, 4> tag = {};
  snprintf(tag.data(), tag.size(), "%02x:", element.tag);
  return tag.data() + value_text(element);
}

}  // namespace

ReadTrap read_trap(std::span<const uint8_t> message) {
  const Element whole = next(message);
  if (whole.tag != kSequence || !message.empty()) {
    return {"no message", {}};
  }
  std::span<const uint8_t> rest = whole.contents;
  if (number_text(next(rest)) != "0") {
    return {"not version 1", {}};
  }
  ReadTrap trap = {value_text(next(rest)), {}};
  const Element pdu = next(rest);
  if (pdu.tag != kTrapPdu || !rest.empty()) {
    return {"no Trap-PDU", {}};
  }
  rest = pdu.contents;
  for (const uint8_t tag : {kOid, kIpAddress, kInteger, kInteger, kTimeTicks}) {
    const Element field = next(rest);
    if (field.tag != tag) {
      return {"another field in the Trap-PDU", {}};
    }
    trap.header += " " + value_text(field);
  }
  std::span<const uint8_t> bindings = next(rest).contents;
  while (!bindings.empty()) {
    std::span<const uint8_t> binding = next(bindings).contents;
    const std::string name = value_text(next(binding));
    trap.bindings.push_back(name + " " + tagged_text(next(binding)));
  }
  return trap;
}
