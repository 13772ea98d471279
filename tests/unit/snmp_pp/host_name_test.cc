// SPDX-License-Identifier: Apache-2.0
// Texts that need the resolver, with canned answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "network_calls.h"
#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(HostName, ResolvesToItsFirstAddress) {
  NetworkCalls calls;
  calls.names = {{"receiver.example", {"192.0.2.1", "192.0.2.2"}}};
  EXPECT_STREQ(IpAddress("receiver.example").get_printable(), "192.0.2.1");
  EXPECT_THAT(calls.look_ups, ElementsAre("receiver.example"));
}

TEST(HostName, IsLookedUpOnceByAGenAddressWithoutAPort) {
  NetworkCalls calls;
  calls.names = {{"localhost", {"127.0.0.1"}}};
  const GenAddress address("localhost");
  EXPECT_EQ(address.get_type(), Address::type_ip);
  EXPECT_STREQ(address.get_printable(), "127.0.0.1");
  EXPECT_THAT(calls.look_ups, ElementsAre("localhost"));
}

TEST(HostName, IsLookedUpOnceByAGenAddressWithAPort) {
  NetworkCalls calls;
  calls.names = {{"localhost", {"127.0.0.1"}}};
  EXPECT_STREQ(GenAddress("localhost:1162").get_printable(), "127.0.0.1/1162");
  EXPECT_STREQ(GenAddress(" localhost/1162 ").get_printable(), "127.0.0.1/1162");
  EXPECT_THAT(calls.look_ups, ElementsAre("localhost", "localhost"));
}

TEST(HostName, CostsOneLookUpWhenItDoesNotResolve) {
  NetworkCalls calls;
  EXPECT_FALSE(GenAddress("garbage").valid());
  EXPECT_FALSE(GenAddress("garbage:162").valid());
  EXPECT_FALSE(IpAddress("garbage").valid());
  EXPECT_THAT(calls.look_ups, ElementsAre("garbage", "garbage", "garbage"));
}

// A transport's name in front of an address is read as a host with a port.
TEST(HostName, TextsThatOnlyLookLikeAnAddressAreNames) {
  NetworkCalls calls;
  EXPECT_FALSE(GenAddress("udp:127.0.0.1").valid());
  EXPECT_FALSE(GenAddress("-1.2.3.4").valid());
  EXPECT_FALSE(IpAddress("1.2.3.-4").valid());
  EXPECT_THAT(calls.look_ups, ElementsAre("udp", "-1.2.3.4", "1.2.3.-4"));
}

TEST(HostName, WithPortZeroIsNotLookedUp) {
  NetworkCalls calls;
  EXPECT_FALSE(GenAddress("localhost:0").valid());
  EXPECT_FALSE(GenAddress("localhost:").valid());
  EXPECT_THAT(calls.look_ups, IsEmpty());
}

TEST(HostName, ThatResolvesToNothingIsInvalid) {
  NetworkCalls calls;
  calls.names = {{"empty.example", {}}};
  EXPECT_FALSE(IpAddress("empty.example").valid());
}

TEST(LocalHost, IsTheAgentAddressOfAPduWithoutOne) {
  NetworkCalls calls;
  calls.swallow = true;
  calls.names = {{"the-host", {"192.0.2.9"}}};
  Pdu pdu;
  pdu.set_notify_id(Oid("1.3.6.1.4.1.99.0.7"));
  pdu.set_notify_timestamp(TimeTicks(12345));
  EXPECT_EQ(send_trap(pdu, target_of("127.0.0.1")), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(calls.sent), to_hex(message_of({.agent = from_hex("4004c0000209")})));
  EXPECT_THAT(calls.look_ups, ElementsAre("the-host"));
}

TEST(LocalHost, IsLookedUpForEveryTrap) {
  NetworkCalls calls;
  calls.swallow = true;
  calls.names = {{"the-host", {"192.0.2.9"}}};
  Pdu pdu = sample_pdu();
  pdu.set_v1_trap_address(IpAddress());
  CTarget target = target_of("127.0.0.1");
  int status = 0;
  Snmp session(status);
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(calls.sent), to_hex(message_of({.agent = from_hex("4004c0000209")})));
  calls.names = {{"the-host", {"192.0.2.8"}}};
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(calls.sent), to_hex(message_of({.agent = from_hex("4004c0000208")})));
  EXPECT_THAT(calls.look_ups, ElementsAre("the-host", "the-host"));
}

TEST(LocalHost, ThatDoesNotResolveIsSentAsAllOnes) {
  NetworkCalls calls;
  calls.swallow = true;
  Pdu pdu = sample_pdu();
  EXPECT_FALSE(pdu.set_v1_trap_address(IpAddress()));
  EXPECT_EQ(send_trap(pdu, target_of("127.0.0.1")), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(calls.sent), to_hex(message_of({.agent = from_hex("4004ffffffff")})));
  EXPECT_THAT(calls.look_ups, ElementsAre("the-host"));
}

TEST(LocalHost, WithoutANameIsSentAsAllOnes) {
  NetworkCalls calls;
  calls.swallow = true;
  calls.host_name = "";
  Pdu pdu = sample_pdu();
  pdu.set_v1_trap_address(IpAddress());
  EXPECT_EQ(send_trap(pdu, target_of("127.0.0.1")), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(calls.sent), to_hex(message_of({.agent = from_hex("4004ffffffff")})));
  EXPECT_THAT(calls.look_ups, IsEmpty());
}

}  // namespace
}  // namespace Snmp_pp
