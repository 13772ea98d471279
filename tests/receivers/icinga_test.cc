// SPDX-License-Identifier: Apache-2.0
// The real Icinga behind snmptt, with the lines of docs/receivers.md.
#include <filesystem>

#include "tests/receivers/documented.h"
#include "tests/receivers/trap_host.h"

namespace {

constexpr const char* kCommandPipe = "/run/icinga2/cmd/icinga2.cmd";
constexpr const char* kLog = "/var/log/icinga2.log";

// What an installation has: the library of templates, and the host itself.
constexpr const char* kSettings = R"(
include <itl>
include "conf.d/*.conf"
object FileLogger "log" {
  severity = "notice"
  path = "/var/log/icinga2.log"
}
object Host "192.0.2.20" {
  address = "192.0.2.20"
  check_command = "passive"
  enable_active_checks = false
}
)";

class IcingaReceiver : public TrapHost {
 protected:
  void SetUp() override {
    TrapHost::SetUp();
    write_documented("Icinga", "/etc/icinga2/conf.d/traps.conf");
    write_file("/etc/icinga2/icinga2.conf", kSettings);
    write_file("/tmp/traps-to-icinga", documented("Icinga", "`/usr/local/sbin/traps-to-icinga`"));
    for (const char* folder : {"/run/icinga2/cmd", "/var/lib/icinga2/certs", "/var/cache/icinga2",
                               "/var/log/icinga2", "/var/log/snmptt"}) {
      std::filesystem::create_directories(folder);
    }
    write_file(kSnmpttLog, "");
  }

  void start_icinga() {
    ASSERT_EQ(
        icinga_.start({.arguments = {"/usr/lib/x86_64-linux-gnu/icinga2/sbin/icinga2", "daemon",
                                     "-D", "RunAsUser=root", "-D", "RunAsGroup=root"},
                       .output = Program::kMerged}),
        "");
    const bool ready = static_cast<bool>(run_until([] { return exists(kCommandPipe); }));
    icinga_.pump();
    ASSERT_TRUE(ready) << icinga_.out();
    ASSERT_EQ(follower_.start({.arguments = {"sh", "/tmp/traps-to-icinga"}}), "");
    ASSERT_TRUE(run_until([&] { return follows(kSnmpttLog); }));
  }

 private:
  // Whether a process has the log open: what is written from then on is seen.
  static bool follows(const std::string& path) {
    std::error_code error;
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
      for (const auto& file : std::filesystem::directory_iterator(process.path() / "fd", error)) {
        if (std::filesystem::read_symlink(file.path(), error) == path) {
          return true;
        }
      }
    }
    return false;
  }

  Child icinga_;
  Child follower_;
};

TEST_F(IcingaReceiver, TakesATrapForAPassiveResultOfTheHost) {
  start_icinga();
  start_snmptt();
  event(kFanFailed);
  EXPECT_TRUE(
      run_until_written(kLog,
                        "PROCESS_SERVICE_CHECK_RESULT;192.0.2.20;snmp-traps;2;Fan 3 is failed: "
                        "Fan 3 has failed\n"));
  EXPECT_TRUE(run_until_written(kLog, "Processing passive check result for service 'snmp-traps'"));
}

}  // namespace
