// SPDX-License-Identifier: Apache-2.0
// The time as text.
#include "log/timestamp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/call_script.h"

namespace {

class Timestamp : public testing::Test {
 protected:
  void SetUp() override { set_zone("UTC"); }
  void TearDown() override { set_zone("UTC"); }

  static void set_zone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

  CallScript script;
};

TEST_F(Timestamp, IsDateTimeAndMicroseconds) {
  script.set_time(1745397296, 123456);
  EXPECT_STREQ(GetTimestamp(), "2025-04-23 08:34:56:123456");
}

TEST_F(Timestamp, DoesNotPadTheMicroseconds) {
  script.set_time(0, 7);
  EXPECT_STREQ(GetTimestamp(), "1970-01-01 00:00:00:7");
}

TEST_F(Timestamp, IsLocalTime) {
  set_zone("XYZ-5:30");
  script.set_time(1745397296, 0);
  EXPECT_STREQ(GetTimestamp(), "2025-04-23 14:04:56:0");
}

TEST_F(Timestamp, OverwritesItsOneBuffer) {
  script.set_time(1745397296, 999999);
  const char* first = GetTimestamp();
  script.set_time(1745397297, 1);
  const char* second = GetTimestamp();
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "2025-04-23 08:34:57:1");
}

}  // namespace
