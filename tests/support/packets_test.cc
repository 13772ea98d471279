// SPDX-License-Identifier: Apache-2.0
// The builders against bytes written by hand.
#include "tests/support/packets.h"

#include <gtest/gtest.h>

namespace {

TEST(Hex, IsReadAndWritten) {
  EXPECT_EQ(bytes_of("08 00 adDE\n"), Bytes({8, 0, 0xAD, 0xDE}));
  EXPECT_EQ(hex_of(Bytes({8, 0, 0xAD, 0xDE})), "08 00 ad de");
}

TEST(ChifBuilder, FillsTheHeader) {
  EXPECT_EQ(hex_of(ChifBuilder(0x0195).seqno(0x1234).svc(13).bytes()), "08 00 34 12 95 01 0d 00");
}

TEST(ChifBuilder, GrowsAndCountsItsLength) {
  EXPECT_EQ(hex_of(ChifBuilder(0x0195).errcode(1).agentx_resp_len(30).text("why").bytes()),
            "13 00 00 00 95 01 00 00 01 00 00 00 1e 00 00 00 77 68 79");
}

TEST(ChifBuilder, LiesAboutItsLength) {
  EXPECT_EQ(hex_of(ChifBuilder(0x0095).pktsize(0xFFFF).bytes()), "ff ff 00 00 95 00 00 00");
  EXPECT_EQ(ChifBuilder(0x0095).pktsize(16).sized(4096).bytes().size(), 4096U);
}

TEST(NotifyBuilder, StartsWithTheHeader) {
  EXPECT_EQ(hex_of(NotifyBuilder().bytes()),
            "01 0c 00 00 01 00 00 00 02 00 00 00 03 00 00 00 00 00 00 00");
}

TEST(NotifyBuilder, WritesAWord) {
  EXPECT_EQ(hex_of(NotifyBuilder().uptime(0x01020304).bytes()).substr(48),
            "1c 00 00 00 43 00 00 00 04 02 00 00 "  // 28 bytes; TIMETICKS; 4 sub-ids, prefix 2
            "01 00 00 00 01 00 00 00 03 00 00 00 00 00 00 00 04 03 02 01");
}

TEST(NotifyBuilder, PadsAString) {
  EXPECT_EQ(hex_of(NotifyBuilder().octets("1.3.6.1.4.7", "abcde").bytes()).substr(48),
            "18 00 00 00 04 00 00 00 01 04 00 00 07 00 00 00 05 00 00 00 61 62 63 64 65 00 00 00");
}

TEST(NotifyBuilder, WritesAnObjectId) {
  EXPECT_EQ(
      hex_of(NotifyBuilder().object_id("1.3.6.1.4", "1.3.6.1.4.9.4294967295").bytes()).substr(48),
      "14 00 00 00 06 00 00 00 00 04 00 00 02 04 00 00 09 00 00 00 ff ff ff ff");
}

TEST(NotifyBuilder, LiesAboutItsLength) {
  EXPECT_EQ(hex_of(NotifyBuilder().payload_length(0xFFFFFFFF).bytes()).substr(48), "ff ff ff ff");
}

}  // namespace
