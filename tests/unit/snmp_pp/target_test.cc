// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/snmp_pp.h>

#include <array>
#include <memory>

namespace Snmp_pp {
namespace {

TEST(CTarget, StartsInvalidWithTheDefaults) {
  const CTarget target;
  EXPECT_FALSE(target.valid());
  OctetStr community;
  target.get_readcommunity(community);
  EXPECT_EQ(community, OctetStr("public"));
  EXPECT_EQ(target.get_version(), version1);
  EXPECT_EQ(target.get_timeout(), 100U);
  EXPECT_EQ(target.get_retry(), 1);
  GenAddress address("10.0.0.5");
  EXPECT_FALSE(target.get_address(address));
  EXPECT_FALSE(address.valid());
}

TEST(CTarget, IsValidExactlyWhenItsAddressIs) {
  CTarget target;
  EXPECT_TRUE(target.set_address(GenAddress("10.0.0.5:162")));
  EXPECT_TRUE(target.valid());
  EXPECT_FALSE(target.set_address(GenAddress("junk:")));
  EXPECT_FALSE(target.valid());
  EXPECT_TRUE(target.set_address(IpAddress("10.0.0.6")));
  EXPECT_FALSE(target.set_address(IpAddress()));
  GenAddress address;
  EXPECT_FALSE(target.get_address(address)) << "an older address remained";
}

TEST(CTarget, KeepsACopyOfTheAddress) {
  CTarget target;
  GenAddress address("10.0.0.5:162");
  target.set_address(address);
  address = GenAddress();
  GenAddress kept;
  EXPECT_TRUE(target.get_address(kept));
  EXPECT_STREQ(kept.get_printable(), "10.0.0.5/162");
}

TEST(CTarget, TakesAnyCommunity) {
  CTarget target;
  target.set_readcommunity("");
  EXPECT_EQ(target.trap_community().len(), 0U);
  target.set_readcommunity(static_cast<const char*>(nullptr));
  EXPECT_EQ(target.trap_community().len(), 0U);
  const std::array<unsigned char, 3> octets = {0, 255, 0};
  target.set_readcommunity(OctetStr(octets.data(), octets.size()));
  EXPECT_EQ(target.trap_community(), OctetStr(octets.data(), octets.size()));
}

TEST(CTarget, CopiesAreDeepAndCarryEverything) {
  CTarget original;
  original.set_address(GenAddress("10.0.0.5:162"));
  original.set_readcommunity("secret");
  original.set_version(version1);
  const CTarget copy(original);
  CTarget assigned;
  assigned = original;
  const std::unique_ptr<SnmpTarget> clone(original.clone());
  original.set_address(IpAddress());
  original.set_readcommunity("other");
  for (const SnmpTarget* target : std::array<const SnmpTarget*, 3>{&copy, &assigned, clone.get()}) {
    GenAddress address;
    EXPECT_TRUE(target->valid());
    EXPECT_TRUE(target->get_address(address));
    EXPECT_STREQ(address.get_printable(), "10.0.0.5/162");
    EXPECT_EQ(target->trap_community(), OctetStr("secret"));
    EXPECT_EQ(target->get_version(), version1);
  }
}

}  // namespace
}  // namespace Snmp_pp
