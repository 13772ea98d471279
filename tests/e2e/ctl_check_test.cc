// SPDX-License-Identifier: Apache-2.0
// "tvurevctl check": every finding played on the host, one row a play. The plays of
// a table share one host, each mended before the next, so that they cost little.
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "base/descriptor.h"
#include "ctl/findings.h"
#include "tests/e2e/ctl_fixture.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kGood = "192.0.2.7@162 public;198.51.100.9@162 ops";
constexpr const char* kDriverNode = "/vmfs/devices/zemox-d0ccb0";
constexpr const char* kChannels = "/vmfs/devices/char/vmkdriver";
constexpr const char* kSocketFolder = "/opt/ortdv/sockets/agentx";
constexpr const char* kSocket = "/opt/ortdv/sockets/agentx/tvud";
constexpr const char* kMarkers = "/opt/ortdv/tmp";
constexpr const char* kLocalcli = "/sbin/localcli";
constexpr const char* kAside = "/tmp/aside";

// How one finding comes about.
struct Play {
  const char* id;
  const char* shows;  // what its line must say
  void (*break_it)(CtlHost& host);
  void (*mend)(CtlHost& host);
  const char* options = "";
};

void nothing(CtlHost& /*host*/) {}

void move(const char* from, const char* to) {
  ASSERT_EQ(rename(from, to), 0) << from << ": " << strerror(errno);
}

void run(const std::string& command) {
  ASSERT_EQ(system(command.c_str()), 0) << command;
}

void restore_targets(CtlHost& /*host*/) {
  write_targets(kGood);
}

// Sets the text between the targets tags. A template: a play is a function.
template <typename... Lines>
void settings(Lines... lines) {
  std::string text;
  ((text += std::string(lines) + "\n"), ...);
  write_file(kSnmpFile, text);
}

void write_localcli(const std::string& body) {
  write_file(kLocalcli, "#!/bin/sh\n" + body + "\n");
}

// The simulated BMC takes a moment to be rid of what it did.
void everyone(CtlHost& host, const char* line) {
  host.event(line);
}

// A process that owns the agent socket's path.
void listen_there(Descriptor& listener) {
  std::filesystem::create_directories(kSocketFolder);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::string_view(kSocket).copy(address.sun_path, sizeof address.sun_path - 1);
  listener.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  unlink(kSocket);
  ASSERT_EQ(bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener.get(), 1), 0);
}

Descriptor g_listener;

// Without a daemon, on a host where all else is well.
constexpr std::array kWithoutADaemon = {
    Play{"daemon-not-running", "tvurev does not run.", nothing, nothing},
    Play{"driver-missing", kDriverNode, [](CtlHost&) { move(kDriverNode, kAside); },
         [](CtlHost&) { move(kAside, kDriverNode); }},
    Play{"channels-missing", "zemox-d0ccb0 to 15",
         [](CtlHost&) {
           move(kChannels, "/vmfs/devices/char/aside");
           std::filesystem::create_directory(kChannels);
         },
         [](CtlHost&) {
           rmdir(kChannels);
           move("/vmfs/devices/char/aside", kChannels);
         }},
    Play{"channels-busy", "All channels", [](CtlHost& h) { everyone(h, "occupy 0-15"); },
         [](CtlHost& h) { everyone(h, "release 0-15"); }},
    Play{"status-file-other-generation", "generation 0",
         [](CtlHost&) { write_file(kStatusFile, "Mox0\r\n"); },
         [](CtlHost&) { unlink(kStatusFile); }},
    Play{"status-file-other-owner", "is not root's",
         [](CtlHost& h) {
           write_file(kStatusFile, "Mox6\r\n");
           h.foreign_files = kStatusFile;
         },
         [](CtlHost&) { unlink(kStatusFile); }},
    Play{"status-file-unreadable", "it has no first line",
         [](CtlHost&) { std::filesystem::create_directory(kStatusFile); },
         [](CtlHost&) { rmdir(kStatusFile); }},
    Play{"bmc-not-asked", "--no-bmc", nothing, nothing, "--no-bmc"},
    Play{"bmc-silent", "does not answer", [](CtlHost& h) { everyone(h, "answer status silent"); },
         [](CtlHost& h) { everyone(h, "answer status normal"); }},
    Play{"bmc-query-failed", "refuses a query",
         [](CtlHost& h) { everyone(h, "fail write EIO times=always"); },
         [](CtlHost& h) { everyone(h, "fail write EIO times=off"); }},
    Play{"bmc-other-generation", "generation 7",
         [](CtlHost& h) { everyone(h, "bmc generation=7"); },
         [](CtlHost& h) { everyone(h, "bmc generation=6"); }},
    Play{"mode-off", "KXHVM6 is 0", [](CtlHost& h) { everyone(h, "nvram KXHVM6=00"); },
         [](CtlHost& h) { everyone(h, "nvram KXHVM6=01"); }},
    Play{"mode-missing", "no variable KXHVM6",
         [](CtlHost& h) { everyone(h, "nvram KXHVM6 absent"); },
         [](CtlHost& h) { everyone(h, "nvram KXHVM6=01"); }},
    Play{"mode-unreadable", "status 5",
         [](CtlHost& h) { everyone(h, "answer nvram-get status=5"); },
         [](CtlHost& h) { everyone(h, "answer nvram-get normal"); }},
    Play{"settings-missing", kSnmpFile, [](CtlHost&) { unlink(kSnmpFile); }, restore_targets},
    Play{"settings-unreadable", "Is a directory",
         [](CtlHost&) {
           unlink(kSnmpFile);
           std::filesystem::create_directory(kSnmpFile);
         },
         [](CtlHost& h) {
           rmdir(kSnmpFile);
           restore_targets(h);
         }},
    Play{"settings-disabled", "<enable>true",
         [](CtlHost&) { settings("<enable>false</enable>", "<targets>192.0.2.7@162 a</targets>"); },
         restore_targets},
    Play{"settings-without-targets", kSnmpFile, [](CtlHost&) { settings("<enable>true</enable>"); },
         restore_targets},
    Play{"settings-tags-apart", "one line",
         [](CtlHost&) {
           settings("<enable>true</enable>", "<targets>192.0.2.7@162 a;", "198.51.100.9@162 b",
                    "</targets>");
         },
         restore_targets},
    Play{"settings-piece-too-long", "A receiver's name in /etc/vmware/snmp.xml is longer than 32",
         [](CtlHost&) { write_targets("192.0.2.7@162 a;" + std::string(33, 'h') + "@162 b"); },
         restore_targets},
    Play{"entry-beyond-three", "203.0.113.9 is written behind three others",
         [](CtlHost&) {
           write_targets("192.0.2.7@162 a;198.51.100.9@162 b;203.0.113.5@162 c;203.0.113.9@162 d");
         },
         restore_targets},
    Play{"entry-without-at", "The entry 192.0.2.7 has no \"@\"",
         [](CtlHost&) { write_targets("192.0.2.7 s3cret;198.51.100.9@162 ops"); }, restore_targets},
    Play{"entry-without-community", "The entry 198.51.100.9 has",
         [](CtlHost&) { write_targets("192.0.2.7@162 public;198.51.100.9@162"); }, restore_targets},
    Play{"entry-port-ignored", "The port 1162 of 198.51.100.9",
         [](CtlHost&) { write_targets("192.0.2.7@162 public;198.51.100.9@1162 ops"); },
         restore_targets},
    Play{"receiver-ipv6", "2001:db8::7 is an IPv6 address",
         [](CtlHost&) { write_targets("2001:db8::7@162 public;198.51.100.9@162 ops"); },
         restore_targets},
    Play{"receiver-malformed", "300.1.1.1 is neither",
         [](CtlHost&) { write_targets("300.1.1.1@162 public;198.51.100.9@162 ops"); },
         restore_targets},
    Play{"receiver-unresolvable", "The name nobody.example does not resolve",
         [](CtlHost&) { write_targets("nobody.example@162 public;198.51.100.9@162 ops"); },
         restore_targets},
    Play{"receiver-no-route", "no route to 198.51.100.77 (Network is unreachable)",
         [](CtlHost&) { write_targets("192.0.2.7@162 public;198.51.100.77@162 ops"); },
         restore_targets},
    Play{"receiver-refused", "to UDP port 162 of 198.51.100.77 (Permission denied)",
         [](CtlHost&) {
           run("ip route add prohibit 198.51.100.77/32");
           write_targets("192.0.2.7@162 public;198.51.100.77@162 ops");
         },
         [](CtlHost& h) {
           run("ip route del prohibit 198.51.100.77/32");
           restore_targets(h);
         }},
    Play{"receiver-deaf", "Nobody listens on UDP port 162 of 203.0.113.9",
         [](CtlHost&) { write_targets("192.0.2.7@162 public;203.0.113.9@162 ops"); },
         restore_targets},
    Play{"receiver-twice", "192.0.2.7 is a receiver more than once",
         [](CtlHost&) { write_targets("192.0.2.7@162 public;192.0.2.7@162 ops"); },
         restore_targets},
    Play{"vmk0-missing", "255.255.255.255",
         [](CtlHost&) {
           move(kLocalcli, "/sbin/aside");
           write_localcli("echo title; echo rule; echo vmk1 192.0.2.21 a b c");
           chmod(kLocalcli, 0755);
         },
         [](CtlHost&) { move("/sbin/aside", kLocalcli); }},
    Play{"localcli-missing", "no command localcli",
         [](CtlHost&) { move(kLocalcli, "/sbin/aside"); },
         [](CtlHost&) { move("/sbin/aside", kLocalcli); }},
    Play{"localcli-failing", "it ends with status 3",
         [](CtlHost&) {
           move(kLocalcli, "/sbin/aside");
           write_localcli("exit 3");
           chmod(kLocalcli, 0755);
         },
         [](CtlHost&) { move("/sbin/aside", kLocalcli); }},
    Play{"folder-missing", "The folder /opt/ortdv is missing",
         [](CtlHost&) { move("/opt/ortdv", "/opt/aside"); },
         [](CtlHost&) { move("/opt/aside", "/opt/ortdv"); }},
    Play{"folder-is-a-file", "/opt/ortdv/tmp is no folder",
         [](CtlHost&) {
           move(kMarkers, "/opt/ortdv/aside");
           touch(kMarkers);
         },
         [](CtlHost&) {
           unlink(kMarkers);
           move("/opt/ortdv/aside", kMarkers);
         }},
    Play{"folder-link-dangling", "/opt/ortdv/sockets/agentx is a link to /nowhere",
         [](CtlHost&) { ASSERT_EQ(symlink("/nowhere", kSocketFolder), 0); },
         [](CtlHost&) { unlink(kSocketFolder); }},
    Play{"folder-mode", "/opt/ortdv/tmp has mode 0777", [](CtlHost&) { chmod(kMarkers, 0777); },
         [](CtlHost&) { chmod(kMarkers, 0755); }},
    Play{"folder-owner", "/opt/ortdv/tmp is not root's",
         [](CtlHost& h) { h.foreign_files = kMarkers; }, nothing},
    Play{"disk-full", "no space left under /opt/ortdv/tmp",
         [](CtlHost&) {
           ASSERT_EQ(mount("none", kMarkers, "tmpfs", 0, "size=4k,mode=755"), 0) << strerror(errno);
           write_file(std::string(kMarkers) + "/filler", std::string(4096, 'x'));
         },
         [](CtlHost&) { ASSERT_EQ(umount(kMarkers), 0); }},
    Play{"socket-without-listener", kSocket,
         [](CtlHost&) {
           listen_there(g_listener);
           g_listener.reset();
         },
         [](CtlHost&) { std::filesystem::remove_all(kSocketFolder); }},
    Play{"socket-taken", "another program's", [](CtlHost&) { listen_there(g_listener); },
         [](CtlHost&) {
           g_listener.reset();
           std::filesystem::remove_all(kSocketFolder);
         }},
    Play{"stop-file-lying", kBmcStopFile, [](CtlHost&) { touch(kBmcStopFile); },
         [](CtlHost&) { unlink(kBmcStopFile); }},
    Play{"stop-file-lying", kOrtStopFile, [](CtlHost&) { touch(kOrtStopFile); },
         [](CtlHost&) { unlink(kOrtStopFile); }},
    Play{"restart-file-lying", kRestartFile, [](CtlHost&) { touch(kRestartFile); },
         [](CtlHost&) { unlink(kRestartFile); }},
    Play{"debug-ignored", "/tmp/chif.text does not count: it shows nothing without /tmp/tvud.text",
         [](CtlHost&) { touch("/tmp/chif.text"); }, [](CtlHost&) { unlink("/tmp/chif.text"); }},
    Play{"debug-on", "tvud", [](CtlHost&) { touch("/tmp/tvud.text"); },
         [](CtlHost&) { unlink("/tmp/tvud.text"); }},
    Play{"log-missing", "/dev/log", [](CtlHost&) { move("/dev/log", "/dev/aside"); },
         [](CtlHost&) { move("/dev/aside", "/dev/log"); }},
};

void kill_relay(CtlHost& host) {
  kill(host.socket_proxy(), SIGKILL);
  ASSERT_TRUE(host.run_until([&] { return children_of(host.daemon.pid()).empty(); }));
}

void replace_in_state(const std::string& from, const std::string& to) {
  std::string text = read_file(kState);
  const size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << text;
  write_file(kState, text.replace(at, from.size(), to));
}

bool is_halted(pid_t pid) {
  return state_of(pid) == 'T';
}

void halt(CtlHost& host, pid_t pid) {
  kill(pid, SIGSTOP);
  ASSERT_TRUE(host.run_until([&] { return is_halted(pid); }));
}

LocalClient g_agent;

// Beside a daemon that is connected.
constexpr std::array kRunning = {
    Play{"daemon-halted", "halted", [](CtlHost& h) { halt(h, h.daemon.pid()); },
         [](CtlHost& h) { h.daemon.signal(SIGCONT); }},
    Play{"relay-halted", "halted", [](CtlHost& h) { halt(h, h.socket_proxy()); },
         [](CtlHost& h) { kill(h.socket_proxy(), SIGCONT); }},
    Play{"daemon-other-version", "in version 0.9.1, and " TVUREV_VERSION " is installed",
         [](CtlHost&) { replace_in_state("version=" TVUREV_VERSION, "version=0.9.1"); },
         [](CtlHost&) { replace_in_state("version=0.9.1", "version=" TVUREV_VERSION); }},
    Play{"daemon-state-unknown", "what it does cannot be seen",
         [](CtlHost&) { move(kState, kAside); }, [](CtlHost&) { move(kAside, kState); }},
    Play{"settings-changed", "In force: 192.0.2.7 and 198.51.100.9",
         [](CtlHost&) { write_targets("203.0.113.5@162 public"); }, restore_targets},
    Play{"host-address-changed",
         "192.0.2.20, as tvurev found it at its start; vmk0 has 192.0.2.21 now",
         [](CtlHost&) {
           move(kLocalcli, "/sbin/aside");
           write_localcli("echo title; echo rule; echo vmk0 192.0.2.21 a b c");
           chmod(kLocalcli, 0755);
         },
         [](CtlHost&) { move("/sbin/aside", kLocalcli); }},
    Play{"socket-missing", kSocket,
         [](CtlHost& h) {
           halt(h, h.socket_proxy());  // or it would leave
           move(kSocket, kAside);
         },
         [](CtlHost& h) {
           move(kAside, kSocket);
           kill(h.socket_proxy(), SIGCONT);
         }},
    Play{"stop-file-pending", "about to end",
         [](CtlHost& h) {
           ASSERT_EQ(g_agent.connect(), "");
           ASSERT_TRUE(h.run_until_state(kAgentState, "serving"));
           halt(h, h.socket_proxy());
           touch(kOrtStopFile);
         },
         [](CtlHost& h) {
           unlink(kOrtStopFile);
           g_agent.hang_up();
           kill(h.socket_proxy(), SIGCONT);
           ASSERT_TRUE(h.run_until_logged("clock: sleep 30"));
           ASSERT_TRUE(h.run_until_state(kAgentState, "listening"));
         }},
    Play{"shutdown-timer", "A shutdown timer runs",
         [](CtlHost& h) {
           touch(kHoldFile);
           h.event("shutdown delay=600 reason=heat");
           ASSERT_TRUE(h.run_until([&] { return children_of(h.daemon.pid()).size() == 2; }));
         },
         [](CtlHost& h) {
           h.event("abort reason=heat");
           ASSERT_TRUE(h.run_until([&] { return children_of(h.daemon.pid()).size() == 1; }));
           unlink(kHoldFile);
         }},
    Play{"relay-missing", "does not run", kill_relay, nothing},
};

// Played by tests of their own, below.
constexpr std::array<std::string_view, 10> kPlayedAlone = {
    "daemon-waiting",         "daemon-starting",    "daemon-not-connected",
    "daemon-twice",           "relay-orphaned",     "log-stalled",
    "daemon-unknown",         "settings-need-root", "receiver-not-probed",
    "receivers-none-in-force"};

class CtlCheck : public CtlHost {
 protected:
  // Where the settings were written again they count as changed until then.
  void play(const Play& play) {
    SCOPED_TRACE(play.id);
    play.break_it(*this);
    std::vector<std::string> arguments = {"check"};
    if (*play.options != '\0') {
      arguments.emplace_back(play.options);
    }
    if (!std::string_view(play.id).starts_with("receiver-")) {
      arguments.emplace_back("--no-probe");  // which waits for an answer
    }
    const Told told = ctl(arguments);
    const Row& found = row(play.id);
    const std::string line = told.line_of(play.id);
    EXPECT_THAT(line, StartsWith(std::string(name_of(found.severity)) + " ")) << told.out;
    EXPECT_THAT(line, AllOf(HasSubstr(play.shows), HasSubstr(std::string(found.remedy)))) << line;
    expect_status(found, told);
    EXPECT_THAT(told.out, Not(HasSubstr("s3cret")));
    EXPECT_EQ(told.err, "");
    foreign_files.clear();
    play.mend(*this);
  }

  void expect_status(const Row& found, const Told& told) {
    if (!daemon.running() || found.severity == Severity::kFail) {
      EXPECT_EQ(told.status, 1);
      EXPECT_THAT(told.last(), StartsWith("A trap would NOT arrive: "));
    } else if (found.severity == Severity::kUnknown) {
      EXPECT_EQ(told.status, 3);
      EXPECT_THAT(told.last(), StartsWith("Cannot tell whether a trap would arrive: "));
    } else {
      EXPECT_EQ(told.last(), "A trap would arrive at 2 of 2 receivers.");
      EXPECT_EQ(told.status, 0);
    }
  }
};

TEST_F(CtlCheck, EveryFindingIsPlayed) {
  std::set<std::string_view> played(kPlayedAlone.begin(), kPlayedAlone.end());
  for (const Play& play : kWithoutADaemon) {
    played.insert(play.id);
  }
  for (const Play& play : kRunning) {
    played.insert(play.id);
  }
  for (const Row& found : rows()) {
    EXPECT_TRUE(found.severity == Severity::kOk || played.contains(found.id)) << found.id;
  }
}

TEST_F(CtlCheck, FindsWhatKeepsADaemonFromItsStart) {
  for (const Play& each : kWithoutADaemon) {
    play(each);
  }
  EXPECT_THAT(host_commands(), Not(testing::Contains(HasSubstr("reboot"))));
  // It has asked, and left everything as it was.
  EXPECT_THAT(received(PacketKind::kNvramSet), IsEmpty());
  EXPECT_FALSE(exists(kStatusFile));
}

TEST_F(CtlCheck, FindsWhatIsWrongBesideADaemonThatRuns) {
  start_relay();
  for (const Play& each : kRunning) {
    play(each);
  }
  EXPECT_TRUE(relays());
}

TEST_F(CtlCheck, OfAHealthyHostIsOneScreenWithoutAComplaint) {
  start_relay();
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 0);
  EXPECT_EQ(told.last(), "A trap would arrive at 2 of 2 receivers.");
  EXPECT_LE(told.lines().size(), 23U);
  for (const std::string& line : told.lines()) {
    EXPECT_THAT(line, StartsWith("ok    "));
  }
  // Nobody was disturbed: no trap but the two empty datagrams, no client, and the
  // channels of the queries are free again.
  EXPECT_EQ(log_starting(kClientLine).size(), 0U);
  EXPECT_TRUE(bmc_history().back().ends_with("closed"));
  EXPECT_TRUE(relays());
}

TEST_F(CtlCheck, CountsTheEntriesWrittenAndTheReceiversReached) {
  write_targets("192.0.2.7@162 a;nobody.example@162 b;198.51.100.9@162 c;203.0.113.9@162 d");
  start_relay();
  const Told told = ctl({"check"});
  EXPECT_EQ(told.last(), "A trap would arrive at 2 of 4 receivers.");
  EXPECT_EQ(told.status, 1);
  EXPECT_NE(told.line_of("receiver-unresolvable"), "");
  EXPECT_THAT(told.line_of("entry-beyond-three"), HasSubstr("203.0.113.9"));
}

TEST_F(CtlCheck, NamesTwoFaultsAtOnce) {
  write_targets("192.0.2.7@162 public;198.51.100.77@162 ops");
  unlink(kDriverNode);
  touch("/tmp/chif.text");
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 1);
  EXPECT_EQ(told.last(),
            "A trap would NOT arrive: The BMC driver's node "
            "/vmfs/devices/zemox-d0ccb0 is missing.");
  for (const char* id :
       {"driver-missing", "receiver-no-route", "debug-ignored", "daemon-not-running"}) {
    EXPECT_NE(told.line_of(id), "") << id;
  }
}

TEST_F(CtlCheck, VerdictIsThatOfTheReceiversInForce) {
  start_relay();
  write_targets("2001:db8::7@162 public;nobody.example@162 ops");
  const Told told = ctl({"check"});
  EXPECT_EQ(told.last(), "A trap would arrive at 2 of 2 receivers.");
  EXPECT_EQ(told.status, 0);
  EXPECT_NE(told.line_of("settings-changed"), "");
}

TEST_F(CtlCheck, NamesADaemonThatFoundNoReceiverAtItsStart) {
  write_file(kSnmpFile, "<enable>true</enable>\n");
  start_relay();
  write_targets(kGood);
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.line_of("receivers-none-in-force"), StartsWith("FAIL"));
  EXPECT_THAT(told.last(), StartsWith("A trap would NOT arrive: No receiver is in force"));
}

TEST_F(CtlCheck, KnowsThatADaemonKeepsTheAddressOfItsStart) {
  start_relay();
  move(kLocalcli, "/sbin/aside");
  EXPECT_THAT(ctl({"check"}).line_of("localcli-missing"),
              AllOf(StartsWith("warn"), HasSubstr("until then they carry 192.0.2.20.")));
}

TEST_F(CtlCheck, WarnsOfAGateThatTheDaemonHasPassed) {
  start_relay();
  event("nvram KXHVM6=00");
  write_file(kStatusFile, "Mox0\r\n");
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 0);
  EXPECT_THAT(told.line_of("mode-off"), AllOf(StartsWith("warn"), HasSubstr("next start")));
  EXPECT_THAT(told.line_of("status-file-other-generation"), StartsWith("warn"));
}

TEST_F(CtlCheck, NamesADaemonThatWaitsForARestart) {
  event("nvram KXHVM6=00");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.line_of("daemon-waiting"),
              AllOf(StartsWith("FAIL"), HasSubstr("reverse mode was off when it started")));
  EXPECT_THAT(told.line_of("mode-off"), StartsWith("FAIL"));
}

TEST_F(CtlCheck, NamesADaemonThatWaitsForHostSnmp) {
  write_file(kSnmpFile, "<enable>false</enable>\n");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  EXPECT_THAT(ctl({"check"}).line_of("daemon-waiting"),
              HasSubstr("the host's SNMP agent was off when it started"));
}

TEST_F(CtlCheck, NamesADaemonThatIsStillStarting) {
  touch(kHoldFile);  // between two tries of the second gate
  event("answer nvram-get completion=1");
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 1"));
  EXPECT_THAT(ctl({"check"}).line_of("daemon-starting"), StartsWith("FAIL"));
  do_not_stop();
}

TEST_F(CtlCheck, NamesADaemonWithoutASession) {
  event("answer hello silent");
  start_daemon({.poll_divisor = 1});
  ASSERT_TRUE(run_until([&] { return !received(PacketKind::kHello).empty(); }));
  const Told told = ctl({"check"});
  EXPECT_EQ(told.status, 1);
  EXPECT_THAT(told.line_of("daemon-not-connected"),
              AllOf(StartsWith("FAIL"), HasSubstr("greeting the BMC on channel 15")));
  do_not_stop();
}

TEST_F(CtlCheck, NamesTwoDaemonsAndWhatTheyLeaveBehind) {
  start_relay();
  Child second;
  ASSERT_EQ(second.start({.arguments = {"/sbin/tvurev"},
                          .environment = {"LD_PRELOAD=/run/lab/libmoxshim.so",
                                          "ASAN_OPTIONS=verify_asan_link_order=0"}}),
            "");
  ASSERT_TRUE(run_until(
      [&] { return times_logged(kConnectedLine) == 2 && !children_of(second.pid()).empty(); }));
  EXPECT_THAT(ctl({"check"}).line_of("daemon-twice"),
              AllOf(StartsWith("warn"), HasSubstr("tvurev runs 2 times")));

  second.signal(SIGKILL);
  ASSERT_TRUE(run_until([&] {
    second.pump();
    return second.ended();
  }));
  EXPECT_THAT(ctl({"check"}).line_of("relay-orphaned"), StartsWith("warn"));
}

TEST_F(CtlCheck, NamesALogDaemonThatDoesNotRead) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::string_view("/dev/log").copy(address.sun_path, sizeof address.sun_path - 1);
  const Descriptor client(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  ASSERT_EQ(connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  while (send(client.get(), "<14>x", 5, 0) == 5) {
  }
  const Told told = ctl_alone("check --no-bmc");
  EXPECT_THAT(told.line_of("log-stalled"), StartsWith("warn")) << told.out;
}

TEST_F(CtlCheck, WaitsForNoCommandLongerThanASecond) {
  write_localcli("sleep 1000");
  const Told told = ctl({"check"});
  EXPECT_THAT(told.line_of("localcli-failing"), HasSubstr("no answer within a second"));
  EXPECT_EQ(told.status, 1);
}

TEST_F(CtlCheck, KnowsTheDaemonByItsProgramFileAlone) {
  // Called like it, but another program.
  Child impostor;
  ASSERT_EQ(impostor.start({.arguments = {"bash", "-c", "exec -a /sbin/tvurev sleep 1000"}}), "");
  EXPECT_NE(ctl({"check"}).line_of("daemon-not-running"), "");
  // And from a file that is gone.
  run("mkdir /tmp/other && cp /sbin/tvurev /tmp/other/tvurev");
  Child other;
  ASSERT_EQ(other.start({.arguments = {"/tmp/other/tvurev"},
                         .environment = {"LD_PRELOAD=/run/lab/libmoxshim.so",
                                         "ASAN_OPTIONS=verify_asan_link_order=0"}}),
            "");
  ASSERT_TRUE(run_until_state(kState, "connected"));
  ASSERT_TRUE(run_until_state(kAgentState, "listening"));
  unlink("/tmp/other/tvurev");
  const Told told = ctl({"check"});
  EXPECT_EQ(told.last(), "A trap would arrive at 2 of 2 receivers.");
  EXPECT_THAT(told.line_of("daemon-other-version"), HasSubstr("program file that was replaced"));
  EXPECT_EQ(ctl({"stop"}).status, 0);
  EXPECT_TRUE(impostor.running());
}

#ifndef TVUREV_SANITIZED  // which looks into /proc itself

TEST_F(CtlCheck, GoesByTheStateFilesWhereThereIsNoProc) {
  start_relay();
  const std::string without_proc =
      "unshare --mount sh -c 'umount -l /proc && /sbin/tvurevctl check --no-bmc' >/tmp/out 2>&1";
  EXPECT_EQ(WEXITSTATUS(system(without_proc.c_str())), 0);
  EXPECT_THAT(read_file("/tmp/out"), AllOf(HasSubstr("connected to the BMC on channel 15"),
                                           EndsWith("A trap would arrive at 2 of 2 receivers.\n")));
  write_file(kState, "pid=999999\nstate=connected\n");
  EXPECT_EQ(WEXITSTATUS(system(without_proc.c_str())), 1);
  EXPECT_THAT(read_file("/tmp/out"), HasSubstr("[daemon-not-running]"));
}

#endif

TEST_F(CtlCheck, WithoutAProbeSendsNothing) {
  start_relay();
  const Told told = ctl({"check", "--no-probe"});
  EXPECT_EQ(told.status, 0);
  EXPECT_THAT(told.out, HasSubstr("192.0.2.7 is an address; no datagram was tried.\n"));
  EXPECT_EQ(receiver.count(), 0U);
  EXPECT_EQ(other_receiver.count(), 0U);
}

TEST_F(CtlCheck, WithoutTheBmcOpensNoChannel) {
  start_relay();
  const size_t before = bmc_history().size();
  const Told told = ctl({"check", "--no-bmc"});
  EXPECT_EQ(told.last(), "A trap would arrive at 2 of 2 receivers.");
  EXPECT_EQ(bmc_history().size(), before);
}

TEST_F(CtlCheck, OfAnOrdinaryUserCannotTellButNamesWhatItSees) {
  start_relay();
  chmod(kSnmpFile, 0600);
  const char* as_user = "unshare --user --map-user=1000 /sbin/tvurevctl check >/tmp/out 2>&1";
  const int status = system(as_user);
  const Told told = {WEXITSTATUS(status), read_file("/tmp/out"), ""};
  EXPECT_EQ(told.status, 3) << told.out;
  EXPECT_EQ(told.last(),
            "Cannot tell whether a trap would arrive: only root may ask the BMC and see the "
            "processes.");
  EXPECT_THAT(told.line_of("bmc-not-asked"), HasSubstr("only root may"));

  unlink(kDriverNode);
  unlink(kState);
  const int again = system(as_user);
  EXPECT_EQ(WEXITSTATUS(again), 1) << read_file("/tmp/out");
  EXPECT_THAT(read_file("/tmp/out"), HasSubstr("[daemon-unknown]"));
}

TEST_F(CtlCheck, AThousandFindingsOfAKindAreOneLine) {
  std::string targets = "192.0.2.7@162 public";
  for (int i = 0; i < 1000; ++i) {
    targets += ";x";
  }
  write_targets(targets.substr(0, 2000));
  const Told told = ctl({"check"});
  const std::string line = told.line_of("entry-without-at");
  EXPECT_THAT(line, HasSubstr("And 989 more of this kind."));
  EXPECT_LE(told.lines().size(), 25U);
}

}  // namespace
