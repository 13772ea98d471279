// SPDX-License-Identifier: Apache-2.0
// The debug switches and the marker files that turn them on.
#include "log/debug_flags.h"

#include <gtest/gtest.h>

#include "log/log.h"
#include "tests/support/call_script.h"

namespace {

class DebugFlags : public testing::Test {
 protected:
  void SetUp() override { clear(); }
  void TearDown() override { clear(); }

  static void clear() {
    g_utilities_debug_flag = 0;
    g_daemon_debug_flag = 0;
    g_chif_dump_flag = 0;
    g_agentx_dump_flag = 0;
  }
};

TEST_F(DebugFlags, StayOffWithoutMarkerFiles) {
  CallScript script;
  InitDebugFlag();
  InitDaemonDebugFlags();
  EXPECT_EQ(g_utilities_debug_flag, 0);
  EXPECT_EQ(g_daemon_debug_flag, 0);
  EXPECT_EQ(g_chif_dump_flag, 0);
  EXPECT_EQ(g_agentx_dump_flag, 0);
}

TEST_F(DebugFlags, UtilitiesFlagLooksAtItsOwnFileOnly) {
  CallScript script;
  script.file("/tmp/ortdebug.text");
  InitDebugFlag();
  EXPECT_EQ(script.stats(), Lines({"/tmp/ortdebug.text"}));
  EXPECT_EQ(g_utilities_debug_flag, 1);
  EXPECT_EQ(g_daemon_debug_flag, 0);
}

TEST_F(DebugFlags, UtilitiesFlagIsNotClearedByASecondCall) {
  CallScript script;
  script.file("/tmp/ortdebug.text");
  InitDebugFlag();
  script.no_file("/tmp/ortdebug.text");
  InitDebugFlag();
  EXPECT_EQ(g_utilities_debug_flag, 1);
}

TEST_F(DebugFlags, DaemonFlagsLookAtTheirThreeFiles) {
  CallScript script;
  InitDaemonDebugFlags();
  EXPECT_EQ(script.stats(), Lines({"/tmp/tvud.text", "/tmp/chif.text", "/tmp/agentx.text"}));
}

struct MarkerFile {
  const char* path;
  int daemon;
  int chif;
  int agentx;
};

class DaemonMarkerFile : public DebugFlags, public testing::WithParamInterface<MarkerFile> {};

TEST_P(DaemonMarkerFile, SetsItsOwnFlagAndNoOther) {
  CallScript script;
  script.file(GetParam().path);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag, GetParam().daemon);
  EXPECT_EQ(g_chif_dump_flag, GetParam().chif);
  EXPECT_EQ(g_agentx_dump_flag, GetParam().agentx);
  EXPECT_EQ(g_utilities_debug_flag, 0);
}

TEST_P(DaemonMarkerFile, OfAnotherUserIsNoSwitch) {
  CallScript script;
  script.file(GetParam().path, 1000);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag + g_chif_dump_flag + g_agentx_dump_flag, 0);
}

TEST_P(DaemonMarkerFile, ThatAnotherUserLinkedToAFileOfRootIsNoSwitch) {
  CallScript script;
  script.link(GetParam().path, 1000);
  script.file(GetParam().path);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag + g_chif_dump_flag + g_agentx_dump_flag, 0);
}

TEST_P(DaemonMarkerFile, OfAnotherUserBehindALinkOfRootIsNoSwitch) {
  CallScript script;
  script.link(GetParam().path, 0);
  script.file(GetParam().path, 1000);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag + g_chif_dump_flag + g_agentx_dump_flag, 0);
}

TEST_P(DaemonMarkerFile, OfRootBehindALinkOfRootSetsItsFlag) {
  CallScript script;
  script.link(GetParam().path, 0);
  script.file(GetParam().path);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag + g_chif_dump_flag + g_agentx_dump_flag, 1);
}

TEST_P(DaemonMarkerFile, ThatADanglingLinkOfRootNamesIsNoSwitch) {
  CallScript script;
  script.link(GetParam().path, 0);
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag + g_chif_dump_flag + g_agentx_dump_flag, 0);
}

INSTANTIATE_TEST_SUITE_P(Files, DaemonMarkerFile,
                         testing::Values(MarkerFile{"/tmp/tvud.text", 1, 0, 0},
                                         MarkerFile{"/tmp/chif.text", 0, 1, 0},
                                         MarkerFile{"/tmp/agentx.text", 0, 0, 1}));

TEST_F(DebugFlags, DaemonFlagsAreClearedWhenTheirFilesAreGone) {
  g_daemon_debug_flag = 1;
  g_chif_dump_flag = 1;
  g_agentx_dump_flag = 1;
  CallScript script;
  InitDaemonDebugFlags();
  EXPECT_EQ(g_daemon_debug_flag, 0);
  EXPECT_EQ(g_chif_dump_flag, 0);
  EXPECT_EQ(g_agentx_dump_flag, 0);
}

TEST_F(DebugFlags, UtilitiesMarkerFileOfAnotherUserIsNoSwitch) {
  CallScript script;
  script.file("/tmp/ortdebug.text", 1000);
  InitDebugFlag();
  EXPECT_EQ(g_utilities_debug_flag, 0);
}

TEST_F(DebugFlags, ForeignDaemonMarkerFileLeavesTheDaemonSilent) {
  CallScript script;
  script.file("/tmp/tvud.text", 1);
  InitDaemonDebugFlags();
  DaemonDebug("nothing to see\n");
  EXPECT_EQ(script.log_calls(), Lines());
}

TEST_F(DebugFlags, MarkerFilesThatComeAndGoLaterChangeNothing) {
  CallScript script;
  script.file("/tmp/tvud.text");
  InitDaemonDebugFlags();
  script.no_file("/tmp/tvud.text");
  script.file("/tmp/ortdebug.text");
  script.file("/tmp/ortAll.text");
  DaemonDebug("still on\n");
  DebugLog("still off\n");
  EXPECT_EQ(script.logs(), Lines({"6 still on\n"}));
}

}  // namespace
