// SPDX-License-Identifier: Apache-2.0
// The real snmptrapd with the lines of docs/receivers.md.
#include <algorithm>

#include "tests/receivers/trap_host.h"

namespace {

using testing::HasSubstr;

class SnmptrapdReceiver : public TrapHost {
 protected:
  // Goes on until it has printed this.
  testing::AssertionResult run_until_printed(std::string_view text) {
    return run_until([&] { return printed().find(text) != std::string::npos; })
           << ": " << text << "\n"
           << printed();
  }
};

TEST_F(SnmptrapdReceiver, PrintsATrapByTheNamesOfTheMib) {
  start_snmptrapd();
  event(kFanFailed);
  EXPECT_TRUE(
      run_until_printed("\n\tTVUREV-DEMO-MIB::tvurevDemo Enterprise Specific Trap "
                        "(TVUREV-DEMO-MIB::fanFailed) Uptime: 0:00:47.11\n"
                        "\tTVUREV-DEMO-MIB::fanNumber = INTEGER: 3"
                        "\tTVUREV-DEMO-MIB::fanDescription = STRING: Fan 3 has failed"
                        "\tTVUREV-DEMO-MIB::fanCondition = INTEGER: failed(3)\n"));
}

TEST_F(SnmptrapdReceiver, SaysThatAGaugeArrivesAsAnInteger) {
  start_snmptrapd();
  event("notify 1.3.6.1.4.1.32473.1.0.5 1.3.6.1.4.1.32473.1.2.3=gauge32:2147483648");
  EXPECT_TRUE(
      run_until_printed("TVUREV-DEMO-MIB::powerSupplyInput = "
                        "Wrong Type (should be Gauge32 or Unsigned32): INTEGER: -2147483648"));
}

TEST_F(SnmptrapdReceiver, HasNoLineForAForeignCommunity) {
  write_targets("203.0.113.5@162 ops;203.0.113.5@162 public");
  start_snmptrapd();
  event(kFanFailed);
  ASSERT_TRUE(run_until_printed("fanFailed"));
  event(kPowerInputRestored);
  ASSERT_TRUE(run_until_printed("powerInputRestored"));
  EXPECT_THAT(printed(), HasSubstr("community public"));
  EXPECT_EQ(printed().find("ops"), std::string::npos) << printed();
}

TEST_F(SnmptrapdReceiver, HasTheReceiveBufferOfItsSettingsAsFarAsTheKernelAllows) {
  constexpr long kAsked = 8388608;
  const long allowed = std::stol(read_file("/proc/sys/net/core/rmem_max"));
  start_snmptrapd();
  run_commands("ss --numeric --udp --all --memory 'src 203.0.113.5' >/tmp/sockets");
  // The kernel counts its own share in.
  EXPECT_THAT(read_file("/tmp/sockets"),
              HasSubstr(",rb" + std::to_string(2 * std::min(kAsked, allowed)) + ","));
}

}  // namespace
