// SPDX-License-Identifier: Apache-2.0
// The classes as a program uses them: the umbrella header, and a name space
// that may or may not exist.
#include <gtest/gtest.h>
#include <snmp_pp/snmp_pp.h>

#include <memory>
#include <type_traits>
#include <vector>

namespace Snmp_pp {}
using namespace Snmp_pp;  // NOLINT(google-build-using-namespace): the form under test.

static_assert(SNMP_PP_VERSION * 10000 + SNMP_PP_RELEASE * 100 + SNMP_PP_PATCHLEVEL >= 30000);
static_assert(SNMP_PP_OVER_NET_SNMP == 1);
static_assert(std::is_abstract_v<SnmpSyntax> && std::is_abstract_v<Address> &&
              std::is_abstract_v<SnmpTarget>);
static_assert(!std::is_copy_constructible_v<Snmp>);
static_assert(SNMP_CLASS_SUCCESS == 0 && SNMP_ERROR_TOO_BIG == 1 && SNMP_CLASS_ERROR == -1 &&
              SNMP_CLASS_RESOURCE_UNAVAIL == -2 && SNMP_CLASS_INTERNAL_ERROR == -3 &&
              SNMP_CLASS_UNSUPPORTED == -4 && SNMP_CLASS_INVALID == -10 &&
              SNMP_CLASS_INVALID_PDU == -11 && SNMP_CLASS_INVALID_TARGET == -12 &&
              SNMP_CLASS_INVALID_NOTIFYID == -15 && SNMP_CLASS_INVALID_OID == -17 &&
              SNMP_CLASS_INVALID_ADDRESS == -18 && SNMP_CLASS_TL_UNSUPPORTED == -20 &&
              SNMP_CLASS_TL_IN_USE == -21 && SNMP_CLASS_TL_FAILED == -22 &&
              SNMP_CLASS_TL_ACCESS_DENIED == -23);
static_assert(sNMP_SYNTAX_INT32 == 0x02 && sNMP_SYNTAX_OCTETS == 0x04 && sNMP_SYNTAX_NULL == 0x05 &&
              sNMP_SYNTAX_OID == 0x06 && sNMP_SYNTAX_IPADDR == 0x40 && sNMP_SYNTAX_CNTR32 == 0x41 &&
              sNMP_SYNTAX_GAUGE32 == 0x42 && sNMP_SYNTAX_TIMETICKS == 0x43 &&
              sNMP_SYNTAX_OPAQUE == 0x44);

namespace {

std::vector<std::unique_ptr<SnmpSyntax>> one_of_each() {
  std::vector<std::unique_ptr<SnmpSyntax>> values;
  values.push_back(std::make_unique<Oid>("1.3.6"));
  values.push_back(std::make_unique<OctetStr>("text!"));
  values.push_back(std::make_unique<IpAddress>("10.0.0.5"));
  values.push_back(std::make_unique<UdpAddress>("10.0.0.5:162"));
  values.push_back(std::make_unique<GenAddress>("10.0.0.5:162"));
  values.push_back(std::make_unique<TimeTicks>(5));
  values.push_back(std::make_unique<SnmpInt32>(5));
  values.push_back(std::make_unique<SnmpUInt32>(5));
  return values;
}

TEST(SnmpSyntax, EveryKindTakesItsOwnValue) {
  for (const auto& value : one_of_each()) {
    const std::unique_ptr<SnmpSyntax> copy(value->clone());
    for (const auto& other : one_of_each()) {
      if (other->get_syntax() != copy->get_syntax()) {
        *copy = *other;
      }
    }
    *copy = *value;
    EXPECT_TRUE(copy->valid());
    EXPECT_EQ(copy->get_syntax(), value->get_syntax());
    EXPECT_STREQ(copy->get_printable(), value->get_printable());
  }
}

TEST(SnmpSyntax, AssigningItselfChangesNothing) {
  for (const auto& value : one_of_each()) {
    const std::string before = value->get_printable();
    const SnmpSyntax& same = *value;
    *value = same;
    EXPECT_EQ(value->get_printable(), before);
  }
}

TEST(SnmpSyntax, AForeignKindLeavesNothingOfTheOldValue) {
  const OctetStr text("three");
  const Oid arcs("1.3.6.1");
  const auto values = one_of_each();
  const auto after = [](SnmpSyntax& value, const SnmpSyntax& other) {
    value = other;
    return std::string(value.get_printable()) + (value.valid() ? " valid" : " invalid");
  };
  EXPECT_EQ(after(*values[0], text), " invalid");
  EXPECT_EQ(after(*values[1], arcs), " valid");
  EXPECT_EQ(after(*values[2], text), " invalid");
  EXPECT_EQ(after(*values[3], arcs), " invalid");
  EXPECT_EQ(after(*values[4], arcs), " invalid");
  EXPECT_EQ(after(*values[5], arcs), "0:00:00.00 valid");
  EXPECT_EQ(after(*values[6], arcs), "0 valid");
  EXPECT_EQ(after(*values[7], arcs), "0 valid");
}

TEST(SnmpSyntax, CopiesOfInvalidValuesAreInvalid) {
  for (const auto& value : one_of_each()) {
    if (dynamic_cast<const Address*>(value.get()) == nullptr && value->get_syntax() != 0x06) {
      continue;
    }
    *value = OctetStr("three");
    EXPECT_FALSE(value->valid());
    EXPECT_FALSE(std::unique_ptr<SnmpSyntax>(value->clone())->valid());
    EXPECT_STREQ(value->get_printable(), "");
  }
}

}  // namespace
