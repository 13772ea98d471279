// SPDX-License-Identifier: Apache-2.0
#include "trap/receiver_text.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "base/text.h"

namespace {

// Locale-free: only ASCII digits and letters count.
bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

bool is_number_character(char c) {
  return is_digit(c) || c == '.';
}

bool is_name_character(char c) {
  return is_number_character(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
         c == '_';
}

std::string_view skip_blanks(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  return text;
}

std::string_view without_brackets(std::string_view host) {
  const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
  return bracketed ? host.substr(1, host.size() - 2) : host;
}

bool is_ipv6(std::string_view host) {
  if (host.find(':') == std::string_view::npos) {
    return false;
  }
  host = without_brackets(host);
  host = host.substr(0, host.find('%'));  // less the zone
  std::array<char, INET6_ADDRSTRLEN> text = {};
  in6_addr address = {};
  return copy_text(text, host) == host.size() && inet_pton(AF_INET6, text.data(), &address) == 1;
}

// The port is taken modulo 65536, and a zero one makes no address.
bool is_port(std::string_view port) {
  uint32_t number = 0;
  const std::string_view digits = port.substr(1);
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc{} && end == digits.data() + digits.size() && number % 65'536 != 0;
}

}  // namespace

std::string_view shown_receiver(std::string_view text) {
  const std::string_view whole = skip_blanks(text);
  return whole.substr(0, whole.find_first_of(" ;"));
}

ReceiverText read_receiver(std::string_view text) {
  const std::string_view whole = skip_blanks(text);
  // What follows a blank behind a numeric address is not looked at.
  const std::string_view word = whole.substr(0, whole.find(' '));
  const size_t separator = std::min(word.find_last_of(":/"), word.size());
  const std::string_view port = word.substr(separator);
  if (is_ipv6(word) || is_ipv6(word.substr(0, separator))) {
    return {ReceiverKind::kIpv6, {}, {}};
  }
  const std::string_view host = without_brackets(word.substr(0, separator));
  if (host.empty() || !std::all_of(host.begin(), host.end(), is_name_character)) {
    return {ReceiverKind::kMalformed, {}, {}};
  }
  if (std::all_of(host.begin(), host.end(), is_number_character)) {
    return {ReceiverKind::kNumeric, {}, {}};
  }
  const bool is_name = word.size() == whole.size() && host.size() <= kReceiverNameMax &&
                       (port.empty() || is_port(port));
  return is_name ? ReceiverText{ReceiverKind::kName, host, port}
                 : ReceiverText{ReceiverKind::kMalformed, {}, {}};
}
