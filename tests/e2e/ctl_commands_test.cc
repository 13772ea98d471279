// SPDX-License-Identifier: Apache-2.0
// The commands of tvurevctl but check: what they do to a host and its daemon.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "tests/e2e/ctl_fixture.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kOid = "1.3.6.1.4.1.32473.1.0.9";

class CtlCommands : public CtlHost {};

TEST_F(CtlCommands, StateFilesTellWhatTheProcessesDo) {
  start_relay();
  EXPECT_THAT(read_file(kState),
              AllOf(StartsWith("pid=" + std::to_string(daemon.pid()) + "\nversion="),
                    EndsWith("host_address=192.0.2.20\nreceiver=192.0.2.7\n"
                             "receiver=198.51.100.9\nchannel=15\n")));
  EXPECT_THAT(read_file(kAgentState), HasSubstr("agent=0\n"));
  struct stat status = {};
  ASSERT_EQ(stat(kState, &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0644U);

  LocalClient agent = connected_client();
  ASSERT_TRUE(
      run_until([&] { return read_file(kAgentState).find("state=serving") != std::string::npos; }));
  EXPECT_THAT(read_file(kAgentState), HasSubstr("agent=1\n"));
  touch(kHoldFile);
  agent.hang_up();
  EXPECT_TRUE(
      run_until([&] { return read_file(kAgentState).find("state=pausing") != std::string::npos; }));
  event("reset");
  EXPECT_TRUE(
      run_until([&] { return read_file(kState).find("state=unconnected") != std::string::npos; }));
}

TEST_F(CtlCommands, StatusNamesProcessesReceiversFilesAndSwitches) {
  touch("/tmp/tvud.text");
  start_relay();
  const Told told = ctl({"status"});
  EXPECT_EQ(told.status, 0);
  EXPECT_EQ(told.last(), "tvurev is connected to the BMC on channel 15.");
  for (const char* part :
       {"waits for a host agent", "192.0.2.7", "in force", "in the settings, community ******",
        "tvurevrunning.text", "tvud", "does not run"}) {
    EXPECT_THAT(told.out, HasSubstr(part));
  }
  EXPECT_THAT(told.out, Not(HasSubstr("public")));
  EXPECT_THAT(ctl({"status", "--show-communities"}).out, HasSubstr("community public"));
}

TEST_F(CtlCommands, TestTrapGoesToEveryReceiverWithTheDaemonsCode) {
  const Told told = ctl({"test-trap", "--oid", kOid, "--text", "rack 7"});
  EXPECT_EQ(told.status, 0) << told.out << told.err;
  EXPECT_THAT(told.lines(),
              ElementsAre(AllOf(StartsWith("192.0.2.7"), EndsWith("handed to the network")),
                          AllOf(StartsWith("198.51.100.9"), EndsWith("handed to the network"))));
  ASSERT_TRUE(run_until([&] { return receiver.count() == 1 && other_receiver.count() == 1; }));
  EXPECT_THAT(receiver.traps()[0], AllOf(StartsWith("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/9 @"),
                                         HasSubstr("rack 7")));
  EXPECT_THAT(other_receiver.traps()[0], StartsWith("ops "));
  EXPECT_THAT(log(), IsEmpty());
}

TEST_F(CtlCommands, TestTrapGoesToOneReceiverOrSaysThatItIsNone) {
  EXPECT_EQ(ctl({"test-trap", "--oid", kOid, "--receiver", "198.51.100.9"}).status, 0);
  ASSERT_TRUE(run_until([&] { return other_receiver.count() == 1; }));
  EXPECT_EQ(receiver.count(), 0U);
  const Told told = ctl({"test-trap", "--oid", kOid, "--receiver", "192.0.2.99"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.last(), StartsWith("192.0.2.99 is no receiver"));
}

TEST_F(CtlCommands, TestTrapNamesTheReceiverThatItCouldNotSendTo) {
  write_targets("192.0.2.7@162 public;198.51.100.77@162 ops");
  const Told told = ctl({"test-trap", "--oid", kOid});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.lines(), Contains(AllOf(StartsWith("198.51.100.77"), HasSubstr("NOT sent"),
                                           HasSubstr("Network is unreachable"))));
  EXPECT_THAT(told.last(), HasSubstr("1 of 2 receivers"));
}

TEST_F(CtlCommands, TestTrapRefusesTheOidForDocumentation) {
  const Told told = ctl({"test-trap"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.last(), HasSubstr("--oid"));
  environment = {"TVUREVCTL_LAB=1"};
  EXPECT_EQ(ctl({"test-trap"}).status, 0);
  EXPECT_EQ(ctl({"test-trap", "--oid", "1.2.3"}).status, 2);
}

TEST_F(CtlCommands, TestTrapThroughTheDaemonTakesTheAgentsRoad) {
  start_relay();
  const Told told = ctl({"test-trap", "--oid", kOid, "--through-daemon"});
  EXPECT_EQ(told.status, 0) << told.out;
  EXPECT_THAT(told.out, AllOf(HasSubstr("30 seconds"), HasSubstr("given to the daemon")));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps()[0], HasSubstr("6/9"));
  EXPECT_EQ(log_starting(kClientLine).size(), 1U);
}

TEST_F(CtlCommands, TestTrapThroughTheDaemonDoesNotWaitForAnAgentsEnd) {
  start_relay();
  const LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_state(kAgentState, "serving"));
  const Told told = ctl({"test-trap", "--oid", kOid, "--through-daemon"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.last(), StartsWith("A host agent has the agent socket"));
}

TEST_F(CtlCommands, StopEndsBothProcessesAndLeavesNoFile) {
  start_relay();
  const Told told = ctl({"stop"});
  EXPECT_EQ(told.status, 0) << told.out;
  EXPECT_THAT(told.out, AllOf(HasSubstr("ended by its stop file"), HasSubstr("ended by SIGTERM")));
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_FALSE(is_alive(socket_proxy()));
  EXPECT_FALSE(exists(kBmcStopFile) || exists(kOrtStopFile));
  EXPECT_EQ(received(PacketKind::kBye).size(), 1U);
}

TEST_F(CtlCommands, StopAgentLeavesTheBmcRoadAlone) {
  start_relay();
  const LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_state(kAgentState, "serving"));
  EXPECT_EQ(ctl({"stop", "agent"}).status, 0);
  EXPECT_TRUE(run_until([&] { return !is_alive(socket_proxy()); }));
  EXPECT_TRUE(relays());
}

TEST_F(CtlCommands, StopKillsWhatDoesNotEndAndNamesATimer) {
  start_relay();
  touch(kHoldFile);
  event("shutdown delay=600 reason=heat");
  ASSERT_TRUE(run_until([&] { return children_of(daemon.pid()).size() == 2; }));
  std::vector<pid_t> children = children_of(daemon.pid());
  std::erase(children, socket_proxy());
  kill(socket_proxy(), SIGSTOP);
  impatient = true;
  const Told told = ctl({"stop", "agent"});
  EXPECT_EQ(told.status, 0) << told.out;
  EXPECT_THAT(told.out, AllOf(HasSubstr("killed"), HasSubstr("only the BMC may abort it")));
  EXPECT_TRUE(is_alive(children.front()));
  event("abort reason=heat");
  unlink(kHoldFile);
}

TEST_F(CtlCommands, StopOfWhatDoesNotRunIsDone) {
  const Told told = ctl({"stop", "--json"});
  EXPECT_EQ(told.status, 0);
  EXPECT_THAT(told.out, HasSubstr("\"summary\": \"Stopped.\""));
}

TEST_F(CtlCommands, RestartBringsAWaitingDaemonBack) {
  event("nvram KXHVM6=00");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  event("nvram KXHVM6=01");
  Child tool;
  ASSERT_EQ(tool.start({.arguments = {"/sbin/tvurevctl", "restart"}}), "");
  // Started again with status 1, as by a supervisor.
  EXPECT_EQ(run_until_exit(), 1);
  start_relay();
  ASSERT_TRUE(run_until([&] {
    tool.pump();
    return tool.ended();
  }));
  EXPECT_EQ(tool.status(), 0) << tool.out();
  EXPECT_THAT(tool.out(), AllOf(HasSubstr("restart file every 120 seconds"),
                                EndsWith("tvurev is back and has read its settings.\n")));
  EXPECT_FALSE(exists(kRestartFile));
}

TEST_F(CtlCommands, RestartLeavesAloneWhatWasStartedMeanwhile) {
  start_relay();
  Child tool;
  ASSERT_EQ(tool.start({.arguments = {"/sbin/tvurevctl", "restart"}}), "");
  EXPECT_EQ(run_until_exit(), 1);
  start_daemon();  // before it looks again
  ASSERT_TRUE(run_until_logged(kConnectedLine, 2));
  ASSERT_TRUE(run_until([&] {
    tool.pump();
    return tool.ended();
  }));
  EXPECT_EQ(tool.status(), 0) << tool.out();
  EXPECT_THAT(tool.out(), HasSubstr("ended by its stop file"));
  EXPECT_TRUE(relays());
}

TEST_F(CtlCommands, ModeOnWritesTheVariableAndRestarts) {
  event("nvram KXHVM6=00");
  EXPECT_EQ(ctl({"mode"}).last(), "Reverse mode is off.");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  Child tool;
  ASSERT_EQ(tool.start({.arguments = {"/sbin/tvurevctl", "mode", "on"},
                        .environment = {"LD_PRELOAD=/run/lab/libmoxshim.so",
                                        "ASAN_OPTIONS=verify_asan_link_order=0"}}),
            "");
  EXPECT_EQ(run_until_exit(), 1);
  start_relay();
  ASSERT_TRUE(run_until([&] {
    tool.pump();
    return tool.ended();
  }));
  EXPECT_EQ(tool.status(), 0);
  EXPECT_THAT(tool.out(),
              EndsWith("Reverse mode is on. tvurev is back and has read its settings.\n"));
  EXPECT_EQ(bmc.variables["KXHVM6"], Bytes{1});
}

#ifndef TVUREV_SANITIZED  // whose last look at the memory takes longer than the patience

TEST_F(CtlCommands, RestartThatNobodyCarriesOutSaysSo) {
  start_relay();
  impatient = true;
  const Told told = ctl({"restart"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.last(), HasSubstr("did not come back within 30 seconds"));
  EXPECT_TRUE(run_until([&] { return !daemon.running(); }));
}

#endif

TEST_F(CtlCommands, ColoursAreForTerminalsAndNotWhereTheyAreUnwanted) {
  const auto on_a_terminal = [](const std::string& before) {
    const std::string command =
        before + " script -qec '/sbin/tvurevctl check --no-bmc' /dev/null </dev/null >/tmp/typed";
    EXPECT_NE(system(command.c_str()), -1);
    return read_file("/tmp/typed");
  };
  EXPECT_THAT(on_a_terminal(""), HasSubstr("\x1b[32mok    \x1b[0m"));
  EXPECT_THAT(on_a_terminal("NO_COLOR=1"), AllOf(HasSubstr("ok    "), Not(HasSubstr("\x1b["))));
  EXPECT_THAT(ctl({"check", "--no-bmc"}).out, Not(HasSubstr("\x1b[")));
}

TEST_F(CtlCommands, RestartWithoutADaemonStartsNothing) {
  const Told told = ctl({"restart"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.last(), StartsWith("tvurev does not run"));
}

// A script as the supervisor's, which only notes what it was told.
TEST_F(CtlCommands, StopGoesThroughTheSupervisorWhereOneRuns) {
  std::filesystem::create_directories("/etc/init.d");
  write_file("/etc/init.d/tvurev", "#!/bin/sh\necho $1 >>/tmp/told\n");
  write_file("/tmp/tvurev-supervisor", "#!/bin/sh\nsleep 60\n");
  chmod("/etc/init.d/tvurev", 0755);
  chmod("/tmp/tvurev-supervisor", 0755);
  Child supervisor;
  ASSERT_EQ(supervisor.start({.arguments = {"/tmp/tvurev-supervisor"}}), "");
  write_file("/opt/ortdv/tmp/tvurevsupervisor.text",
             "pid=" + std::to_string(supervisor.pid()) +
                 "\nstate=pausing\nuntil=1795282382\nlast_exit=1\nlast_signal=\nstarts=4\n");
  ASSERT_TRUE(run_until([&] {
    return read_file("/proc/" + std::to_string(supervisor.pid()) + "/cmdline")
               .find("tvurev-supervisor") != std::string::npos;
  }));
  EXPECT_THAT(ctl({"check"}).line_of("daemon-not-running"),
              AllOf(HasSubstr("the last one ended with status 1, and the supervisor pauses until "
                              "2026-11-21")));
  EXPECT_EQ(ctl({"stop"}).status, 0);
  EXPECT_EQ(read_file("/tmp/told"), "stop\n");
  supervisor.end();
  EXPECT_EQ(ctl({"stop"}).status, 0);
  EXPECT_EQ(read_file("/tmp/told"), "stop\n");
}

TEST_F(CtlCommands, DebugMakesSwitchesThatCountAndNeverFollowsALink) {
  write_file("/tmp/precious", "x");
  ASSERT_EQ(symlink("/tmp/precious", "/tmp/utils.text"), 0);
  EXPECT_EQ(ctl({"debug", "on", "utils"}).status, 0);
  for (const char* path : {"/tmp/utils.text", "/tmp/ortdebug.text"}) {
    struct stat status = {};
    ASSERT_EQ(lstat(path, &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode)) << path;
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
  }
  EXPECT_EQ(read_file("/tmp/precious"), "x");
  EXPECT_THAT(ctl({"debug"}).lines(), Contains(AllOf(StartsWith("utils "), HasSubstr(" on "))));
  EXPECT_EQ(ctl({"debug", "off", "utils"}).status, 0);
  EXPECT_TRUE(exists("/tmp/ortdebug.text") && !exists("/tmp/utils.text"));
  // Another user's file is replaced.
  struct stat before = {};
  ASSERT_EQ(stat("/tmp/ortdebug.text", &before), 0);
  foreign_files = "/tmp/ortdebug.text";
  EXPECT_EQ(ctl({"debug", "on", "ortdebug"}).status, 0);
  foreign_files.clear();
  struct stat after = {};
  ASSERT_EQ(stat("/tmp/ortdebug.text", &after), 0);
  EXPECT_NE(before.st_ino, after.st_ino);
  EXPECT_EQ(ctl({"debug", "off"}).status, 0);
  EXPECT_EQ(ctl({"debug", "on"}).status, 0);
  EXPECT_TRUE(exists("/tmp/tvud.text") && exists("/tmp/ortAll.text") &&
              exists("/tmp/ortdebug.text"));
  EXPECT_EQ(ctl({"debug", "on", "nonsense"}).status, 2);
}

TEST_F(CtlCommands, ForgetRemovesAGenerationThatIsNotServed) {
  EXPECT_THAT(ctl({"forget"}).last(), StartsWith("Nothing to forget"));
  write_file(kStatusFile, "Mox6\r\n");
  EXPECT_THAT(ctl({"forget"}).last(), StartsWith("Nothing to forget"));
  EXPECT_TRUE(exists(kStatusFile));
  write_file(kStatusFile, "Mox0\r\n");
  EXPECT_EQ(ctl({"forget"}).status, 0);
  EXPECT_FALSE(exists(kStatusFile));
}

TEST_F(CtlCommands, ReportIsOneArchiveWithoutASecret) {
  write_file(kSnmpFile,
             "<enable>true</enable>\n<communities>s3cretA,s3cretB</communities>\n"
             "<!-- was 192.0.2.1@162 s3cretC -->\n<targets>192.0.2.7@162 s3cretD;\n"
             "192.0.2.8 s3cretE;192.0.2.9@162 s3cretA</targets><name>s3cretD</name>\n");
  ASSERT_EQ(mkdir("/tmp/case", 0755), 0);
  const Told told = ctl({"report", "--output", "/tmp/case"});
  EXPECT_EQ(told.status, 0) << told.err;
  EXPECT_THAT(told.out, AllOf(StartsWith("/tmp/case/tvurev-report-host-"), EndsWith(".tgz\n")));
  struct stat status = {};
  const std::string path = told.last();
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  ASSERT_EQ(system(("cd /tmp/case && tar -xzf " + path + " && cat */* >/tmp/all").c_str()), 0);
  const std::string all = read_file("/tmp/all");
  EXPECT_THAT(all, AllOf(HasSubstr("192.0.2.9@162 ******"), HasSubstr("tvurev does not run"),
                         HasSubstr("\"findings\"")));
  EXPECT_THAT(all, Not(HasSubstr("s3cret")));
}

TEST_F(CtlCommands, MistakesInTheCommandLineAreStatusTwo) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"nonsense"}, {"check", "--nonsense"}, {"stop", "all"}}) {
    const Told told = ctl(arguments);
    EXPECT_EQ(told.status, 2);
    EXPECT_THAT(told.err, StartsWith("tvurevctl: "));
    EXPECT_EQ(told.out, "");
  }
}

}  // namespace
