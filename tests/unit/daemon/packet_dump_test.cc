// SPDX-License-Identifier: Apache-2.0
// The three dump formats and the switches in front of them.
#include "daemon/packet_dump.h"

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

class PacketDump : public Daemon {
 protected:
  void SetUp() override {
    Daemon::SetUp();
    g_daemon_debug_flag = 1;
    g_chif_dump_flag = 1;
    g_agentx_dump_flag = 1;
  }
  CallScript script;
};

Bytes counting(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<uint8_t>(i + 0xF0);
  }
  return bytes;
}

TEST_F(PacketDump, AChifHeaderTakesThreeLines) {
  dump_chif(ChifBuilder(0x8193).seqno(7).svc(13).errcode(0xFFFFFFFF).agentx_resp_len(4080).bytes());
  EXPECT_EQ(script.logs(), Lines({"6 CHIF:\n",  //
                                  "6  pktsize = 16, seqno = 7, cmdno = 8193, svc = d\n",
                                  "6  errcode = -1, pktsize = 16, agentx_resp_len = 4080\n"}));
}

TEST_F(PacketDump, AnAgentxHeaderTakesOneMessageOfTwoLines) {
  dump_agentx(bytes_of("01 0c 12 00  01 00 00 00  ef be ad de  03 00 00 00  64 00 00 00"));
  EXPECT_EQ(script.logs(),
            Lines({"6 dump_agentx()\n",
                   "6 AgentX: version = 1 type = 12 flags = 18 payload_length = 100\n"
                   "sessionID=       1 transactionID = deadbeef packetID =        3\n"}));
}

TEST_F(PacketDump, MissingFieldsReadAsZero) {
  dump_chif(bytes_of("08 00"));
  EXPECT_EQ(script.logs(), Lines({"6 CHIF:\n",  //
                                  "6  pktsize = 8, seqno = 0, cmdno = 0, svc = 0\n",
                                  "6  errcode = 0, pktsize = 8, agentx_resp_len = 0\n"}));
}

TEST_F(PacketDump, TwentyBytesAreAFullLineAndALineOfFour) {
  dump_raw(counting(20));
  EXPECT_EQ(script.logs(), Lines({"6 dump_raw(): size of buf is [20], count1 [16], count2 [4]\n",
                                  "6 f0 f1 f2 f3  f4 f5 f6 f7  f8 f9 fa fb  fc fd fe ff\n",  //
                                  "6 00 01 02 03 \n"}));
}

TEST_F(PacketDump, SixteenBytesAreOneLineOnly) {
  dump_raw(counting(16));
  EXPECT_EQ(script.logs(), Lines({"6 dump_raw(): size of buf is [16], count1 [16], count2 [0]\n",
                                  "6 f0 f1 f2 f3  f4 f5 f6 f7  f8 f9 fa fb  fc fd fe ff\n"}));
}

TEST_F(PacketDump, NoBytesAreNoLine) {
  dump_raw({});
  EXPECT_EQ(script.logs(), Lines({"6 dump_raw(): size of buf is [0], count1 [0], count2 [0]\n"}));
}

TEST_F(PacketDump, EachDumpNeedsItsOwnFlag) {
  g_chif_dump_flag = 0;
  g_agentx_dump_flag = 0;
  dump_chif(counting(16));
  dump_agentx(counting(20));
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(PacketDump, EveryDumpNeedsTheDaemonsFlagToo) {
  g_daemon_debug_flag = 0;
  dump_chif(counting(16));
  dump_agentx(counting(20));
  dump_raw(counting(20));
  EXPECT_EQ(script.logs(), Lines());
}

}  // namespace
