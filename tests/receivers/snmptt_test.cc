// SPDX-License-Identifier: Apache-2.0
// The real snmptt behind snmptrapd, with the lines of docs/receivers.md.
#include "tests/receivers/trap_host.h"

namespace {

using testing::HasSubstr;

using SnmpttReceiver = TrapHost;

TEST_F(SnmpttReceiver, WritesALineForEachTrapAsTheMibFormatsIt) {
  start_snmptt();
  event(kFanFailed);
  event(kPowerInputRestored);
  ASSERT_TRUE(run_until_written(kSnmpttLog, "Input restored\n"));
  // The date before it is that of the day.
  EXPECT_THAT(
      read_file(kSnmpttLog),
      testing::ContainsRegex("^... ... .. ..:..:.. .... \\.1\\.3\\.6\\.1\\.4\\.1\\.32473\\.1"
                             "\\.0\\.3 CRITICAL \"Status Events\" 192\\.0\\.2\\.20 - "
                             "Fan 3 is failed: Fan 3 has failed\n"));
  EXPECT_THAT(read_file(kSnmpttLog),
              HasSubstr(" .1.3.6.1.4.1.32473.1.0.6 NORMAL \"Status Events\" 192.0.2.20 - "
                        "Power supply 2 is ok: Input restored\n"));
}

TEST_F(SnmpttReceiver, WritesATrapThatTheMibDoesNotKnowToItsOwnFile) {
  start_snmptt();
  event("notify 1.3.6.1.4.1.32473.1.0.99");
  EXPECT_TRUE(run_until_written(kSnmpttUnknownLog, "Unknown trap (.1.3.6.1.4.1.32473.1.0.99)"));
}

TEST_F(SnmpttReceiver, ThatStaysUpTakesTrapsFromItsSpool) {
  start_snmptt_daemon();
  event(kFanFailed);
  event(kPowerInputRestored);
  EXPECT_TRUE(run_until_written(kSnmpttLog, " - Fan 3 is failed: Fan 3 has failed\n"));
  EXPECT_TRUE(run_until_written(kSnmpttLog, " - Power supply 2 is ok: Input restored\n"));
}

// Why the page warns of such lines.
TEST_F(SnmpttReceiver, DoesNotRunAnExecLineThatATextBreaks) {
  start_snmptt();
  run_commands(
      "printf 'EXEC echo $1 >>/tmp/echoed\\n' | "
      "sed -i '/^FORMAT Fan/r /dev/stdin' /etc/snmptt/snmptt.conf");
  event("notify 1.3.6.1.4.1.32473.1.0.3 1.3.6.1.4.1.32473.1.1.2=octets:\"Fan 3 (front\"");
  event("notify 1.3.6.1.4.1.32473.1.0.3 1.3.6.1.4.1.32473.1.1.2=octets:\"Fan 4\"");
  ASSERT_TRUE(run_until_written("/tmp/echoed", "\n"));
  EXPECT_EQ(read_file("/tmp/echoed"), "Fan 4\n");
  EXPECT_THAT(read_file(kSnmpttLog), HasSubstr("Fan 3 (front"));
}

TEST_F(SnmpttReceiver, LeavesOutWhatAShellWouldTakeForMoreThanText) {
  start_snmptt();
  event(
      "notify 1.3.6.1.4.1.32473.1.0.3 1.3.6.1.4.1.32473.1.1.1=integer:3 "
      "1.3.6.1.4.1.32473.1.1.2=octets:\"a;b&c|d$(e)<f>*?`g`[h]^\" "
      "1.3.6.1.4.1.32473.1.1.3=integer:3");
  EXPECT_TRUE(run_until_written(kSnmpttLog, " - Fan 3 is failed: abcd(e)f'g'h\n"));
}

}  // namespace
