// SPDX-License-Identifier: Apache-2.0
// From address texts to IPv4 addresses: what a text means and when the
// system's resolver is asked. Octets are in network order.
#ifndef TVUREV_SNMP_PP_IPV4_TEXT_H_
#define TVUREV_SNMP_PP_IPV4_TEXT_H_

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace Snmp_pp {

using Ipv4Octets = std::array<unsigned char, 4>;

// The address of a text: a dotted quad with blanks around it, another
// numbers-and-dots form that inet_aton takes, or a host name. Asks the resolver
// once for a host name, and never for anything else.
std::optional<Ipv4Octets> parse_ipv4(std::string_view text);

// A text taken apart at its port. Port 0 means that there is none; host is then
// the text, trimmed.
struct HostAndPort {
  std::string_view host;
  unsigned short port;
};
HostAndPort split_port(std::string_view text);

// The first IPv4 address that the resolver has for the name; blocks as long as
// the resolver does.
std::optional<Ipv4Octets> look_up_ipv4(const std::string& name);

// The address of the local host's name, 255.255.255.255 when it has none.
Ipv4Octets local_host_ipv4();

}  // namespace Snmp_pp

#endif  // TVUREV_SNMP_PP_IPV4_TEXT_H_
