#include "bmc/network_address.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>

#include "bmc/channel.h"
#include "bmc/chif.h"
#include "log/log.h"
#include "wire/little_endian.h"

namespace {

using AddressText = std::array<char, kBmcAddressSize>;

constexpr size_t kIpv4ResponseSize = 276;
constexpr size_t kIpv4LastOctet = 32;  // the address is stored backwards

constexpr size_t kIpv6ResponseSize = 512;
constexpr size_t kIpv6Error = 8;
constexpr size_t kIpv6Options = 12;
constexpr uint32_t kOptionIpv6Enabled = 1U << 0U;
constexpr uint32_t kOptionIpv4Enabled = 1U << 1U;

constexpr size_t kEntries = 12;
constexpr size_t kEntrySize = 20;
constexpr size_t kFirstAddress = 20;
constexpr size_t kFirstState = 38;
constexpr uint8_t kStateUsable = 0;
constexpr size_t kGroups = 8;
constexpr size_t kGroupSize = 2;

// Sends a request that is nothing but a header; the channel is closed
// afterwards, whatever came back.
int query(int fd, uint16_t command, std::span<uint8_t> response) {
  std::array<uint8_t, kChifHeaderSize> request = {};
  const int result = getResponse(fd, command, request, response, nullptr);
  close_channel(fd);
  return result;
}

bool is_zero_group(std::span<const uint8_t> address, size_t group) {
  return get_u16(address, group * kGroupSize) == 0;
}

void copy_text(const AddressText& text, char* destination) {
  memcpy(destination, text.data(), strlen(text.data()) + 1);
}

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
  for (size_t entry = 0; entry < kEntries; ++entry) {
    const uint8_t state = get_u8(response, kFirstState + entry * kEntrySize);
    if (state != kStateUsable) {
      continue;
    }
    DebugLog("utils: get_Mox_IPv6(): ipv6addr[%d] state is [%d]\n", static_cast<int>(entry), state);
    const AddressText text =
        ipv6_text(response.subspan(kFirstAddress + entry * kEntrySize, kGroups * kGroupSize));
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
  std::array<uint8_t, kIpv4ResponseSize> response = {};
  const int result = query(fd, kCmdIpv4Address, response);
  if (result != 0) {
    return result;
  }
  AddressText text = {};
  snprintf(text.data(), text.size(), "%d.%d.%d.%d", get_u8(response, kIpv4LastOctet + 3),
           get_u8(response, kIpv4LastOctet + 2), get_u8(response, kIpv4LastOctet + 1),
           get_u8(response, kIpv4LastOctet));
  DebugLog("utils: get_Mox_IPv4(): Mox IPv4 address is [%s]\n", text.data());
  if (address != nullptr) {
    copy_text(text, address);
  }
  return 0;
}

int get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled) {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    DebugLog("utils: get_Mox_IPv6: openMP() failed\n");
    return 1;
  }
  std::array<uint8_t, kIpv6ResponseSize> response = {};
  const int result = query(fd, kCmdIpv6Address, response);
  if (result != 0 || get_u32(response, kIpv6Error) != 0) {
    return result;
  }
  const uint32_t options = get_u32(response, kIpv6Options);
  const int has_ipv6 = (options & kOptionIpv6Enabled) != 0 ? 1 : 0;
  const int has_ipv4 = (options & kOptionIpv4Enabled) != 0 ? 1 : 0;
  DebugLog(
      "utils: get_Mox_IPv6(): ipv6Options is [0x%x], ipv6enabled is [%d], ipv4enabled is [%d]\n",
      options, has_ipv6, has_ipv4);
  if (ipv6_enabled != nullptr) {
    *ipv6_enabled = has_ipv6;
  }
  if (ipv4_enabled != nullptr) {
    *ipv4_enabled = has_ipv4;
  }
  const AddressText text = has_ipv6 != 0 ? first_usable_address(response) : AddressText{};
  if (address != nullptr) {
    copy_text(text, address);
  }
  return 0;
}
