// SPDX-License-Identifier: Apache-2.0
// When the loops slow down, and when they no longer do.
#include "daemon/pacing.h"

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

using std::chrono::seconds;

constexpr const char* kLine =
    "3 tvurev: reading keeps failing (Input/output error). It is tried once a second from now "
    "on.\n";
constexpr const char* kSessionLine =
    "3 tvurev: the BMC hung up on three sessions in a row. After each such one 10 seconds pass "
    "from now on.\n";

class RetryPacing : public Daemon {
 protected:
  void fail(int times) {
    for (int i = 0; i < times; ++i) {
      pace_retry(retries, "reading", EIO);
    }
  }
  CallScript script;
  Retries retries;
};

TEST_F(RetryPacing, LetsNineFailuresPass) {
  fail(9);
  EXPECT_EQ(script.waits(), Lines());
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(RetryPacing, WaitsASecondFromTheTenthFailureOnAndSaysSoOnce) {
  script.collect_waits();
  fail(12);
  EXPECT_EQ(script.waits(), Lines({"sleep 1", "sleep 1", "sleep 1"}));
  EXPECT_EQ(script.logs(), Lines({kLine}));
}

TEST_F(RetryPacing, BeginsAnewAfterASuccess) {
  script.collect_waits();
  fail(10);
  pace_retry(retries, "reading", 0);
  fail(9);
  EXPECT_EQ(script.waits(), Lines({"sleep 1"}));
  fail(1);
  EXPECT_EQ(script.logs(), Lines({kLine, kLine}));
}

class SessionPacing : public Daemon {
 protected:
  bool hang_up_after(int lasted) {
    return must_pause_after_session(sessions, true, seconds(lasted));
  }
  CallScript script;
  Sessions sessions;
};

TEST_F(SessionPacing, PausesFromTheThirdShortSessionInARowOnAndSaysSoOnce) {
  EXPECT_FALSE(hang_up_after(0));
  EXPECT_FALSE(hang_up_after(10));
  EXPECT_TRUE(hang_up_after(10));
  EXPECT_TRUE(hang_up_after(0));
  EXPECT_EQ(script.logs(), Lines({kSessionLine}));
}

TEST_F(SessionPacing, BeginsAnewAfterALongerSession) {
  hang_up_after(0);
  hang_up_after(0);
  EXPECT_FALSE(hang_up_after(11));
  EXPECT_FALSE(hang_up_after(0));
  EXPECT_FALSE(hang_up_after(0));
  EXPECT_TRUE(hang_up_after(0));
}

TEST_F(SessionPacing, BeginsAnewAfterASessionThatEndedOtherwise) {
  hang_up_after(0);
  hang_up_after(0);
  EXPECT_FALSE(must_pause_after_session(sessions, false, seconds(0)));
  EXPECT_FALSE(hang_up_after(0));
  EXPECT_EQ(script.logs(), Lines());
}

}  // namespace
