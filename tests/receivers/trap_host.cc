// SPDX-License-Identifier: Apache-2.0
#include "tests/receivers/trap_host.h"

#include <cstdlib>
#include <filesystem>

#include "lab/supervisor/trap_daemon.h"
#include "tests/receivers/documented.h"

namespace {

constexpr const char* kAddress = "203.0.113.5";
constexpr const char* kSnmpttIni = "/etc/snmp/snmptt.ini";

}  // namespace

void TrapHost::SetUp() {
  Host::SetUp();
  // The sandbox's own way to have no MIBs goes before every file.
  unsetenv("MIBS");
  std::filesystem::create_directories("/etc/snmp");
  std::filesystem::copy("/run/lab/mibs", "/etc/snmp/mibs");
  write_documented("snmptrapd", "/etc/snmp/snmp.conf");
  write_documented("snmptrapd", "/etc/snmp/snmptrapd.conf");
  write_targets(std::string(kAddress) + "@162 public");
}

void TrapHost::start_snmptrapd() {
  ASSERT_EQ(snmptrapd_.start({.arguments = {"snmptrapd", "-f", "-Lo", "-n",
                                            std::string("udp:") + kAddress + ":162"},
                              .output = Program::kMerged}),
            "");
  ASSERT_TRUE(run_until([] { return trap_ports_are_open({kAddress}); })) << printed();
  start_relay();
}

void TrapHost::start_snmptt() {
  install_snmptt();
  write_documented("snmptt", "/etc/snmp/snmptrapd.conf");
  start_snmptrapd();
}

void TrapHost::start_snmptt_daemon() {
  install_snmptt();
  write_file("/etc/snmp/snmptrapd.conf", documented("snmptt", "snmptrapd hands them over with:"));
  std::filesystem::create_directories("/var/spool/snmptt");
  // A child of ours, of the one user that there is, without the usual pause.
  run_commands(
      "sed -i -e 's/^daemon_fork = 1/daemon_fork = 0/' -e 's/^daemon_uid = .*/daemon_uid =/' "
      "-e 's/^sleep = 5/sleep = 1/' /etc/snmp/snmptt.ini");
  ASSERT_EQ(snmptt_.start({.arguments = {"snmptt", "--daemon"}, .output = Program::kMerged}), "");
  start_snmptrapd();
}

void TrapHost::install_snmptt() {
  std::filesystem::create_directories("/var/log/snmptt");
  std::filesystem::copy("/run/lab/snmptt.ini", kSnmpttIni);
  std::filesystem::permissions(kSnmpttIni, std::filesystem::perms::owner_all);
  change_documented("snmptt", kSnmpttIni);
  run_commands(documented("snmptt", "From the MIB:"));
}

void TrapHost::run_commands(const std::string& commands) {
  Child shell;
  ASSERT_EQ(shell.start({.arguments = {"sh", "-ec", commands}, .output = Program::kMerged}), "");
  ASSERT_TRUE(run_until([&] {
    shell.pump();
    return !shell.running();
  }));
  ASSERT_EQ(shell.status(), 0) << commands << shell.out();
}

testing::AssertionResult TrapHost::run_until_written(const char* path, std::string_view text) {
  return run_until([&] { return read_file(path).find(text) != std::string::npos; })
         << ": " << text << "\n"
         << path << ":\n"
         << read_file(path) << "snmptrapd:\n"
         << printed();
}

const std::string& TrapHost::printed() {
  snmptrapd_.pump();
  return snmptrapd_.out();
}
