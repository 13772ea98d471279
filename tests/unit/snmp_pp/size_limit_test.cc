// SPDX-License-Identifier: Apache-2.0
// The limits: 25 bindings, 128 arcs, 4096 octets.
#include <gtest/gtest.h>

#include <string>

#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

// 1.3 followed by count - 2 arcs of 1.
Oid oid_of(size_t count) {
  Oid oid("1.3");
  while (oid.len() < count) {
    oid += 1UL;
  }
  return oid;
}

Bytes encoded_oid(size_t count) {
  return tlv(0x06, from_hex("2b") + Bytes(count - 2, 0x01));
}

// A Pdu whose only binding is a string of that many octets, and its datagram.
Pdu pdu_with_string(size_t length) {
  Pdu pdu = sample_pdu();
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  const Bytes octets(length, 0x61);
  vb.set_value(OctetStr(octets.data(), octets.size()));
  pdu += vb;
  return pdu;
}

Bytes message_with_string(size_t length) {
  const Bytes binding = from_hex("06072b060104016301") + tlv(0x04, Bytes(length, 0x61));
  return message_of({.bindings = tlv(0x30, binding)});
}

TEST(BindingLimit, ThirtyBindingsLeaveAs25) {
  Pdu pdu = sample_pdu();
  Bytes bindings;
  for (int number = 0; number < 30; ++number) {
    Vb vb(Oid("1.3.6.1.4.1.99.1"));
    vb.set_value(number);
    pdu += vb;
    if (number < 25) {
      const Bytes value = {0x02, 0x01, static_cast<unsigned char>(number)};
      bindings = bindings + tlv(0x30, from_hex("06072b060104016301") + value);
    }
  }
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({.bindings = bindings})));
}

TEST(BindingLimit, InvalidBindingsAreLeftOut) {
  Pdu pdu = sample_pdu();
  Vb bad_name(Oid("junk"));
  bad_name.set_value(1);
  Vb bad_value(Oid("1.3.6.1.4.1.99.1"));
  bad_value.set_value(Oid("junk"));
  Vb good(Oid("1.3.6.1.4.1.99.1"));
  good.set_value(2);
  pdu += bad_name;
  pdu += good;
  pdu += bad_value;
  EXPECT_EQ(to_hex(datagram_of(pdu)),
            to_hex(message_of({.bindings = tlv(0x30, from_hex("06072b060104016301020102"))})));
}

TEST(ArcLimit, NamesAndValuesAreCutTo128Arcs) {
  for (const size_t count : {127U, 128U, 129U, 300U}) {
    Pdu pdu = sample_pdu();
    Vb vb(oid_of(count));
    vb.set_value(oid_of(count));
    pdu += vb;
    const size_t kept = count < 128 ? count : 128;
    EXPECT_EQ(to_hex(datagram_of(pdu)),
              to_hex(message_of({.bindings = tlv(0x30, encoded_oid(kept) + encoded_oid(kept))})))
        << count;
  }
}

TEST(ArcLimit, TheEnterpriseIsCutTo128Arcs) {
  for (const size_t count : {128U, 129U, 130U, 300U}) {
    Pdu pdu = sample_pdu();
    pdu.set_notify_id(oid_of(count));
    const size_t kept = count - 1 < 128 ? count - 1 : 128;
    EXPECT_EQ(to_hex(datagram_of(pdu)),
              to_hex(message_of({.enterprise = encoded_oid(kept), .specific = from_hex("020101")})))
        << count;
  }
}

TEST(MessageLimit, EveryLengthUpTo4096OctetsIsSent) {
  const size_t longest = 4096 - (message_with_string(4000).size() - 4000);
  for (const size_t length : {longest - 2100, longest - 1, longest}) {
    const Bytes datagram = datagram_of(pdu_with_string(length));
    EXPECT_EQ(datagram.size(), 4096 - (longest - length));
    EXPECT_EQ(to_hex(datagram), to_hex(message_with_string(length)));
  }
}

TEST(MessageLimit, OneOctetMoreIsTooBig) {
  const TrapReceiver receiver;
  const CTarget target = target_of(receiver.destination());
  const size_t longest = 4096 - (message_with_string(4000).size() - 4000);
  ASSERT_EQ(message_with_string(longest + 1).size(), 4097U);
  EXPECT_EQ(send_trap(pdu_with_string(longest + 1), target), SNMP_ERROR_TOO_BIG);
  EXPECT_TRUE(receiver.empty());
}

TEST(MessageLimit, StringsLongerThanAnyMessageAreTooBig) {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  for (const size_t length : {4097U, 65535U, 65536U, 10'000'000U}) {
    EXPECT_EQ(send_trap(pdu_with_string(length), target), SNMP_ERROR_TOO_BIG) << length;
  }
  target.set_readcommunity(std::string(100'000, 'c').c_str());
  EXPECT_EQ(send_trap(sample_pdu(), target), SNMP_ERROR_TOO_BIG);
  EXPECT_TRUE(receiver.empty());
}

TEST(MessageLimit, ManyBindingsTogetherAreTooBig) {
  const TrapReceiver receiver;
  Pdu pdu = sample_pdu();
  for (int number = 0; number < 25; ++number) {
    Vb vb(oid_of(128));
    vb.set_value(oid_of(128));
    pdu += vb;
  }
  EXPECT_EQ(send_trap(pdu, target_of(receiver.destination())), SNMP_ERROR_TOO_BIG);
  EXPECT_TRUE(receiver.empty());
}

}  // namespace
}  // namespace Snmp_pp
