// SPDX-License-Identifier: Apache-2.0
#include "trap/receiver_address.h"

#include <arpa/inet.h>
#include <syslog.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/clock.h"
#include "base/text.h"
#include "log/log.h"
#include "trap/name_lookup.h"
#include "trap/receiver_text.h"

namespace {

using Snmp_pp::GenAddress;

constexpr int64_t kKeepAddressMs = 300'000;
constexpr int64_t kKeepFailureMs = 60'000;

using AddressText = std::array<char, INET_ADDRSTRLEN>;

// What the resolver said of a name.
struct KnownName {
  std::array<char, kReceiverNameMax + 1> name = {};  // empty: the place is free
  AddressText address = {};                          // in use; empty when there is none
  std::array<char, 80> why = {};                     // why it does not resolve; empty when it does
  int64_t good_until_ms = 0;
};

// As many as there are receivers. Each process has its own.
std::array<KnownName, 3> g_names = {};

// A numeric address as it was read. Each trap to a receiver asks for the same.
struct KnownNumber {
  std::array<char, 48> text = {};  // empty: the place is free
  GenAddress address;
};

std::array<KnownNumber, 3> g_numbers = {};
size_t g_oldest_number = 0;

GenAddress numeric_address(const char* text) {
  GenAddress address(text);
  KnownNumber& place = g_numbers[g_oldest_number];
  if (strlen(text) < place.text.size()) {
    copy_text(place.text, text);
    place.address = address;
    g_oldest_number = (g_oldest_number + 1) % g_numbers.size();
  }
  return address;
}

KnownName* find_name(std::string_view name) {
  const auto found = std::find_if(g_names.begin(), g_names.end(), [&](const KnownName& known) {
    return name == known.name.data();
  });
  return found == g_names.end() ? nullptr : &*found;
}

// The place for a name that has none: a free one, or that of what expires first.
KnownName& make_place(std::string_view name) {
  KnownName& place = *std::min_element(
      g_names.begin(), g_names.end(),
      [](const KnownName& a, const KnownName& b) { return a.good_until_ms < b.good_until_ms; });
  place = {};
  copy_text(place.name, name);
  return place;
}

void keep_address(KnownName& known, const in_addr& address) {
  inet_ntop(AF_INET, &address, known.address.data(), INET_ADDRSTRLEN);
  if (known.why[0] != '\0') {
    Log(LOG_INFO, "tvurev: trap receiver [%s] resolves again: [%s].\n", known.name.data(),
        known.address.data());
  }
  known.why = {};
}

void keep_failure(KnownName& known, const LookupResult& result) {
  const bool resolved_before = known.why[0] == '\0';
  known.why = result.why;
  if (result.status == LookupStatus::kUnknown) {
    known.address = {};
  }
  if (!resolved_before) {
    return;
  }
  if (known.address[0] != '\0') {
    Log(LOG_ERR,
        "tvurev: trap receiver [%s] does not resolve: %s. Its last address [%s] is used.\n",
        known.name.data(), known.why.data(), known.address.data());
  } else {
    Log(LOG_ERR, "tvurev: trap receiver [%s] does not resolve: %s. It gets no traps.\n",
        known.name.data(), known.why.data());
  }
}

void ask(KnownName& known) {
  const LookupResult result = look_up_name(known.name.data());
  const bool found = result.status == LookupStatus::kFound;
  if (found) {
    keep_address(known, result.address);
  } else {
    keep_failure(known, result);
  }
  // From now on, not from before the look-up: a silent resolver is left alone for
  // a whole minute.
  known.good_until_ms = monotonic_ms() + (found ? kKeepAddressMs : kKeepFailureMs);
}

const AddressText& address_of(std::string_view name) {
  KnownName* known = find_name(name);
  if (known == nullptr) {
    known = &make_place(name);
    ask(*known);
  } else if (monotonic_ms() >= known->good_until_ms) {
    ask(*known);
  }
  return known->address;
}

}  // namespace

GenAddress receiver_address(const char* destination) {
  for (const KnownNumber& known : g_numbers) {
    if (strcmp(destination, known.text.data()) == 0) {
      return known.address;
    }
  }
  const ReceiverText text = read_receiver(destination);
  if (text.kind == ReceiverKind::kNumeric) {
    return numeric_address(destination);
  }
  if (text.kind != ReceiverKind::kName) {
    return {};
  }
  const AddressText& address = address_of(text.name);
  if (address[0] == '\0') {
    return {};
  }
  std::array<char, INET_ADDRSTRLEN + kReceiverNameMax> with_port = {};
  snprintf(with_port.data(), with_port.size(), "%s%.*s", address.data(),
           static_cast<int>(text.port.size()), text.port.data());
  return GenAddress(with_port.data());
}

ReceiverFault receiver_fault(const char* destination) {
  ReceiverFault fault = {};
  const ReceiverText text = read_receiver(destination);
  const KnownName* known = text.kind == ReceiverKind::kName ? find_name(text.name) : nullptr;
  if (text.kind == ReceiverKind::kIpv6) {
    copy_text(fault, "it is an IPv6 address, and only IPv4 is served");
  } else if (known == nullptr) {
    copy_text(fault, "its syntax is neither that of an IPv4 address nor of a host name");
  } else {
    snprintf(fault.data(), fault.size(), "its name does not resolve: %s", known->why.data());
  }
  return fault;
}

bool is_usable_receiver(const char* destination) {
  const ReceiverText text = read_receiver(destination);
  return text.kind == ReceiverKind::kName ||
         (text.kind == ReceiverKind::kNumeric && GenAddress(destination).valid());
}
