// SPDX-License-Identifier: Apache-2.0
// A whole host (tests/e2e/host.h) whose traps go to a real snmptrapd that is set
// up as docs/receivers.md says, and to whatever stands behind that.
#ifndef TVUREV_TESTS_RECEIVERS_TRAP_HOST_H_
#define TVUREV_TESTS_RECEIVERS_TRAP_HOST_H_

#include <string>

#include "lab/supervisor/child.h"
#include "tests/e2e/host.h"

// The BMC's notifications of the demo.
inline constexpr const char* kFanFailed =
    "notify 1.3.6.1.4.1.32473.1.0.3 uptime=4711 1.3.6.1.4.1.32473.1.1.1=integer:3 "
    "1.3.6.1.4.1.32473.1.1.2=octets:\"Fan 3 has failed\" 1.3.6.1.4.1.32473.1.1.3=integer:3";
inline constexpr const char* kPowerInputRestored =
    "notify 1.3.6.1.4.1.32473.1.0.6 1.3.6.1.4.1.32473.1.2.1=integer:2 "
    "1.3.6.1.4.1.32473.1.2.2=octets:\"Input restored\" 1.3.6.1.4.1.32473.1.2.5=integer:1";

// Where snmptt writes.
inline constexpr const char* kSnmpttLog = "/var/log/snmptt/snmptt.log";
inline constexpr const char* kSnmpttUnknownLog = "/var/log/snmptt/snmpttunknown.log";

class TrapHost : public Host {
 protected:
  // Installs the sample MIB and sends traps to snmptrapd's address.
  void SetUp() override;

  // Starts it with the settings in /etc/snmp, and then the relay.
  void start_snmptrapd();
  // Does both for snmptt behind it.
  void start_snmptt();
  // The same for one snmptt that stays up.
  void start_snmptt_daemon();

  // Runs shell commands to their end.
  void run_commands(const std::string& commands);

  // Until a file holds this text.
  testing::AssertionResult run_until_written(const char* path, std::string_view text);

  // What snmptrapd printed so far.
  const std::string& printed();

 private:
  void install_snmptt();

  Child snmptrapd_;
  Child snmptt_;
};

#endif  // TVUREV_TESTS_RECEIVERS_TRAP_HOST_H_
