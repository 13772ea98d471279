// SPDX-License-Identifier: Apache-2.0
#include "ortinv/entity_mib.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "hostinfo/settable_path.h"
#include "log/log.h"
#include "ortinv/network_address.h"

namespace {

constexpr uint32_t kSecondsBetweenUpdates = 1800;
constexpr const char* kNoAddress = "0.0.0.0";

constinit SettablePath g_path("/etc/config/ent_mib/ort.xml");

// Seconds since the epoch. Read and written by update_ent_mib_xml only.
uint32_t g_next_update;

// The Type is mib-2; the TDomain is the one of UDP over IPv4, also for an IPv6
// address: kept on purpose because the host's agent expects this file
// (docs/oddities.md: entity-mib-tdomain).
int write_registration(const char* address) {
  FILE* file = fopen(g_path.get(), "w+");
  if (file == nullptr) {
    UtilLog("Failed to create file %s\n", g_path.get());
    return 1;
  }
  fputs("<vmw_ent_mib version=\"1.0\">\n", file);
  fputs("<logical>\n", file);
  fputs("<Descr>BMC SNMP Management Agent</Descr>\n", file);
  fputs("<Type>1.3.6.1.2.1</Type>\n", file);
  fputs("<Community>public</Community>\n", file);
  fprintf(file, "<TAddress>%s</TAddress>\n", address);
  fputs("<TDomain>1.3.6.1.2.1.100.1.1</TDomain>\n", file);
  fputs("<ContextEngineID>None</ContextEngineID>\n", file);
  fputs("<ContextName>None</ContextName>\n", file);
  fputs("</logical>\n", file);
  fputs("</vmw_ent_mib>\n", file);
  fclose(file);
  return 0;
}

}  // namespace

int update_ent_mib_xml() {
  const auto now = static_cast<uint32_t>(time(nullptr));
  if (now < g_next_update) {
    return 0;
  }
  DebugLog("entity:  update_ent_mib_xml...");
  // Before the work, so that a failed attempt waits as long.
  g_next_update = now + kSecondsBetweenUpdates;

  std::array<char, kBmcAddressSize> ipv4 = {"0.0.0.0"};
  std::array<char, kBmcAddressSize> ipv6 = {};
  int ipv6_enabled = 0;
  int ipv4_enabled = 0;
  const int ipv6_result = get_Mox_IPv6(ipv6.data(), &ipv6_enabled, &ipv4_enabled);
  if (get_Mox_IPv4(ipv4.data()) != 0) {
    return 1;
  }
  if (strstr(ipv4.data(), kNoAddress) == nullptr) {
    return write_registration(ipv4.data());
  }
  return ipv6_result == 0 ? write_registration(ipv6.data()) : 0;
}

const char* ortinv_entity_mib_path() {
  return g_path.get();
}

int ortinv_set_entity_mib_path(const char* path) {
  return g_path.set(path) ? 0 : -1;
}
