// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/address.h"

#include <algorithm>
#include <string>

#include "snmp_pp/ipv4_text.h"
#include "snmp_pp/octet.h"

namespace Snmp_pp {

unsigned char Address::operator[](int position) const {
  const auto index = static_cast<size_t>(position);
  return index < octets_.size() ? octets_[index] : static_cast<unsigned char>(0);
}

const char* Address::get_printable() const {
  std::string text;
  if (valid_) {
    for (const unsigned char octet : octets_) {
      text += (text.empty() ? "" : ".") + std::to_string(octet);
    }
    if (get_type() == type_udp) {
      text += "/" + std::to_string(port_);
    }
  }
  return text_.keep(std::move(text));
}

void Address::parse_ip(const char* text) {
  invalidate();
  if (text == nullptr) {
    return;
  }
  if (const auto octets = parse_ipv4(text)) {
    octets_ = *octets;
    valid_ = true;
  }
}

void Address::parse_udp(const char* text) {
  invalidate();
  if (text == nullptr) {
    return;
  }
  const HostAndPort parts = split_port(text);
  if (const auto octets = parse_ipv4(parts.host)) {
    octets_ = *octets;
    port_ = parts.port;
    valid_ = true;
  }
}

void Address::take(const SnmpSyntax& other) {
  if (const auto* address = dynamic_cast<const Address*>(&other)) {
    octets_ = address->octets_;
    port_ = address->port_;
    valid_ = address->valid_;
    return;
  }
  invalidate();
  const auto* string = dynamic_cast<const OctetStr*>(&other);
  if (string != nullptr && string->len() == octets_.size()) {
    std::copy_n(string->data(), octets_.size(), octets_.begin());
    valid_ = true;
  }
}

void Address::invalidate() {
  octets_ = {};
  port_ = 0;
  valid_ = false;
}

IpAddress::IpAddress(const GenAddress& other) : Address(other) {
  set_port_number(0);
}

SnmpSyntax& IpAddress::operator=(const SnmpSyntax& other) {
  take(other);
  set_port_number(0);
  return *this;
}

bool IpAddress::operator==(const IpAddress& other) const {
  bool equal = valid() == other.valid();
  for (int position = 0; position < 4; ++position) {
    equal = equal && (*this)[position] == other[position];
  }
  return equal;
}

UdpAddress::UdpAddress(const GenAddress& other) {
  take(other);
}

SnmpSyntax& UdpAddress::operator=(const SnmpSyntax& other) {
  take(other);
  return *this;
}

// A text without a port is not tried as a UDP address, and one with a port is
// no host name: at most one of the two tries can ask the resolver.
GenAddress::GenAddress(const char* text) {
  if (text != nullptr && split_port(text).port != 0) {
    parse_udp(text);
    if (valid()) {
      type_ = type_udp;
      return;
    }
  }
  parse_ip(text);
  type_ = valid() ? type_ip : type_invalid;
}

GenAddress::GenAddress(const Address& other) : Address(other), type_(other.get_type()) {}

SnmpSyntax& GenAddress::operator=(const SnmpSyntax& other) {
  take(other);
  if (const auto* address = dynamic_cast<const Address*>(&other)) {
    type_ = address->get_type();
  } else {
    type_ = valid() ? type_ip : type_invalid;
  }
  return *this;
}

}  // namespace Snmp_pp
