// SPDX-License-Identifier: Apache-2.0
#include "ortinv/network_address.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "base/text.h"
#include "bmc/channel.h"
#include "log/log.h"
#include "wire/chif.h"

namespace {

using AddressText = std::array<char, kBmcAddressSize>;

constexpr size_t kGroups = 8;
constexpr size_t kGroupSize = 2;

// Sends a request that is nothing but a header; the channel is closed
// afterwards, whatever came back.
int query(int fd, uint16_t command, std::span<uint8_t> response) {
  std::array<uint8_t, chif::header::kSize> request = {};
  const int result = getResponse(fd, command, request, response, nullptr);
  close_channel(fd);
  return result;
}

bool is_zero_group(std::span<const uint8_t> address, size_t group) {
  return get_u16(address, group * kGroupSize) == 0;
}

// The form that callers know, not the standard one: a group with a zero byte is
// dropped (docs/oddities.md: ipv6-text).
AddressText ipv6_text(std::span<const uint8_t> address) {
  AddressText text = {};
  size_t used = 0;
  for (size_t group = 0; group < kGroups; ++group) {
    const uint8_t high = get_u8(address, group * kGroupSize);
    const uint8_t low = get_u8(address, group * kGroupSize + 1);
    if (high == 0 || low == 0) {
      continue;
    }
    const char* separator = "";
    if (group > 0) {
      // Decided by the group before, whether that one was written or not.
      separator = is_zero_group(address, group - 1) ? "::" : ":";
    }
    const int written =
        snprintf(&text[used], text.size() - used, "%s%02x%02x", separator, high, low);
    used += static_cast<size_t>(written);  // at most 6 a group: all eight fit
  }
  return text;
}

// Takes the first entry whose state is usable; an empty text without one.
AddressText first_usable_address(std::span<const uint8_t> response) {
  for (size_t entry = 0; entry < chif::ipv6_address::kEntries; ++entry) {
    const uint8_t state =
        get_u8(response, chif::ipv6_address::kFirstState + entry * chif::ipv6_address::kEntrySize);
    if (state != chif::ipv6_address::kStateUsable) {
      continue;
    }
    DebugLog("utils: get_Mox_IPv6(): ipv6addr[%d] state is [%d]\n", static_cast<int>(entry), state);
    const AddressText text = ipv6_text(
        response.subspan(chif::ipv6_address::kFirstAddress + entry * chif::ipv6_address::kEntrySize,
                         kGroups * kGroupSize));
    DebugLog("utils: get_Mox_IPv6(): ipv6addr[%d] address is [%s]\n", static_cast<int>(entry),
             text.data());
    return text;
  }
  return {};
}

}  // namespace

int get_Mox_IPv4(char* address) {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    DebugLog("utils: get_Mox_IPv4: openMP() failed\n");
    return 1;
  }
  std::array<uint8_t, chif::ipv4_address::kSize> response = {};
  const int result = query(fd, chif::kCmdIpv4Address, response);
  if (result != 0) {
    return result;
  }
  AddressText text = {};
  snprintf(text.data(), text.size(), "%d.%d.%d.%d",
           get_u8(response, chif::ipv4_address::kLastOctet + 3),
           get_u8(response, chif::ipv4_address::kLastOctet + 2),
           get_u8(response, chif::ipv4_address::kLastOctet + 1),
           get_u8(response, chif::ipv4_address::kLastOctet));
  DebugLog("utils: get_Mox_IPv4(): Mox IPv4 address is [%s]\n", text.data());
  if (address != nullptr) {
    copy_text({address, strlen(text.data()) + 1}, text.data());
  }
  return 0;
}

int get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled) {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    DebugLog("utils: get_Mox_IPv6: openMP() failed\n");
    return 1;
  }
  std::array<uint8_t, chif::ipv6_address::kSize> response = {};
  const int result = query(fd, chif::kCmdIpv6Address, response);
  if (result != 0 || get_u32(response, chif::ipv6_address::kError) != 0) {
    return result;
  }
  const uint32_t options = get_u32(response, chif::ipv6_address::kOptions);
  const int has_ipv6 = (options & chif::ipv6_address::kIpv6Enabled) != 0 ? 1 : 0;
  const int has_ipv4 = (options & chif::ipv6_address::kIpv4Enabled) != 0 ? 1 : 0;
  DebugLog(
      "utils: get_Mox_IPv6(): ipv6Options is [0x%x], ipv6enabled is [%d], ipv4enabled is [%d]\n",
      options, has_ipv6, has_ipv4);
  if (ipv6_enabled != nullptr) {
    *ipv6_enabled = has_ipv6;
  }
  if (ipv4_enabled != nullptr) {
    *ipv4_enabled = has_ipv4;
  }
  // Filled in every case: an address left from before would be taken for the BMC's.
  const AddressText text = has_ipv6 != 0 ? first_usable_address(response) : AddressText{};
  if (address != nullptr) {
    copy_text({address, strlen(text.data()) + 1}, text.data());
  }
  return 0;
}
