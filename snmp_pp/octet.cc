// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/octet.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

namespace Snmp_pp {

OctetStr::OctetStr(const char* text) {
  if (text != nullptr) {
    octets_.append({reinterpret_cast<const unsigned char*>(text), std::strlen(text)});
  }
}

OctetStr::OctetStr(const unsigned char* octets, unsigned long length) {
  if (octets != nullptr) {
    octets_.append({octets, length});
  }
}

SnmpSyntax& OctetStr::operator=(const SnmpSyntax& other) {
  const auto* string = dynamic_cast<const OctetStr*>(&other);
  return *this = string != nullptr ? *string : OctetStr();
}

const char* OctetStr::get_printable() const {
  const auto printable = [](unsigned char octet) { return octet >= 0x20 && octet < 0x7F; };
  if (std::ranges::all_of(octets_, printable)) {
    return text_.keep({octets_.begin(), octets_.end()});
  }
  std::string text;
  for (const unsigned char octet : octets_) {
    std::array<char, 4> piece{};
    std::snprintf(piece.data(), piece.size(), "%s%02x", text.empty() ? "" : " ", octet);
    text += piece.data();
  }
  return text_.keep(std::move(text));
}

}  // namespace Snmp_pp
