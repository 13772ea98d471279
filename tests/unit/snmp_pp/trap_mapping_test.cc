// SPDX-License-Identifier: Apache-2.0
// From the notify id to the enterprise, generic-trap and specific-trap of the
// datagram.
#include <gtest/gtest.h>

#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

constexpr const char* kSnmpTraps = "06082b06010603010105";

Bytes trap_with(const char* enterprise, const char* generic, const char* specific) {
  return message_of({.enterprise = from_hex(enterprise),
                     .generic = from_hex(generic),
                     .specific = from_hex(specific)});
}

TEST(TrapMapping, StandardTrapsAreGenericTraps) {
  for (int trap = 1; trap <= 6; ++trap) {
    const std::string id = "1.3.6.1.6.3.1.1.5." + std::to_string(trap);
    ExpectedTrap expected{.enterprise = from_hex(kSnmpTraps), .specific = from_hex("020100")};
    expected.generic = {0x02, 0x01, static_cast<unsigned char>(trap - 1)};
    EXPECT_EQ(to_hex(datagram_of(sample_pdu(id.c_str()))), to_hex(message_of(expected))) << id;
  }
}

TEST(TrapMapping, OtherNotifyIdsAreEnterpriseSpecific) {
  struct Row {
    const char* id;
    const char* enterprise;
    const char* specific;
  };
  for (const Row& row : std::initializer_list<Row>{
           {"1.3.6.1.6.3.1.1.5.7", kSnmpTraps, "020107"},
           {"1.3.6.1.6.3.1.1.5.0", kSnmpTraps, "020100"},
           {"1.3.6.1.6.3.1.1.5", "06072b060106030101", "020105"},
           {"1.3.6.1.6.3.1.1.5.1.0", "06092b0601060301010501", "020100"},
           {"1.3.6.1.4.1.99.0.7", "06062b0601040163", "020107"},
           {"1.3.6.1.4.1.99.7", "06062b0601040163", "020107"},
           {"1.3.6.1.4.1.99.0.0.5", "06072b060104016300", "020105"},
           {"1.3.6.1.4.1.99.0.0", "06062b0601040163", "020100"},
           {"1.3.6.1.4.1.99.0.4294967295", "06062b0601040163", "0201ff"},
           {"1.3.6.1.4.1.99.0.2147483648", "06062b0601040163", "020480000000"},
           {"1.3.6.1.4.1.99.0.2147483647", "06062b0601040163", "02047fffffff"},
           {"1.3.6.1.4", "06032b0601", "020104"},
           {"1.3", "060100", "020103"},
           {"1.0", "060100", "020100"},
           {"0.5", "060100", "020105"},
           {"1.3.6", "06012b", "020106"},
       }) {
    EXPECT_EQ(to_hex(datagram_of(sample_pdu(row.id))),
              to_hex(trap_with(row.enterprise, "020106", row.specific)))
        << row.id;
  }
}

TEST(TrapMapping, NotifyIdsOfFewerThanTwoArcsAreRefused) {
  const TrapReceiver receiver;
  const CTarget target = target_of(receiver.destination());
  for (const char* id : {"1", "", "junk", "."}) {
    EXPECT_EQ(send_trap(sample_pdu(id), target), SNMP_CLASS_INVALID_NOTIFYID) << id;
  }
  EXPECT_TRUE(receiver.empty());
}

TEST(TrapMapping, TheEnterpriseBindingNamesTheEnterpriseOfAStandardTrap) {
  Pdu pdu = sample_pdu("1.3.6.1.6.3.1.1.5.3");
  Vb other(Oid("1.3.6.1.6.3.1.1.4.3"));
  other.set_value(Oid("1.3.6.1.4.1.1"));
  Vb no_oid(Oid("1.3.6.1.6.3.1.1.4.3.0"));
  no_oid.set_value("1.3.6.1.4.1.2");
  Vb enterprise(Oid("1.3.6.1.6.3.1.1.4.3.0"));
  enterprise.set_value(Oid("1.3.6.1.4.1.99"));
  Vb later(Oid("1.3.6.1.6.3.1.1.4.3.0"));
  later.set_value(Oid("1.3.6.1.4.1.3"));
  pdu += other;
  pdu += no_oid;
  pdu += enterprise;
  pdu += later;
  const Bytes name = from_hex("060a2b06010603010104 0300");
  const Bytes bindings = tlv(0x30, from_hex("06092b0601060301010403 06062b0601040101")) +
                         tlv(0x30, name + tlv(0x04, octets_of("1.3.6.1.4.1.2"))) +
                         tlv(0x30, name + from_hex("06062b0601040163")) +
                         tlv(0x30, name + from_hex("06062b0601040103"));
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({.generic = from_hex("020102"),
                                                         .specific = from_hex("020100"),
                                                         .bindings = bindings})));
}

TEST(TrapMapping, ThePdusEnterpriseComesFirstForAStandardTrap) {
  Pdu pdu = sample_pdu("1.3.6.1.6.3.1.1.5.3");
  Vb enterprise(Oid("1.3.6.1.6.3.1.1.4.3.0"));
  enterprise.set_value(Oid("1.3.6.1.4.1.98"));
  pdu += enterprise;
  pdu.set_notify_enterprise(Oid("1.3.6.1.4.1.99"));
  const Bytes bindings = tlv(0x30, from_hex("060a2b06010603010104030006062b0601040162"));
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({.generic = from_hex("020102"),
                                                         .specific = from_hex("020100"),
                                                         .bindings = bindings})));
}

TEST(TrapMapping, AnEmptyEnterpriseCountsAsNotSet) {
  Pdu pdu = sample_pdu("1.3.6.1.6.3.1.1.5.1");
  pdu.set_notify_enterprise(Oid("junk"));
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(trap_with(kSnmpTraps, "020100", "020100")));
}

TEST(TrapMapping, AnEnterpriseOfOneArcIsEncodedAsZero) {
  Pdu pdu = sample_pdu("1.3.6.1.6.3.1.1.5.1");
  pdu.set_notify_enterprise(Oid("1"));
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(trap_with("060100", "020100", "020100")));
}

TEST(TrapMapping, ThePdusEnterpriseHasNoPartInOtherTraps) {
  Pdu pdu = sample_pdu("1.3.6.1.4.1.99.0.7");
  pdu.set_notify_enterprise(Oid("1.3.6.1.4.1.12"));
  EXPECT_EQ(to_hex(datagram_of(pdu)), to_hex(message_of({})));
}

}  // namespace
}  // namespace Snmp_pp
