// SPDX-License-Identifier: Apache-2.0
#include "ortinv/entity_mib.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "ortinv/network_address.h"
#include "tests/unit/hostinfo/debug_log.h"
#include "tests/unit/hostinfo/fresh_process.h"

namespace {

constexpr const char* kFile = "/etc/config/ent_mib/ort.xml";
constexpr const char* kStart = "6 entity:  update_ent_mib_xml...";

// What stands in for the BMC and the clock.
struct Bmc {
  int ipv4_result = 0;
  std::string ipv4 = "192.0.2.10";
  int ipv6_result = 0;
  std::string ipv6 = "fe80::1122:33ff:fe44:5566";
  Lines queries;
};
Bmc g_bmc;
time_t g_now = 1'700'000'000;

std::string registration(const std::string& address) {
  return "<vmw_ent_mib version=\"1.0\">\n"
         "<logical>\n"
         "<Descr>BMC SNMP Management Agent</Descr>\n"
         "<Type>1.3.6.1.2.1</Type>\n"
         "<Community>public</Community>\n"
         "<TAddress>" +
         address +
         "</TAddress>\n"
         "<TDomain>1.3.6.1.2.1.100.1.1</TDomain>\n"
         "<ContextEngineID>None</ContextEngineID>\n"
         "<ContextName>None</ContextName>\n"
         "</logical>\n"
         "</vmw_ent_mib>\n";
}

// Runs one update that is to write the file, and returns what it wrote.
std::string written_file() {
  DebuggedScript script;
  script.fopen(kFile, "w+");
  EXPECT_EQ(update_ent_mib_xml(), 0);
  EXPECT_EQ(script.logs(), Lines({kStart}));
  return script.written_to(kFile);
}

// Runs one update that is to touch no file, and returns its result.
int update_without_file() {
  const DebuggedScript script;
  return update_ent_mib_xml();
}

TEST(EntityMibTest, RegistersTheIpv4Address) {
  in_fresh_process([] {
    EXPECT_EQ(written_file(), registration("192.0.2.10"));
    EXPECT_EQ(g_bmc.queries, Lines({"ipv6", "ipv4"}));
  });
}

TEST(EntityMibTest, RegistersTheIpv6TextWhereThereIsNoIpv4Address) {
  in_fresh_process([] {
    g_bmc.ipv4 = "0.0.0.0";
    EXPECT_EQ(written_file(), registration("fe80::1122:33ff:fe44:5566"));
  });
}

TEST(EntityMibTest, TakesAnIpv4TextThatContainsTheUnsetOneForUnset) {
  in_fresh_process([] {
    g_bmc.ipv4 = "10.0.0.0";
    EXPECT_EQ(written_file(), registration("fe80::1122:33ff:fe44:5566"));
  });
}

TEST(EntityMibTest, RegistersAnEmptyTextWhereTheBmcHasNoAddressAtAll) {
  in_fresh_process([] {
    g_bmc.ipv4 = "0.0.0.0";
    g_bmc.ipv6 = "";
    EXPECT_EQ(written_file(), registration(""));
  });
}

TEST(EntityMibTest, DoesNotNeedTheIpv6QueryWhereThereIsAnIpv4Address) {
  in_fresh_process([] {
    g_bmc.ipv6_result = 1;
    EXPECT_EQ(written_file(), registration("192.0.2.10"));
  });
}

TEST(EntityMibTest, WritesNothingWithoutAnyAddress) {
  in_fresh_process([] {
    g_bmc.ipv4 = "0.0.0.0";
    g_bmc.ipv6_result = 1;
    EXPECT_EQ(update_without_file(), 0);
  });
}

TEST(EntityMibTest, FailsAndWritesNothingWhenTheIpv4QueryFails) {
  for (const int result : {1, -1}) {
    in_fresh_process([result] {
      g_bmc.ipv4_result = result;
      EXPECT_EQ(update_without_file(), 1);
    });
  }
}

TEST(EntityMibTest, ReportsAFileThatCannotBeCreated) {
  in_fresh_process([] {
    DebuggedScript script;
    script.fopen(kFile, "w+").fails(ENOENT);
    EXPECT_EQ(update_ent_mib_xml(), 1);
    EXPECT_EQ(script.logs(),
              Lines({kStart, "6 Failed to create file /etc/config/ent_mib/ort.xml\n"}));
  });
}

TEST(EntityMibTest, CanBeSentToAnotherFile) {
  in_fresh_process([] {
    EXPECT_EQ(ortinv_set_entity_mib_path("/other.xml"), 0);
    DebuggedScript script;
    script.fopen("/other.xml", "w+");
    EXPECT_EQ(update_ent_mib_xml(), 0);
    EXPECT_EQ(script.written_to("/other.xml"), registration("192.0.2.10"));
  });
}

TEST(EntityMibTest, KeepsItsPathWhenAnotherOneDoesNotFit) {
  EXPECT_STREQ(ortinv_entity_mib_path(), kFile);
  EXPECT_EQ(ortinv_set_entity_mib_path(""), -1);
  EXPECT_EQ(ortinv_set_entity_mib_path(std::string(256, 'p').c_str()), -1);
  EXPECT_STREQ(ortinv_entity_mib_path(), kFile);
  EXPECT_EQ(ortinv_set_entity_mib_path(std::string(255, 'p').c_str()), 0);
  EXPECT_EQ(ortinv_entity_mib_path(), std::string(255, 'p'));
  EXPECT_EQ(ortinv_set_entity_mib_path(nullptr), 0);
  EXPECT_STREQ(ortinv_entity_mib_path(), kFile);
}

TEST(EntityMibTest, AsksTheBmcAgainOnlyAfterHalfAnHour) {
  in_fresh_process([] {
    written_file();
    g_bmc.queries.clear();
    g_now += 1799;
    const DebuggedScript script;
    EXPECT_EQ(update_ent_mib_xml(), 0);
    EXPECT_TRUE(g_bmc.queries.empty());
    EXPECT_TRUE(script.logs().empty());
  });
  in_fresh_process([] {
    written_file();
    g_now += 1800;
    EXPECT_EQ(written_file(), registration("192.0.2.10"));
  });
}

TEST(EntityMibTest, WaitsAsLongAfterAFailure) {
  in_fresh_process([] {
    g_bmc.ipv4_result = 1;
    EXPECT_EQ(update_without_file(), 1);
    g_bmc.ipv4_result = 0;
    g_now += 1799;
    EXPECT_EQ(update_without_file(), 0);
    g_now += 1;
    EXPECT_EQ(written_file(), registration("192.0.2.10"));
  });
}

}  // namespace

extern "C" {
int __wrap_get_Mox_IPv4(char* address);
int __wrap_get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled);
time_t __wrap_time(time_t* result);
}

int __wrap_get_Mox_IPv4(char* address) {
  g_bmc.queries.emplace_back("ipv4");
  EXPECT_STREQ(address, "0.0.0.0");
  if (g_bmc.ipv4_result == 0) {
    strcpy(address, g_bmc.ipv4.c_str());
  }
  return g_bmc.ipv4_result;
}

int __wrap_get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled) {
  g_bmc.queries.emplace_back("ipv6");
  if (g_bmc.ipv6_result == 0) {
    strcpy(address, g_bmc.ipv6.c_str());
    // Not consulted: they must not decide what is registered.
    *ipv6_enabled = 0;
    *ipv4_enabled = 0;
  }
  return g_bmc.ipv6_result;
}

time_t __wrap_time(time_t* /*result*/) {
  return g_now;
}
