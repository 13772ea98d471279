// SPDX-License-Identifier: Apache-2.0
// The switch files of the debug output: what each one adds, and that none of
// them adds anything alone that it should not.
#include "tests/e2e/host.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kMaster = "/tmp/ortdebug.text";
constexpr const char* kDaemonSwitch = "/tmp/tvud.text";
constexpr const char* kChifSwitch = "/tmp/chif.text";
constexpr const char* kAgentxSwitch = "/tmp/agentx.text";

class DebugSwitches : public Host {
 protected:
  // Relays one notification with these switches on.
  void relay_with(const std::vector<std::string>& switches) {
    for (const std::string& file : switches) {
      touch(file);
    }
    start_relay();
    push_notify(NotifyBuilder()
                    .uptime(100)
                    .trap_oid("1.3.6.1.4.1.32473.1.0.3")
                    .integer("1.3.6.1.4.1.32473.2.1", 5)
                    .octets("1.3.6.1.4.1.32473.2.2", "a\x80")
                    .bytes());
    ASSERT_TRUE(run_until_traps(1));
  }

  // The lines that only debugging writes.
  std::vector<std::string> debug_lines() const {
    std::vector<std::string> lines = log_of(daemon.pid());
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("clock:") || line.starts_with("6 ortdv: tvurev: Sending") ||
             line.starts_with("6 ortdv: tvurev:  ") || line.starts_with("6 ortdv: [tvud]: BMC ") ||
             line.starts_with("6 ortdv: Mox6:");
    });
    return lines;
  }
};

TEST_F(DebugSwitches, NoneMeansSilence) {
  relay_with({});
  EXPECT_THAT(debug_lines(), IsEmpty());
  EXPECT_EQ(daemon.err(), "");
}

TEST_F(DebugSwitches, DaemonSwitchShowsTheRoadOfANotification) {
  relay_with({kDaemonSwitch});
  ASSERT_TRUE(run_until_logged("6 ortdv: tvurev: Returning ret [1]"));
  std::vector<std::string> lines = debug_lines();
  std::erase_if(lines, [](const std::string& line) { return line.find(" ptr [") != line.npos; });
  EXPECT_THAT(
      lines,
      ElementsAre(
          "6 ortdv: get_host_ipaddress(): Found vmk0! IPaddress is [192.0.2.20]",
          "6 ortdv:  main BMC reverse proxy loop", "6 ortdv: reverse mode: call bmc_init()",
          "6 ortdv: reverse mode: Successful with reverse Mox Hello.",
          "6 ortdv: reverse mode: BMC Reverse Proxy Connected. Starting proxy loop",
          "6 ortdv: tvud: BMC Reverse Proxy: numfds [1].", "6 ortdv: rev mode: proxy_bmc_trap",
          StartsWith("6 ortdv: bmc_recv: start.  fd [3] errno ["),
          "6 ortdv: bmc_recv: Received 180 bytes . . .  errno [0]",
          "6 ortdv: Received packet [0x0001]... errno [0]",
          "6 ortdv: bmc_recv: memcpy recvd data to buf len [164]. . .  errno [0]",
          "6 ortdv: sending 164 bytes",
          "6 ortdv: send_trap_to_host(): Host SNMP Enabled. Continuing to send trap thru Host.",
          "6 ortdv: vb[1] OID: [1.3.6.1.2.1.1.3.0] [TIMETICKS] [0x64] vblen [28] vbtype [67]",
          "6 ortdv: vb[2] OID: [1.3.6.1.6.3.1.1.4.1.0] [OID] [1.3.6.1.4.1.32473.1.0.3] "
          "vblen [56]",
          "6 ortdv: vb[3] OID: [1.3.6.1.4.1.32473.2.1] [INTEGER] [0x5] vblen [28] vbtype [2]",
          "6 ortdv: vb[4] OID: [1.3.6.1.4.1.32473.2.2] [OCTET_STRING] [a\x80] vblen [32]",
          "6 ortdv: OctetString in Hex [61ffffff8]",
          "6 ortdv: tvudrev: trapOid is [1.3.6.1.4.1.32473.1.0.3].",
          "6 ortdv: tvurev: No Mox reset string in trapOid.  Set ret to [0]",
          "6 ortdv: tvurev: Returning ret [1]"));
  EXPECT_EQ(daemon.err(), "");
}

TEST_F(DebugSwitches, DaemonSwitchShowsTheReset) {
  touch(kDaemonSwitch);
  start_relay();
  event("reset");
  ASSERT_TRUE(run_until_logged(kConnectedLine, 2));
  for (const char* line :
       {"6 ortdv: tvurev: Found 6061 string in trapOid indicating Mox reset.  Set ret to [1]",
        "6 ortdv:  proxy_bmc_trap send trap() returns Mox reset trap recvd.",
        "6 ortdv: reverse mode: proxy_bmc_trap returns recvd Mox reset trap",
        "6 ortdv: reverse mode: performing disconnect and reconnect to Mox",
        "6 ortdv: go_bye(): bmc_fc [3] Writing SNMP_HELLO_BYE svc=13 pktlen=16"}) {
    EXPECT_EQ(times_logged(line), 1U) << line;
  }
  EXPECT_THAT(log(), Contains(StartsWith("6 ortdv: go_bye(): After mox write bytes=16 errno =")));
}

TEST_F(DebugSwitches, DaemonSwitchShowsTheSocketsLife) {
  touch(kDaemonSwitch);
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(Bytes(20, 0)));
  ASSERT_TRUE(run_until_logged("6 ortdv: tvurev: Returning ret [1]"));
  touch(kHoldFile);  // the next round begins when the pause ends
  agent.hang_up();
  ASSERT_TRUE(run_until_logged("clock: sleep 30"));
  EXPECT_THAT(
      log_of(socket_proxy()),
      ElementsAre(
          "6 ortdv: get_host_ipaddress(): Found vmk0! IPaddress is [192.0.2.20]",
          "6 ortdv:  main TVUD reverse_mode loop",
          "6 ortdv:  reverse mode:  Waiting for a connection with forward mode ORT...", kClientLine,
          "6 ortdv: tvud: TVU Reverse Proxy: numfds [1].", "6 ortdv:  proxy_ortd_trap",
          "6 ortdv: proxy_ortd_trap: received 20 bytes . . .", "6 ortdv: sending 20 bytes",
          "6 ortdv: send_trap_to_host(): Host SNMP Enabled. Continuing to send trap thru Host.",
          "6 ortdv: tvudrev: trapOid is [].",
          "6 ortdv: tvurev: No Mox reset string in trapOid.  Set ret to [0]",
          "3 ortdv: tvurev: notification without a valid trap OID []: no trap sent",
          "6 ortdv: tvurev: Returning ret [1]",
          "6 ortdv:  proxy_ortd_trap",  // the end of the stream
          "6 ortdv: reverse mode: tvu_rev_proxy_ort: HUP exit. socket exit", "clock: sleep 30"));
  unlink(kHoldFile);
}

TEST_F(DebugSwitches, ChifSwitchAddsPacketHeadersAndTraces) {
  relay_with({kDaemonSwitch, kChifSwitch});
  EXPECT_EQ(daemon.err(),
            "waiting on Mox reverse mode response\n"
            "going to read = 4084\n"
            "read = 20 idx=0 more =0\n"
            "waiting on Mox TVU_HELLO_CONNECT response\n"
            "going to read = 4084\n"
            "read = 16 idx=0 more =0\n");
  std::vector<std::string> dumps = debug_lines();
  std::erase_if(dumps, [](const std::string& line) {
    return line.find("pktsize = ") == line.npos && line.find("CHIF:") == line.npos;
  });
  EXPECT_THAT(
      dumps,
      ElementsAre("6 ortdv: CHIF:", "6 ortdv:  pktsize = 16, seqno = 0, cmdno = 193, svc = d",
                  "6 ortdv:  errcode = 1, pktsize = 16, agentx_resp_len = 0",  // the hello
                  "6 ortdv: CHIF:", "6 ortdv:  pktsize = 20, seqno = 0, cmdno = 8193, svc = d",
                  "6 ortdv:  errcode = 0, pktsize = 20, agentx_resp_len = 0",
                  "6 ortdv: CHIF:", "6 ortdv:  pktsize = 16, seqno = 0, cmdno = 193, svc = d",
                  "6 ortdv:  errcode = 3, pktsize = 16, agentx_resp_len = 0",  // the connect
                  "6 ortdv: CHIF:", "6 ortdv:  pktsize = 16, seqno = 0, cmdno = 8193, svc = d",
                  "6 ortdv:  errcode = 0, pktsize = 16, agentx_resp_len = 0",
                  "6 ortdv: BMC_RECV CHIF:  ", "6 ortdv: CHIF:",
                  "6 ortdv:  pktsize = 180, seqno = 0, cmdno = 1, svc = d",
                  "6 ortdv:  errcode = 0, pktsize = 180, agentx_resp_len = 164"));
}

TEST_F(DebugSwitches, ChifSwitchShowsTheAnswerToAShutdown) {
  touch(kDaemonSwitch);
  touch(kChifSwitch);
  start_relay();
  event("abort seqno=7");
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kShutdownAck) == 1; }));
  EXPECT_THAT(daemon.err(), HasSubstr("BMC_SEND:  "));
  EXPECT_EQ(times_logged("6 ortdv:  pktsize = 12, seqno = 8, cmdno = 8195, svc = d"), 2U);
}

TEST_F(DebugSwitches, ChifSwitchAloneOnlyTracesOnStandardError) {
  relay_with({kChifSwitch});
  EXPECT_THAT(debug_lines(), IsEmpty());
  EXPECT_THAT(daemon.err(), HasSubstr("going to read = 4084\n"));
}

TEST_F(DebugSwitches, AgentxSwitchAddsNotificationHeaders) {
  relay_with({kDaemonSwitch, kAgentxSwitch});
  EXPECT_EQ(daemon.err(),
            "waiting on Mox reverse mode response\n"
            "waiting on Mox TVU_HELLO_CONNECT response\n");
  EXPECT_TRUE(logged("6 ortdv: BMC_RECV AgentX packet"));
  EXPECT_TRUE(logged("6 ortdv: dump_agentx()"));
  EXPECT_THAT(debug_lines(), Contains(StartsWith("6 ortdv: AgentX: version = 1 type = 12 flags = 0 "
                                                 "payload_length = 144\nsessionID=")));
  EXPECT_THAT(debug_lines(), Not(Contains("6 ortdv: CHIF:")));
}

TEST_F(DebugSwitches, AgentxSwitchAloneOnlyTracesOnStandardError) {
  relay_with({kAgentxSwitch});
  EXPECT_THAT(debug_lines(), IsEmpty());
  EXPECT_EQ(daemon.err(),
            "waiting on Mox reverse mode response\n"
            "waiting on Mox TVU_HELLO_CONNECT response\n");
}

TEST_F(DebugSwitches, SwitchesAreReadAtTheStartOnly) {
  start_relay();
  for (const char* file : {kMaster, kDaemonSwitch, kChifSwitch, kAgentxSwitch}) {
    touch(file);
  }
  ASSERT_TRUE(relays());
  EXPECT_THAT(debug_lines(), IsEmpty());
}

TEST_F(DebugSwitches, MasterSwitchAloneShowsNothing) {
  relay_with({kMaster});
  EXPECT_THAT(debug_lines(), IsEmpty());
}

TEST_F(DebugSwitches, ModuleSwitchWithoutTheMasterShowsNothing) {
  relay_with({"/tmp/ortAll.text", "/tmp/utils.text"});
  EXPECT_THAT(debug_lines(), IsEmpty());
}

TEST_F(DebugSwitches, MasterAndEverythingShowTheQueries) {
  relay_with({kMaster, "/tmp/ortAll.text"});
  EXPECT_THAT(
      debug_lines(),
      ElementsAre(
          "6 ortdv: utils: check if system is supported...",
          "6 ortdv: utils: Looking for file [/opt/ortdv/tmp/moxstatus]...",
          "6 ortdv: utils: File not Found.  Pulling info from Mox...",
          "6 ortdv: utils: getResponse() write to mox retry [10]...",
          "6 ortdv: utils: getResponse() read from mox...",
          "6 ortdv: readMPr() read from mox retry [10]...",
          "6 ortdv: utils: get moxStatus Success.  moxStatus.application is [6]",
          "6 ortdv: Generating file [/opt/ortdv/tmp/moxstatus]...",
          "6 ortdv: utils: Detected Mox6. System IS supported...",
          "6 ortdv: utils: returning system supported flag = [1].",
          "6 ortdv: utils: getResponse() write to mox retry [10]...",
          "6 ortdv: utils: getResponse() read from mox...",
          "6 ortdv: readMPr() read from mox retry [10]...",
          "6 ortdv: utils: OsKcsExecCmd_CHIF(): bRetVal from getResponse is [0]",
          "6 ortdv: utils: OsExecuteOEMNVRAMAccessCommand:  OsKcsExecCmd_CHIF returned 0. "
          "ucCompletionCode[0] = CCODE_OK!",
          "6 ortdv: utils: OsExecuteOEMNVRAMAccessCommand:  returns bRet [0]",
          "6 ortdv: utils: OsGetEV(): After OsExecuteOEMNVRAMAccessCommand:  pucStatus is [0x0]",
          "6 ortdv: utils: getRevModeConfig(): GetEV Success! EV value is [0x1]"));
}

TEST_F(DebugSwitches, UtilitiesSwitchSelectsTheLinesThatHoldItsWord) {
  relay_with({kMaster, "/tmp/utils.text"});
  EXPECT_EQ(debug_lines().size(), 15U);
  EXPECT_THAT(debug_lines(), testing::Each(HasSubstr("utils")));
}

TEST_F(DebugSwitches, ModuleSwitchesSelectByWordsAnywhere) {
  // "pci" and "moxApi" are in none of these messages, "ide" is in none either,
  // but "ortd" is in the status file's path.
  relay_with(
      {kMaster, "/tmp/ortd.text", "/tmp/talsepci.text", "/tmp/mox.text", "/tmp/talide.text"});
  EXPECT_THAT(debug_lines(),
              ElementsAre("6 ortdv: utils: Looking for file [/opt/ortdv/tmp/moxstatus]...",
                          "6 ortdv: Generating file [/opt/ortdv/tmp/moxstatus]..."));
}

TEST_F(DebugSwitches, StatusFileSwitchesAreReportedWhenItIsFound) {
  write_file(kStatusFile, "Mox6\r\n");
  relay_with({kMaster, "/tmp/utils.text"});
  const std::vector<std::string> lines = debug_lines();
  EXPECT_THAT(
      std::vector(lines.begin(), lines.begin() + 5),
      ElementsAre("6 ortdv: utils: check if system is supported...",
                  "6 ortdv: utils: Looking for file [/opt/ortdv/tmp/moxstatus]...",
                  "6 ortdv: utils: Found file", "6 ortdv: utils: Read from file Mox status [6]",
                  "6 ortdv: utils: Detected Mox6. System IS supported..."));
}

}  // namespace
