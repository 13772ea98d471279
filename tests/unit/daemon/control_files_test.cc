// SPDX-License-Identifier: Apache-2.0
// The marker files, and the wait for a restart.
#include "daemon/control_files.h"

#include <string>

#include "tests/unit/daemon/daemon_fixture.h"

namespace {

constexpr const char* kRunning = "/opt/ortdv/tmp/tvurevrunning.text";
constexpr const char* kBmcStop = "/opt/ortdv/tmp/tvurevbmcstop.text";
constexpr const char* kOrtStop = "/opt/ortdv/tmp/tvurevortstop.text";
constexpr const char* kRestart = "/opt/ortdv/tmp/tvurevrestart.text";

using ControlFiles = Daemon;

TEST_F(ControlFiles, AFileIsARequestWhoeverOwnsIt) {
  CallScript script;
  EXPECT_EQ(bmcstop_requested(), 0);
  EXPECT_EQ(ortstop_requested(), 0);
  EXPECT_EQ(running_file_exists(), 0);
  script.file(kBmcStop, 1000);
  script.file(kOrtStop, 1000);
  script.file(kRunning, 1000);
  EXPECT_EQ(bmcstop_requested(), 1);
  EXPECT_EQ(ortstop_requested(), 1);
  EXPECT_EQ(running_file_exists(), 1);
  EXPECT_EQ(script.stats(), Lines({kBmcStop, kOrtStop, kRunning, kBmcStop, kOrtStop, kRunning}));
}

TEST_F(ControlFiles, AMissingRunningFileIsMadeThroughTheShell) {
  CallScript script;
  script.runs("touch /opt/ortdv/tmp/tvurevrunning.text");
  EXPECT_TRUE(create_running_file());
}

TEST_F(ControlFiles, AnExistingRunningFileStartsNoShell) {
  CallScript script;
  script.file(kRunning);
  EXPECT_TRUE(create_running_file());
}

TEST_F(ControlFiles, AFailingTouchIsNotLogged) {
  CallScript script;
  script.popen("touch /opt/ortdv/tmp/tvurevrunning.text").fails(EAGAIN);
  EXPECT_FALSE(create_running_file());
  script.runs("touch /opt/ortdv/tmp/tvurevrunning.text").returns(256);
  EXPECT_FALSE(create_running_file());
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(ControlFiles, RequestStopMakesTheHostAgentsFileFirst) {
  CallScript script;
  script.runs("touch /opt/ortdv/tmp/tvurevortstop.text");
  script.runs("touch /opt/ortdv/tmp/tvurevbmcstop.text");
  request_stop();
}

TEST_F(ControlFiles, FilesAreRemovedAndFailuresIgnored) {
  CallScript script;
  script.unlink(kRunning).fails(EACCES);
  script.unlink(kOrtStop).fails(ENOENT);
  script.unlink(kBmcStop);
  remove_running_file();
  clear_ortstop();
  clear_bmcstop();
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(ControlFiles, WithoutARestartFileNoRestartIsRequested) {
  CallScript script;
  EXPECT_EQ(restart_requested(), 0);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(ControlFiles, ARestartFileIsLoggedAndThenRemoved) {
  CallScript script;
  script.file(kRestart);
  script.unlink(kRestart);
  EXPECT_EQ(restart_requested(), 1);
  EXPECT_EQ(script.timeline(), Lines({"6 tvurev: Detected TVUREV enable/disable. Restarting tvurev "
                                      "....\n",
                                      "unlink(\"" + std::string(kRestart) + "\")"}));
}

TEST_F(ControlFiles, ARestartFilePresentAtOnceCostsNoWait) {
  CallScript script;
  script.file(kRestart);
  script.unlink(kRestart);
  EXPECT_EQ(wait_for_restart(), 1);
  EXPECT_EQ(script.waits(), Lines());
}

TEST_F(ControlFiles, ARestartIsLookedForEvery120Seconds) {
  CallScript script;
  script.stat(kRestart).fails(ENOENT);
  script.sleep(120);
  script.stat(kRestart).fails(ENOENT);
  script.sleep(120);
  script.stat(kRestart);
  script.unlink(kRestart);
  EXPECT_EQ(wait_for_restart(), 1);
}

TEST_F(ControlFiles, ThePathsCanBeChanged) {
  const char* original = g_running_file;
  g_running_file = "/opt/elsewhere";
  CallScript script;
  script.runs("touch /opt/elsewhere");
  create_running_file();
  g_running_file = original;
}

}  // namespace
