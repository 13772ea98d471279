// SPDX-License-Identifier: Apache-2.0
#include "ortinv/network_address.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "log/debug_flags.h"
#include "tests/support/call_script.h"

namespace {

constexpr int kFd = 7;
constexpr const char* kChannel4 = "/vmfs/devices/char/vmkdriver/zemox-d0ccb4";
constexpr const char* kChannelBase = "/vmfs/devices/char/vmkdriver/zemox-d0ccb";

using Bytes = std::vector<uint8_t>;
using Groups = std::array<uint16_t, 8>;

// Header only: length 8, seqno 0xDEAD, command, service 0.
const Bytes kIpv4Request = {0x08, 0x00, 0xAD, 0xDE, 0x32, 0x00, 0x00, 0x00};
const Bytes kIpv6Request = {0x08, 0x00, 0xAD, 0xDE, 0x20, 0x01, 0x00, 0x00};

class NetworkAddressTest : public testing::Test {
 protected:
  NetworkAddressTest() {
    g_utilities_debug_flag = 1;
    script_.file("/tmp/utils.text");
    script_.collect_waits();
  }
  ~NetworkAddressTest() override { g_utilities_debug_flag = 0; }

  void expect_query(const Bytes& request, const Bytes& response) {
    script_.open(kChannel4, O_RDWR | O_EXCL | O_CLOEXEC).returns(kFd);
    script_.write(kFd, request);
    script_.ioctl(kFd).gives(response);
    script_.close(kFd);
  }

  void expect_no_channel() {
    for (int sweep = 0; sweep < 5; ++sweep) {
      for (int channel = 4; channel >= 0; --channel) {
        script_.open(kChannelBase + std::to_string(channel), O_RDWR | O_EXCL | O_CLOEXEC)
            .fails(EBUSY);
      }
    }
  }

  void expect_failed_write(const Bytes& request) {
    script_.open(kChannel4, O_RDWR | O_EXCL | O_CLOEXEC).returns(kFd);
    script_.write(kFd, request).fails(EIO);
    script_.close(kFd);
  }

  // The messages of the two queries, without those of the channel.
  Lines own_logs() const {
    Lines lines = script_.logs();
    std::erase_if(lines, [](const std::string& line) {
      return line.find("get_Mox_IPv") == std::string::npos;
    });
    return lines;
  }

  CallScript script_;
  std::array<char, kBmcAddressSize> address_ = {"untouched"};
  int ipv6_enabled_ = -1;
  int ipv4_enabled_ = -1;
};

Bytes ipv4_response(std::initializer_list<uint8_t> stored_address) {
  Bytes response(276);
  std::copy(stored_address.begin(), stored_address.end(), response.begin() + 32);
  return response;
}

struct Entry {
  Groups groups = {};
  uint8_t state = 1;
};

Bytes ipv6_response(uint8_t options, const std::vector<Entry>& entries) {
  Bytes response(512);
  response[12] = options;
  for (size_t i = 0; i < 12; ++i) {
    const Entry entry = i < entries.size() ? entries[i] : Entry{};
    for (size_t group = 0; group < entry.groups.size(); ++group) {
      response[20 + 20 * i + 2 * group] = static_cast<uint8_t>(entry.groups[group] >> 8);
      response[21 + 20 * i + 2 * group] = static_cast<uint8_t>(entry.groups[group] & 0xFF);
    }
    response[38 + 20 * i] = entry.state;
  }
  return response;
}

TEST_F(NetworkAddressTest, Ipv4OctetsAreStoredBackwards) {
  expect_query(kIpv4Request, ipv4_response({10, 0, 0, 192}));
  EXPECT_EQ(get_Mox_IPv4(address_.data()), 0);
  EXPECT_STREQ(address_.data(), "192.0.0.10");
  EXPECT_EQ(own_logs(), Lines({"6 utils: get_Mox_IPv4(): Mox IPv4 address is [192.0.0.10]\n"}));
}

TEST_F(NetworkAddressTest, Ipv4NeedsNoDestination) {
  expect_query(kIpv4Request, ipv4_response({255, 255, 255, 255}));
  EXPECT_EQ(get_Mox_IPv4(nullptr), 0);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: get_Mox_IPv4(): Mox IPv4 address is [255.255.255.255]\n"}));
}

TEST_F(NetworkAddressTest, Ipv4OfAShortAnswerIsUnset) {
  Bytes response = ipv4_response({10, 0, 0, 192});
  response.resize(34);
  expect_query(kIpv4Request, response);
  EXPECT_EQ(get_Mox_IPv4(address_.data()), 0);
  EXPECT_STREQ(address_.data(), "0.0.0.10");
}

TEST_F(NetworkAddressTest, WithoutAChannelBothGiveOne) {
  expect_no_channel();
  EXPECT_EQ(get_Mox_IPv4(address_.data()), 1);
  EXPECT_EQ(own_logs().back(), "6 utils: get_Mox_IPv4: openMP() failed\n");
  expect_no_channel();
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 1);
  EXPECT_EQ(own_logs().back(), "6 utils: get_Mox_IPv6: openMP() failed\n");
  EXPECT_STREQ(address_.data(), "untouched");
}

TEST_F(NetworkAddressTest, AFailedExchangeTouchesNothing) {
  expect_failed_write(kIpv4Request);
  EXPECT_EQ(get_Mox_IPv4(address_.data()), -1);
  expect_failed_write(kIpv6Request);
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), -1);
  EXPECT_STREQ(address_.data(), "untouched");
  EXPECT_EQ(ipv6_enabled_, -1);
  EXPECT_EQ(ipv4_enabled_, -1);
}

TEST_F(NetworkAddressTest, Ipv6TextHasTwoColonsAfterZeroGroups) {
  const Groups groups = {0xFE80, 0, 0, 0, 0x1122, 0x33FF, 0xFE44, 0x5566};
  expect_query(kIpv6Request, ipv6_response(3, {{groups, 0}}));
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 0);
  EXPECT_STREQ(address_.data(), "fe80::1122:33ff:fe44:5566");
  EXPECT_EQ(ipv6_enabled_, 1);
  EXPECT_EQ(ipv4_enabled_, 1);
  EXPECT_EQ(own_logs(), Lines({"6 utils: get_Mox_IPv6(): ipv6Options is [0x3], ipv6enabled is [1], "
                               "ipv4enabled is [1]\n",
                               "6 utils: get_Mox_IPv6(): ipv6addr[0] state is [0]\n",
                               "6 utils: get_Mox_IPv6(): ipv6addr[0] address is "
                               "[fe80::1122:33ff:fe44:5566]\n"}));
}

TEST_F(NetworkAddressTest, Ipv6TextLeavesOutGroupsWithAZeroByte) {
  const std::vector<std::pair<Groups, std::string>> cases = {
      {{0x2001, 0x0DB8, 0, 0, 0, 0, 0, 0x0001}, "2001:0db8"},
      {{0x2000, 0x1234, 0, 0, 0, 0, 0, 0}, ":1234"},
      {{0, 0x1234, 0x0001, 0x5678, 0x9A00, 0xBCDE, 0, 0xF0F0}, "::1234:5678:bcde::f0f0"},
      {{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF},
       "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
      {{}, ""},
  };
  for (const auto& [groups, text] : cases) {
    expect_query(kIpv6Request, ipv6_response(1, {{groups, 0}}));
    EXPECT_EQ(get_Mox_IPv6(address_.data(), nullptr, nullptr), 0);
    EXPECT_EQ(std::string(address_.data()), text);
  }
}

TEST_F(NetworkAddressTest, Ipv6TakesTheFirstEntryWithStateZero) {
  std::vector<Entry> entries(12);
  entries[10] = {{0x1111, 0x2222, 0, 0, 0, 0, 0, 0}, 0};
  entries[11] = {{0x3333, 0x4444, 0, 0, 0, 0, 0, 0}, 0};
  expect_query(kIpv6Request, ipv6_response(1, entries));
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 0);
  EXPECT_STREQ(address_.data(), "1111:2222");
  EXPECT_EQ(ipv4_enabled_, 0);
  EXPECT_EQ(own_logs()[1], "6 utils: get_Mox_IPv6(): ipv6addr[10] state is [0]\n");

  entries[10].state = 0xFF;
  expect_query(kIpv6Request, ipv6_response(1, entries));
  EXPECT_EQ(get_Mox_IPv6(address_.data(), nullptr, nullptr), 0);
  EXPECT_STREQ(address_.data(), "3333:4444");
}

TEST_F(NetworkAddressTest, Ipv6IsEmptyWhenItIsOffOrNoEntryIsUsable) {
  const Entry usable = {{0x1111, 0x2222, 0, 0, 0, 0, 0, 0}, 0};
  expect_query(kIpv6Request, ipv6_response(2, {usable}));
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 0);
  EXPECT_STREQ(address_.data(), "");
  EXPECT_EQ(ipv6_enabled_, 0);
  EXPECT_EQ(ipv4_enabled_, 1);

  address_ = {"untouched"};
  expect_query(kIpv6Request, ipv6_response(1, {}));
  EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 0);
  EXPECT_STREQ(address_.data(), "");
}

TEST_F(NetworkAddressTest, Ipv6ErrorOfTheBmcSetsNothing) {
  for (size_t byte = 8; byte < 12; ++byte) {
    Bytes response = ipv6_response(3, {{{0x1111}, 0}});
    response[byte] = 1;
    expect_query(kIpv6Request, response);
    EXPECT_EQ(get_Mox_IPv6(address_.data(), &ipv6_enabled_, &ipv4_enabled_), 0);
  }
  EXPECT_STREQ(address_.data(), "untouched");
  EXPECT_EQ(ipv6_enabled_, -1);
  EXPECT_EQ(ipv4_enabled_, -1);
  EXPECT_TRUE(own_logs().empty());
}

TEST_F(NetworkAddressTest, Ipv6OfAShortAnswerEndsWithIt) {
  Bytes response = ipv6_response(1, {{{0x1111, 0x2222, 0x3333, 0, 0, 0, 0, 0}, 0}});
  response.resize(23);
  expect_query(kIpv6Request, response);
  EXPECT_EQ(get_Mox_IPv6(address_.data(), nullptr, nullptr), 0);
  EXPECT_STREQ(address_.data(), "1111");
}

TEST_F(NetworkAddressTest, Ipv6NeedsNoDestination) {
  expect_query(kIpv6Request, ipv6_response(1, {{{0x1111}, 0}}));
  EXPECT_EQ(get_Mox_IPv6(nullptr, nullptr, nullptr), 0);
}

}  // namespace
