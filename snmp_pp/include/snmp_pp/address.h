// SPDX-License-Identifier: Apache-2.0
// IPv4 addresses with and without a port. IPv6 texts are invalid.
//
// An address text is a dotted quad in decimal, with blanks before it and
// anything after a blank behind it (" 127.000.000.001 x" is 127.0.0.1), or a
// shorter numbers-and-dots form of inet_aton ("127.1"), or a host name. Texts
// of digits and dots are never looked up; a host name is looked up once, which
// blocks as long as the system's resolver does. A text with a character that
// no host name has is invalid without a look-up.
#ifndef SNMP_PP_ADDRESS_H_
#define SNMP_PP_ADDRESS_H_

#include <array>

#include "snmp_pp/printed_text.h"
#include "snmp_pp/smival.h"

namespace Snmp_pp {

// The base of the address classes. On the wire every address is an IpAddress,
// four octets without the port.
class Address : public SnmpSyntax {
 public:
  enum addr_type { type_ip, type_udp, type_invalid };

  Address() = default;
  Address(const Address&) = default;
  Address& operator=(const Address&) = default;
  SnmpSyntax& operator=(const SnmpSyntax& other) override = 0;

  // The four octets in network order; 0 for other positions and in an invalid
  // address.
  unsigned char operator[](int position) const;
  // All four. Not part of SNMP++.
  const std::array<unsigned char, 4>& octets() const { return octets_; }

  // The kind of address; type_invalid in an invalid object.
  virtual addr_type get_type() const = 0;

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_IPADDR; }
  bool valid() const override { return valid_; }
  // "10.0.0.5", "10.0.0.5/162" for a UDP address.
  const char* get_printable() const override;

 protected:
  // Becomes the address of the text, or invalid; the port becomes 0.
  void parse_ip(const char* text);
  // As parse_ip with a text that may end in a port.
  void parse_udp(const char* text);
  // Becomes the address that the value holds, or invalid.
  void take(const SnmpSyntax& other);
  void invalidate();

  unsigned short port() const { return port_; }
  void set_port_number(unsigned short port) { port_ = port; }

 private:
  std::array<unsigned char, 4> octets_{};
  unsigned short port_ = 0;
  bool valid_ = false;
  mutable PrintedText text_;
};

class GenAddress;

// An IPv4 address.
class IpAddress : public Address {
 public:
  // Invalid.
  IpAddress() = default;
  IpAddress(const char* text) { parse_ip(text); }  // NOLINT(google-explicit-constructor)
  // The address part of an IP or UDP address.
  IpAddress(const GenAddress& other);  // NOLINT(google-explicit-constructor)
  IpAddress(const IpAddress&) = default;

  IpAddress& operator=(const IpAddress&) = default;
  // Besides addresses, a string of exactly four octets makes a valid address.
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  bool operator==(const IpAddress& other) const;

  addr_type get_type() const override { return valid() ? type_ip : type_invalid; }
  IpAddress* clone() const override { return new IpAddress(*this); }
};

// An IPv4 address with a UDP port. The port in a text follows the last ":" or
// "/", a ":" only when it is the only one; "[address]:port" is understood too.
// It is read like atoi reads it, modulo 65536, and 0 where there is none.
class UdpAddress : public IpAddress {
 public:
  // Invalid, port 0.
  UdpAddress() = default;
  UdpAddress(const char* text) { parse_udp(text); }  // NOLINT(google-explicit-constructor)
  UdpAddress(const GenAddress& other);               // NOLINT(google-explicit-constructor)
  UdpAddress(const UdpAddress&) = default;

  UdpAddress& operator=(const UdpAddress&) = default;
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  unsigned short get_port() const { return port(); }
  void set_port(unsigned short port) { set_port_number(port); }

  addr_type get_type() const override { return valid() ? type_udp : type_invalid; }
  UdpAddress* clone() const override { return new UdpAddress(*this); }
};

// An address of either kind. A text with a port other than 0 becomes a UDP
// address; otherwise the whole text is tried as an IP address.
class GenAddress : public Address {
 public:
  // Invalid.
  GenAddress() = default;
  GenAddress(const char* text);      // NOLINT(google-explicit-constructor)
  GenAddress(const Address& other);  // NOLINT(google-explicit-constructor)
  GenAddress(const GenAddress&) = default;

  GenAddress& operator=(const GenAddress&) = default;
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  addr_type get_type() const override { return type_; }
  GenAddress* clone() const override { return new GenAddress(*this); }

 private:
  addr_type type_ = type_invalid;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_ADDRESS_H_
