// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/ipv4_text.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Snmp_pp {
namespace {

constexpr size_t kLongestPaddedQuad = 29;
constexpr size_t kLongestQuad = 15;
constexpr size_t kLongestUdpText = 79;

// Locale-free: only ASCII digits and letters count.
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_host_name_character(char c) {
  return is_digit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '.' || c == '-' ||
         c == '_';
}

// Leading spaces are skipped and the next one ends the text. Tabs and line ends
// are no spaces here.
std::string_view trim(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text.substr(0, text.find(' '));
}

// Exactly four decimal pieces of one to three digits, each at most 255.
std::optional<Ipv4Octets> parse_quad(std::string_view text) {
  if (text.size() > kLongestQuad) {
    return std::nullopt;
  }
  Ipv4Octets octets{};
  size_t piece = 0;
  size_t digits = 0;
  unsigned value = 0;
  for (const char c : text) {
    if (is_digit(c) && digits < 3) {
      value = value * 10 + static_cast<unsigned>(c - '0');
      ++digits;
    } else if (c == '.' && digits > 0 && value <= 255 && piece < 3) {
      octets[piece++] = static_cast<unsigned char>(value);
      value = 0;
      digits = 0;
    } else {
      return std::nullopt;
    }
  }
  if (piece != 3 || digits == 0 || value > 255) {
    return std::nullopt;
  }
  octets[3] = static_cast<unsigned char>(value);
  return octets;
}

Ipv4Octets octets_of(const in_addr& address) {
  Ipv4Octets octets{};
  std::memcpy(octets.data(), &address.s_addr, octets.size());
  return octets;
}

}  // namespace

std::optional<Ipv4Octets> parse_ipv4(std::string_view text) {
  if (text.size() <= kLongestPaddedQuad) {
    if (const std::optional<Ipv4Octets> octets = parse_quad(trim(text))) {
      return octets;
    }
  }
  if (text.empty() || !std::all_of(text.begin(), text.end(), is_host_name_character)) {
    return std::nullopt;
  }
  const std::string name(text);
  const auto is_number = [](char c) { return is_digit(c) || c == '.'; };
  if (!std::all_of(text.begin(), text.end(), is_number)) {
    return look_up_ipv4(name);
  }
  in_addr address{};
  if (inet_aton(name.c_str(), &address) == 0) {
    return std::nullopt;
  }
  return octets_of(address);
}

HostAndPort split_port(std::string_view text) {
  const std::string_view trimmed = trim(text);
  const HostAndPort no_port = {trimmed, 0};
  if (text.size() > kLongestUdpText) {
    return no_port;
  }
  const size_t separator = trimmed.find_last_of(":/");
  if (separator == std::string_view::npos) {
    return no_port;
  }
  std::string_view host = trimmed.substr(0, separator);
  const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
  if (bracketed) {
    host = host.substr(1, host.size() - 2);
  } else if (trimmed[separator] == ':' && host.find(':') != std::string_view::npos) {
    return no_port;
  }
  // Only the low 16 bits count, however large the number is.
  const std::string digits(trimmed.substr(separator + 1));
  const auto port = static_cast<unsigned short>(std::strtol(digits.c_str(), nullptr, 10));
  return {host, port};
}

std::optional<Ipv4Octets> look_up_ipv4(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) {
    return std::nullopt;
  }
  const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
  if (found == nullptr || found->ai_addr == nullptr || found->ai_addrlen < sizeof(sockaddr_in)) {
    return std::nullopt;
  }
  sockaddr_in address{};
  std::memcpy(&address, found->ai_addr, sizeof(address));
  return octets_of(address.sin_addr);
}

Ipv4Octets local_host_ipv4() {
  constexpr Ipv4Octets kUnknown = {255, 255, 255, 255};
  std::array<char, 256> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) {
    return kUnknown;
  }
  return look_up_ipv4(name.data()).value_or(kUnknown);
}

}  // namespace Snmp_pp
