// SPDX-License-Identifier: Apache-2.0
#include "trap_bytes.h"

#include <gtest/gtest.h>

namespace {

unsigned char digit_value(char c) {
  return static_cast<unsigned char>(c <= '9' ? c - '0' : c - 'a' + 10);
}

}  // namespace

Bytes from_hex(std::string_view text) {
  Bytes bytes;
  bool high = true;
  for (const char c : text) {
    if (c == ' ') {
      continue;
    }
    if (high) {
      bytes.push_back(static_cast<unsigned char>(digit_value(c) << 4));
    } else {
      bytes.back() = static_cast<unsigned char>(bytes.back() | digit_value(c));
    }
    high = !high;
  }
  EXPECT_TRUE(high) << text;
  return bytes;
}

std::string to_hex(const Bytes& bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Bytes tlv(unsigned char tag, const Bytes& contents) {
  Bytes bytes = {tag};
  const size_t size = contents.size();
  if (size >= 256) {
    bytes.push_back(0x82);
    bytes.push_back(static_cast<unsigned char>(size >> 8));
  } else if (size >= 128) {
    bytes.push_back(0x81);
  }
  bytes.push_back(static_cast<unsigned char>(size & 0xFF));
  return std::move(bytes) + contents;
}

Bytes octets_of(std::string_view text) {
  return {text.begin(), text.end()};
}

Bytes message_of(const ExpectedTrap& trap) {
  const Bytes fields = trap.enterprise + trap.agent + trap.generic + trap.specific + trap.timestamp;
  return tlv(0x30, from_hex("020100") + tlv(0x04, trap.community) +
                       tlv(0xA4, fields + tlv(0x30, trap.bindings)));
}
