// SPDX-License-Identifier: Apache-2.0
// The exact octets of the datagrams.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <utility>

#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

const Bytes kName = from_hex("06072b060104016301");

Vb vb_of(const SnmpSyntax& value) {
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(value);
  return vb;
}

// The datagram of a trap with that binding, and the one expected when the value
// has these octets; both in hexadecimal.
std::string sent(const Vb& vb) {
  Pdu pdu = sample_pdu();
  pdu += vb;
  return to_hex(datagram_of(pdu));
}

std::string sent(const SnmpSyntax& value) {
  return sent(vb_of(value));
}

std::string carrying(std::string_view value) {
  return to_hex(message_of({.bindings = tlv(0x30, kName + from_hex(value))}));
}

TEST(Encoding, AStandardTrapWithAnEnterpriseOfZeros) {
  Pdu pdu = sample_pdu("1.3.6.1.6.3.1.1.5.1");
  pdu.set_notify_enterprise(Oid("0.0"));
  EXPECT_EQ(to_hex(datagram_of(pdu)),
            "302202010004067075626c6963a41506010040040a000005020100020100430230393000");
}

TEST(Encoding, AStandardTrapWithoutAnEnterprise) {
  EXPECT_EQ(to_hex(datagram_of(sample_pdu("1.3.6.1.6.3.1.1.5.1"))),
            "302902010004067075626c6963a41c06082b0601060301010540040a000005"
            "020100020100430230393000");
}

TEST(Encoding, AnEnterpriseTrapWithThreeBindings) {
  Pdu pdu = sample_pdu();
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(SnmpInt32(42));
  pdu += vb;
  vb.set_oid(Oid("1.3.6.1.4.1.99.2"));
  vb.set_value(TimeTicks());
  pdu += vb;
  vb.set_oid(Oid("1.3.6.1.4.1.99.3"));
  vb.set_value(IpAddress("10.0.0"));
  pdu += vb;
  EXPECT_EQ(to_hex(datagram_of(pdu)),
            "305402010004067075626c6963a44706062b060104016340040a00000502010602010743023039302d"
            "300c06072b06010401630102012a"
            "300c06072b060104016302430100"
            "300f06072b06010401630340040a000000");
}

TEST(Encoding, IntegersTakeTheFewestOctets) {
  for (const auto& [value, octets] : std::initializer_list<std::pair<long, const char*>>{
           {0, "020100"},
           {1, "020101"},
           {-1, "0201ff"},
           {127, "02017f"},
           {128, "02020080"},
           {-128, "020180"},
           {-129, "0202ff7f"},
           {255, "020200ff"},
           {256, "02020100"},
           {32767, "02027fff"},
           {32768, "0203008000"},
           {-32768, "02028000"},
           {-32769, "0203ff7fff"},
           {8388607, "02037fffff"},
           {8388608, "020400800000"},
           {-8388609, "0204ff7fffff"},
           {2147483647, "02047fffffff"},
           {-2147483648L, "020480000000"},
           {2147483648L, "020480000000"},
           {4294967295L, "0201ff"},
           {0x100000005L, "020105"},
       }) {
    EXPECT_EQ(sent(SnmpInt32(value)), carrying(octets)) << value;
  }
}

TEST(Encoding, IntAndLongAreIntegersAndUnsignedLongIsAGauge) {
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(-129);
  EXPECT_EQ(sent(vb), carrying("0202ff7f"));
  vb.set_value(4294967295L);
  EXPECT_EQ(sent(vb), carrying("0201ff"));
  vb.set_value(4294967295UL);
  EXPECT_EQ(sent(vb), carrying("420500ffffffff"));
  vb.set_value(ULONG_MAX - 0x7F);
  EXPECT_EQ(sent(vb), carrying("420500ffffff80"));
  vb.set_value(0UL);
  EXPECT_EQ(sent(vb), carrying("420100"));
}

TEST(Encoding, TimeTicksAreUnsigned) {
  for (const auto& [value, octets] : std::initializer_list<std::pair<unsigned long, const char*>>{
           {0, "430100"},
           {127, "43017f"},
           {128, "43020080"},
           {12345, "43023039"},
           {32768, "4303008000"},
           {0x7FFFFFFF, "43047fffffff"},
           {0x80000000, "43050080000000"},
           {4294967295, "430500ffffffff"},
           {0xFFFFFFFF80000000, "43050080000000"},
           {0x100000000, "430100"},
       }) {
    EXPECT_EQ(sent(TimeTicks(value)), carrying(octets)) << value;
    Pdu pdu = sample_pdu();
    pdu.set_notify_timestamp(TimeTicks(value));
    EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({.timestamp = from_hex(octets)})))
        << value;
  }
}

TEST(Encoding, StringsKeepEveryOctet) {
  EXPECT_EQ(sent(OctetStr()), carrying("0400"));
  EXPECT_EQ(sent(OctetStr("abc")), carrying("0403616263"));
  const std::array<unsigned char, 5> octets = {0, 0xFF, 0x80, 0, 0};
  EXPECT_EQ(sent(OctetStr(octets.data(), octets.size())), carrying("040500ff800000"));
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value("text\0more");
  EXPECT_EQ(sent(vb), carrying("040474657874"));
}

TEST(Encoding, LengthsHaveTheShortestForm) {
  for (const auto& [length, header] : std::initializer_list<std::pair<size_t, const char*>>{
           {127, "047f"}, {128, "048180"}, {255, "0481ff"}, {256, "04820100"}, {300, "0482012c"}}) {
    const Bytes octets(length, 0x61);
    EXPECT_EQ(sent(OctetStr(octets.data(), octets.size())), carrying(header + to_hex(octets)));
  }
}

TEST(Encoding, AddressesAreFourOctetsWithoutThePort) {
  EXPECT_EQ(sent(IpAddress("192.0.2.33")), carrying("4004c0000221"));
  EXPECT_EQ(sent(IpAddress("0.0.0.0")), carrying("400400000000"));
  EXPECT_EQ(sent(UdpAddress("192.0.2.33:162")), carrying("4004c0000221"));
  EXPECT_EQ(sent(GenAddress("192.0.2.33:162")), carrying("4004c0000221"));
}

TEST(Encoding, AnAbsentValueIsNull) {
  EXPECT_EQ(sent(Vb(Oid("1.3.6.1.4.1.99.1"))), carrying("0500"));
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(5);
  vb.set_null();
  EXPECT_EQ(sent(vb), carrying("0500"));
}

TEST(Encoding, OidValuesOfEveryForm) {
  for (const auto& [text, octets] : std::initializer_list<std::pair<const char*, const char*>>{
           {"1.3", "06012b"},
           {"0.0", "060100"},
           {"1.0", "060128"},
           {"2.39", "060177"},
           {"1.3.127", "06022b7f"},
           {"1.3.128", "06032b8100"},
           {"1.3.16383", "06032bff7f"},
           {"1.3.16384", "06042b818000"},
           {"1.3.4294967295", "06062b8fffffff7f"},
           {"1.3.2147483648", "06062b8880808000"},
           {"1", "060100"},
           {"7", "060100"},
       }) {
    EXPECT_EQ(sent(Oid(text)), carrying(octets)) << text;
  }
}

TEST(Encoding, TheFirstTwoArcsAreOneNumberWhateverTheirValues) {
  for (const auto& [text, octets] : std::initializer_list<std::pair<const char*, const char*>>{
           {"1.40", "060150"},
           {"1.99.5", "0603810b05"},
           {"0.45", "06012d"},
           {"2.47", "06017f"},
           {"2.48", "06028100"},
           {"2.999.3", "0603883703"},
           {"3.0", "060178"},
           {"9.9", "060282 71"},
           {"0.4294967295", "06058fffffff7f"},
       }) {
    EXPECT_EQ(sent(Oid(text)), carrying(octets)) << text;
  }
}

TEST(Encoding, ANameOfOneArcIsEncodedAsZero) {
  Pdu pdu = sample_pdu();
  Vb vb(Oid("1"));
  vb.set_value(5);
  pdu += vb;
  EXPECT_EQ(to_hex(datagram_of(pdu)),
            to_hex(message_of({.bindings = from_hex("3006060100020105")})));
}

TEST(Encoding, AnyAgentAddressThatWasSetIsSent) {
  for (const auto& [text, octets] : std::initializer_list<std::pair<const char*, const char*>>{
           {"0.0.0.0", "400400000000"},
           {"255.255.255.255", "4004ffffffff"},
           {"192.0.2.33", "4004c0000221"},
       }) {
    Pdu pdu = sample_pdu();
    EXPECT_TRUE(pdu.set_v1_trap_address(UdpAddress(text)));
    EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({.agent = from_hex(octets)})));
  }
}

TEST(Encoding, ACommunityMayBeEmpty) {
  EXPECT_EQ(to_hex(datagram_of(sample_pdu(), "")), to_hex(message_of({.community = {}})));
}

TEST(Encoding, ACommunityMayHoldAnyOctets) {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  const Bytes community = from_hex("00ff250a00");
  target.set_readcommunity(OctetStr(community.data(), community.size()));
  EXPECT_EQ(send_trap(sample_pdu(), target), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(receiver.receive()), to_hex(message_of({.community = community})));
}

TEST(Encoding, ALongCommunityHasALongLengthField) {
  for (const size_t length : {127U, 128U, 129U, 200U, 255U, 256U, 257U, 1000U}) {
    const std::string community(length, 'c');
    EXPECT_EQ(to_hex(datagram_of(sample_pdu(), community.c_str())),
              to_hex(message_of({.community = octets_of(community)})))
        << length;
  }
}

TEST(Encoding, TheSamePduSentTwiceGivesTheSameDatagram) {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  Pdu pdu = sample_pdu();
  pdu.set_notify_timestamp(TimeTicks());
  int status = 0;
  Snmp session(status);
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_SUCCESS);
  const Bytes expected = message_of({.timestamp = from_hex("430100")});
  EXPECT_EQ(to_hex(receiver.receive()), to_hex(expected));
  EXPECT_EQ(to_hex(receiver.receive()), to_hex(expected));
  TimeTicks timestamp(1);
  pdu.get_notify_timestamp(timestamp);
  EXPECT_EQ(timestamp, 0UL);
}

// What is kept of an encoded Pdu must not outlive a change of it.

// Sends with a session of its own and returns the datagram in hexadecimal.
std::string resent(Pdu& pdu, const char* community = "public") {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  target.set_readcommunity(community);
  int status = 0;
  Snmp session(status);
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_SUCCESS);
  return to_hex(receiver.receive());
}

TEST(Encoding, EachReceiverOfAPduGetsItsOwnCommunity) {
  Pdu pdu = sample_pdu();
  for (const std::string& community :
       {std::string("long enough"), std::string("b"), std::string(), std::string(300, 'c')}) {
    EXPECT_EQ(resent(pdu, community.c_str()),
              to_hex(message_of({.community = octets_of(community)})));
  }
}

TEST(Encoding, AChangedPduIsEncodedAnew) {
  Pdu pdu = sample_pdu();
  ExpectedTrap expected;
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  pdu.set_notify_id(Oid("1.3.6.1.4.1.99.0.8"));
  expected.specific = from_hex("020108");
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  pdu.set_notify_timestamp(TimeTicks(1));
  expected.timestamp = from_hex("430101");
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  EXPECT_TRUE(pdu.set_v1_trap_address(IpAddress("192.0.2.33")));
  expected.agent = from_hex("4004c0000221");
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  const Vb vb = vb_of(SnmpInt32(5));
  pdu += vb;
  expected.bindings = tlv(0x30, kName + from_hex("020105"));
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  pdu.set_notify_id(Oid("1.3.6.1.6.3.1.1.5.1"));
  pdu.set_notify_enterprise(Oid("1.3.6.1.4.1.99"));
  expected.generic = from_hex("020100");
  expected.specific = from_hex("020100");
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
  pdu.set_notify_enterprise(Oid("1.3.6.1.4.1.98"));
  expected.enterprise = from_hex("06062b0601040162");
  EXPECT_EQ(resent(pdu), to_hex(message_of(expected)));
}

TEST(Encoding, ACopyOfASentPduIsAPduOfItsOwn) {
  Pdu sent_one = sample_pdu();
  resent(sent_one);
  Pdu copy(sent_one);
  Pdu assigned = sample_pdu("1.3.6.1.4.1.99.0.8");
  resent(assigned);
  assigned = sent_one;
  copy.set_notify_timestamp(TimeTicks(1));
  EXPECT_EQ(resent(copy), to_hex(message_of({.timestamp = from_hex("430101")})));
  EXPECT_EQ(resent(assigned), to_hex(message_of({})));
  EXPECT_EQ(resent(sent_one), to_hex(message_of({})));
}

TEST(Encoding, ATrapThatWasTooBigForOneReceiverFitsAnother) {
  Pdu pdu = sample_pdu();
  CTarget target = target_of("127.0.0.1:9");
  target.set_readcommunity(std::string(4090, 'c').c_str());
  int status = 0;
  Snmp session(status);
  EXPECT_EQ(session.trap(pdu, target), SNMP_ERROR_TOO_BIG);
  EXPECT_EQ(resent(pdu), to_hex(message_of({})));
}

}  // namespace
}  // namespace Snmp_pp
