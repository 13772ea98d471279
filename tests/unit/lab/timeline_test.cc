// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "lab/timeline/display.h"

TEST(WithoutSyslogHeader, CutsDateAndHostName) {
  EXPECT_EQ(without_syslog_header("Nov 20 14:34:46 host daemon.err ortdv[9]: a b"),
            "daemon.err ortdv[9]: a b");
  EXPECT_EQ(without_syslog_header("Nov  2 04:34:46 host daemon.err x: y"), "daemon.err x: y");
}

TEST(WithoutSyslogHeader, LeavesLinesWithoutOneAlone) {
  for (const char* line : {"", "short", "exactly16letters", "longer-than-a-date-but-one-word"}) {
    EXPECT_EQ(without_syslog_header(line), line);
  }
}

TEST(WithoutControls, ReplacesWhatATerminalWouldObey) {
  EXPECT_EQ(without_controls("a\tb\033[31m\r\x7F\xC3\xA4"), "a\tb?[31m??\xC3\xA4");
}
