// SPDX-License-Identifier: Apache-2.0
// A real Zabbix proxy that follows snmptt's file, with the lines of
// docs/receivers.md.
#include <filesystem>

#include "tests/receivers/documented.h"
#include "tests/receivers/trap_host.h"

namespace {

constexpr const char* kProxyFile = "/etc/zabbix/zabbix_proxy.conf";
constexpr const char* kDatabaseScript = "/run/lab/receivers/zabbix_database.py";

// Passive: it asks no server. The other lines are those that every proxy needs.
constexpr const char* kProxySettings = R"(
ProxyMode=1
Server=127.0.0.1
Hostname=proxy
ListenIP=127.0.0.1
DBName=/var/lib/zabbix/proxy.db
LogType=console
AllowRoot=1
PidFile=/tmp/zabbix_proxy.pid
SocketDir=/tmp
)";

class ZabbixReceiver : public TrapHost {
 protected:
  void SetUp() override {
    TrapHost::SetUp();
    for (const char* folder : {"/etc/zabbix", "/var/lib/zabbix", "/var/log/snmptt"}) {
      std::filesystem::create_directories(folder);
    }
    write_file(kProxyFile, kProxySettings + documented("Zabbix", "`zabbix_proxy.conf`:"));
    write_file(kSnmpttLog, "");
    run_commands(std::string("python3 ") + kDatabaseScript + " make 192.0.2.20");
  }

  // The first value that the host's item got.
  std::string value_of_the_item() {
    Child proxy;
    Child reader;
    EXPECT_EQ(proxy.start({.arguments = {"zabbix_proxy", "-f", "-c", kProxyFile},
                           .output = Program::kMerged}),
              "");
    EXPECT_EQ(reader.start(
                  {.arguments = {"python3", kDatabaseScript, "wait"}, .output = Program::kMerged}),
              "");
    EXPECT_TRUE(run_until([&] {
      proxy.pump();
      reader.pump();
      return !reader.running() || !proxy.running();
    }));
    EXPECT_EQ(reader.status(), 0) << proxy.out();
    return reader.out();
  }
};

TEST_F(ZabbixReceiver, HasATrapInTheHistoryOfTheHost) {
  start_snmptt();
  run_commands(documented("Zabbix", "each line needs a mark:"));
  event(kFanFailed);
  EXPECT_THAT(value_of_the_item(),
              testing::EndsWith(" .1.3.6.1.4.1.32473.1.0.3 CRITICAL \"Status Events\" 192.0.2.20 - "
                                "Fan 3 is failed: Fan 3 has failed\n"));
}

}  // namespace
