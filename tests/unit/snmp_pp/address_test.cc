// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/address.h>
#include <snmp_pp/octet.h>
#include <snmp_pp/oid.h>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "network_calls.h"

namespace Snmp_pp {
namespace {

using TextAndResult = std::pair<const char*, const char*>;

// Every text of this file is decided without the resolver.
class NumericAddress : public testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(calls_.look_ups.empty()) << calls_.look_ups.front(); }

  NetworkCalls calls_;
};

TEST_F(NumericAddress, DottedQuadsAreDecimal) {
  for (const auto& [text, expected] : std::vector<TextAndResult>{
           {"127.0.0.1", "127.0.0.1"},
           {"0.0.0.0", "0.0.0.0"},
           {"255.255.255.255", "255.255.255.255"},
           {"127.000.000.001", "127.0.0.1"},
           {"010.011.08.09", "10.11.8.9"},
       }) {
    const IpAddress address(text);
    EXPECT_TRUE(address.valid()) << text;
    EXPECT_EQ(address.get_type(), Address::type_ip) << text;
    EXPECT_STREQ(address.get_printable(), expected) << text;
  }
}

TEST_F(NumericAddress, BlanksBeforeAQuadAreSkippedAndOneAfterItEndsIt) {
  for (const char* text : {" 10.0.0.5", "10.0.0.5 ", "    10.0.0.5    ", "10.0.0.5 foo",
                           "10.0.0.5                     "}) {
    EXPECT_STREQ(IpAddress(text).get_printable(), "10.0.0.5") << "'" << text << "'";
  }
}

TEST_F(NumericAddress, ATextOf30CharactersIsNoPaddedQuad) {
  const std::string padded = "10.0.0.5" + std::string(21, ' ');
  EXPECT_TRUE(IpAddress(padded.c_str()).valid());
  EXPECT_FALSE(IpAddress((padded + " ").c_str()).valid());
}

TEST_F(NumericAddress, OnlyTheSpaceIsABlank) {
  for (const char* text : {"\t10.0.0.5", "10.0.0.5\t", "10.0.0.5\n", "\r10.0.0.5"}) {
    EXPECT_FALSE(IpAddress(text).valid());
  }
}

TEST_F(NumericAddress, NumbersAndDotsFormsAreThoseOfInetAton) {
  for (const auto& [text, expected] : std::vector<TextAndResult>{
           {"10.0.0", "10.0.0.0"},
           {"10.1.2", "10.1.0.2"},
           {"10.5", "10.0.0.5"},
           {"10", "0.0.0.10"},
           {"127.1", "127.0.0.1"},
           {"127.0.1", "127.0.0.1"},
           {"2130706433", "127.0.0.1"},
           {"0127.0.0.1", "87.0.0.1"},
           {"10.1.256", "10.1.1.0"},
       }) {
    EXPECT_STREQ(IpAddress(text).get_printable(), expected) << text;
  }
}

TEST_F(NumericAddress, TextsThatAreNoAddressAreInvalid) {
  for (const char* text : {"",
                           " ",
                           "     ",
                           ".",
                           "256.1.1.1",
                           "1.2.3.4.5",
                           "1.2.3.4.5.6",
                           "127.0.0.1.",
                           ".127.0.0.1",
                           "127..0.1",
                           "10.1.2.256",
                           "10.1.65536",
                           "4294967296",
                           "0999.0.0.1",
                           "1.2.3.4444",
                           " 10.5",
                           "10.5 ",
                           "udp:127.0.0.1",
                           "127.0.0.1@162",
                           "::1",
                           "fe80::1%eth0",
                           "[::1]",
                           "+1.2.3.4",
                           "127.0.0.1:162",
                           "*",
                           "host name",
                           " localhost",
                           "localhost ",
                           "caf\xC3\xA9"}) {
    const IpAddress address(text);
    EXPECT_FALSE(address.valid()) << "'" << text << "'";
    EXPECT_EQ(address.get_type(), Address::type_invalid) << text;
    EXPECT_STREQ(address.get_printable(), "") << text;
    EXPECT_EQ(address[0], 0) << text;
  }
  EXPECT_FALSE(IpAddress(static_cast<const char*>(nullptr)).valid());
  EXPECT_FALSE(IpAddress().valid());
}

TEST_F(NumericAddress, OctetsAreInNetworkOrder) {
  const IpAddress address("192.0.2.33");
  EXPECT_EQ(address[0], 192);
  EXPECT_EQ(address[1], 0);
  EXPECT_EQ(address[2], 2);
  EXPECT_EQ(address[3], 33);
  EXPECT_EQ(address[4], 0);
  EXPECT_EQ(address[-1], 0);
  EXPECT_EQ(address.get_syntax(), 0x40U);
}

TEST_F(NumericAddress, FourOctetsMakeAnAddressAndNoOtherNumberDoes) {
  IpAddress address;
  address = OctetStr("abcd");
  EXPECT_STREQ(address.get_printable(), "97.98.99.100");
  address = OctetStr("abc");
  EXPECT_FALSE(address.valid());
  address = OctetStr("abcd");
  address = OctetStr("abcde");
  EXPECT_FALSE(address.valid());
  address = OctetStr("abcd");
  address = Oid("1.2.3.4");
  EXPECT_FALSE(address.valid());
}

TEST_F(NumericAddress, GenAddressTakesAPlainAddressWithoutAPort) {
  for (const char* text : {"127.0.0.1", " 127.0.0.1", "127.0.0.1 ", "127.0.0.1 foo",
                           "127.0.0.1 :162", "127.1", "2130706433", "127.0.1"}) {
    const GenAddress address(text);
    EXPECT_EQ(address.get_type(), Address::type_ip) << text;
    EXPECT_STREQ(address.get_printable(), "127.0.0.1") << text;
  }
}

TEST_F(NumericAddress, GenAddressTakesAPortAfterAColonOrASlash) {
  for (const auto& [text, expected] : std::vector<TextAndResult>{
           {"127.0.0.1:1162", "127.0.0.1/1162"},
           {"127.0.0.1/1162", "127.0.0.1/1162"},
           {" 127.0.0.1:1162", "127.0.0.1/1162"},
           {"127.0.0.1:1162 x", "127.0.0.1/1162"},
           {"[127.0.0.1]:1162", "127.0.0.1/1162"},
           {"[127.0.0.1]/1162", "127.0.0.1/1162"},
           {"127.0.0.1:99999", "127.0.0.1/34463"},
           {"127.0.0.1:65537", "127.0.0.1/1"},
           {"127.0.0.1:-1", "127.0.0.1/65535"},
           {"127.0.0.1:162abc", "127.0.0.1/162"},
           {"127.1:162", "127.0.0.1/162"},
       }) {
    const GenAddress address(text);
    EXPECT_TRUE(address.valid()) << text;
    EXPECT_EQ(address.get_type(), Address::type_udp) << text;
    EXPECT_STREQ(address.get_printable(), expected) << text;
  }
}

TEST_F(NumericAddress, GenAddressRefusesEverythingElse) {
  for (const char* text : {"",
                           "   ",
                           "256.1.1.1",
                           "1.2.3.4.5",
                           "127.0.0.1.",
                           "127..0.1",
                           "127.0.0.1@162",
                           "127.0.0.1:0",
                           "127.0.0.1/0",
                           "127.0.0.1:",
                           "127.0.0.1/",
                           "127.0.0.1:65536",
                           "127.0.0.1:x",
                           "::1",
                           "[::1]:162",
                           "[::1]/162",
                           "[::1]",
                           "[127.0.0.1]",
                           "[127.0.0.1]:0",
                           "127.0.0.1:1:2",
                           "127.0.0.1:1/2",
                           "127.0.0.1/1:x",
                           ":162",
                           "/162",
                           "[]:162",
                           "[:162",
                           ":",
                           "/"}) {
    const GenAddress address(text);
    EXPECT_FALSE(address.valid()) << text;
    EXPECT_EQ(address.get_type(), Address::type_invalid) << text;
  }
  EXPECT_FALSE(GenAddress(static_cast<const char*>(nullptr)).valid());
  EXPECT_FALSE(GenAddress().valid());
}

TEST_F(NumericAddress, ATextOf80CharactersHasNoPort) {
  const std::string padding(79 - 13, ' ');
  EXPECT_TRUE(GenAddress(("127.0.0.1:162" + padding).c_str()).valid());
  EXPECT_FALSE(GenAddress(("127.0.0.1:162" + padding + " ").c_str()).valid());
}

TEST_F(NumericAddress, UdpAddressHasAPortOrZero) {
  EXPECT_EQ(UdpAddress("127.0.0.1:1162").get_port(), 1162);
  const UdpAddress without_port("127.0.0.1");
  EXPECT_TRUE(without_port.valid());
  EXPECT_EQ(without_port.get_type(), Address::type_udp);
  EXPECT_EQ(without_port.get_port(), 0);
  EXPECT_FALSE(UdpAddress("::1").valid());
  EXPECT_FALSE(UdpAddress(static_cast<const char*>(nullptr)).valid());
  EXPECT_FALSE(UdpAddress().valid());
  UdpAddress changed("127.0.0.1:1");
  changed.set_port(2);
  EXPECT_STREQ(changed.get_printable(), "127.0.0.1/2");
}

TEST_F(NumericAddress, AnIpAddressIsTheAddressPartOfAnyAddress) {
  EXPECT_EQ(IpAddress(GenAddress("10.0.0.5:162")), IpAddress("10.0.0.5"));
  EXPECT_EQ(IpAddress(GenAddress("10.0.0.5")), IpAddress("10.0.0.5"));
  EXPECT_FALSE(IpAddress(GenAddress("junk:")).valid());
  IpAddress address;
  address = GenAddress("10.0.0.6:162");
  EXPECT_STREQ(address.get_printable(), "10.0.0.6");
  EXPECT_FALSE(IpAddress("0.0.0.0") == IpAddress());
  EXPECT_FALSE(IpAddress("10.0.0.5") == IpAddress("10.0.0.6"));
}

TEST_F(NumericAddress, AGenAddressKeepsKindAndPortOfItsSource) {
  EXPECT_STREQ(GenAddress(UdpAddress("10.0.0.5:162")).get_printable(), "10.0.0.5/162");
  EXPECT_EQ(GenAddress(IpAddress("10.0.0.5")).get_type(), Address::type_ip);
  EXPECT_EQ(GenAddress(IpAddress()).get_type(), Address::type_invalid);
  GenAddress address;
  const UdpAddress udp("10.0.0.5:162");
  const SnmpSyntax& value = udp;
  address = value;
  EXPECT_STREQ(address.get_printable(), "10.0.0.5/162");
  address = OctetStr("abcd");
  EXPECT_EQ(address.get_type(), Address::type_ip);
  EXPECT_STREQ(address.get_printable(), "97.98.99.100");
  address = OctetStr("");
  EXPECT_EQ(address.get_type(), Address::type_invalid);
  UdpAddress from_value;
  from_value = value;
  EXPECT_EQ(from_value.get_port(), 162);
  EXPECT_EQ(UdpAddress(GenAddress("10.0.0.5:99")).get_port(), 99);
}

TEST_F(NumericAddress, CopiesAreDeep) {
  IpAddress ip("10.0.0.1");
  UdpAddress udp("10.0.0.2:2");
  GenAddress generic("10.0.0.3:3");
  const IpAddress ip_copy(ip);
  const UdpAddress udp_copy(udp);
  const GenAddress generic_copy(generic);
  const std::unique_ptr<SnmpSyntax> ip_clone(ip.clone());
  const std::unique_ptr<SnmpSyntax> udp_clone(udp.clone());
  const std::unique_ptr<SnmpSyntax> generic_clone(generic.clone());
  ip = IpAddress();
  udp = UdpAddress();
  generic = GenAddress();
  EXPECT_FALSE(ip.valid() || udp.valid() || generic.valid());
  EXPECT_STREQ(ip_copy.get_printable(), "10.0.0.1");
  EXPECT_STREQ(udp_copy.get_printable(), "10.0.0.2/2");
  EXPECT_STREQ(generic_copy.get_printable(), "10.0.0.3/3");
  EXPECT_STREQ(ip_clone->get_printable(), "10.0.0.1");
  EXPECT_STREQ(udp_clone->get_printable(), "10.0.0.2/2");
  EXPECT_STREQ(generic_clone->get_printable(), "10.0.0.3/3");
}

}  // namespace
}  // namespace Snmp_pp
