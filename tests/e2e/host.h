// SPDX-License-Identifier: Apache-2.0
// The fixture of the end-to-end tests: a whole host around the unmodified
// daemon. Every test runs alone in a sandbox of its own (tests/e2e/in_sandbox),
// whose file system, addresses and process numbers it may change at will.
//
// The test's process is everything but the daemon: it owns the system log's
// socket and the receivers' ports, and plays the BMC and the host agents. It is
// single-threaded; all of it moves in run_until(), and nothing else waits:
//
//   start_relay();                                  // all gates passed, connected
//   event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=100");
//   ASSERT_TRUE(run_until([&] { return receiver.count() == 1; }));
//   EXPECT_EQ(receiver.traps()[0], "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @100");
//
// The daemon's sleeps take no time and are lines of the log ("clock: sleep 10");
// its polls take a fraction of theirs, chosen by the test. That something does
// not happen is shown by what happens after it, never by waiting.
//
// At the end a daemon that still runs is stopped the way an operator stops it,
// and every process must have left without a sanitizer's complaint.
#ifndef TVUREV_TESTS_E2E_HOST_H_
#define TVUREV_TESTS_E2E_HOST_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/scenario.h"
#include "lab/sim/simulator.h"
#include "lab/supervisor/child.h"
#include "lab/supervisor/local_client.h"
#include "lab/supervisor/syslog_socket.h"
#include "lab/supervisor/trap_receiver.h"
#include "tests/e2e/process.h"
#include "tests/support/packets.h"

// Marker files.
inline constexpr const char* kRunningFile = "/opt/ortdv/tmp/tvurevrunning.text";
inline constexpr const char* kBmcStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
inline constexpr const char* kOrtStopFile = "/opt/ortdv/tmp/tvurevortstop.text";
inline constexpr const char* kRestartFile = "/opt/ortdv/tmp/tvurevrestart.text";
inline constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";
inline constexpr const char* kSnmpFile = "/etc/vmware/snmp.xml";

// While it exists, no sleep of the daemon ends.
inline constexpr const char* kHoldFile = "/tmp/hold";

// Log lines that mark a state.
inline constexpr const char* kModeOffLine = "6 ortdv: tvurev:  Reverse TVU disabled.";
inline constexpr const char* kFirmwareLine = "6 ortdv: Mox6: 2.10 (2025/4/23)";
inline constexpr const char* kSupportedLine = "6 ortdv: tvurev:  Supported Ryn11 server detected.";
inline constexpr const char* kRestartingLine =
    "6 ortdv: tvurev: Detected TVUREV enable/disable. Restarting tvurev ....";
inline constexpr const char* kConnectedLine = "6 ortdv: [tvud]: BMC Reverse Proxy Connected.";
inline constexpr const char* kClientLine = "6 ortdv: [tvud]: TVU Reverse Proxy Connected.";

// How the daemon is started.
struct Settings {
  // Poll timeouts are divided by it: the loops look at their stop files ten
  // times a second, and the BMC still has half a minute to answer. 0, not to
  // wait at all, is for a BMC that plays dead.
  int poll_divisor = 10;
  // Which waits are written to the log: of "sleep,usleep,poll".
  std::string record = "sleep";
  // Descriptors, from 3 up, that whoever started it left open.
  int extra_descriptors = 0;
  // A command line, which it ignores.
  std::vector<std::string> arguments = {};
};

class Host : public testing::Test {
 protected:
  Host();
  void SetUp() override;
  void TearDown() override;

  void start_daemon(const Settings& settings = {});

  // Starts the daemon and goes on until it is connected to the BMC and waits
  // for host agents.
  void start_relay(const Settings& settings = {});

  // Moves everything until done() is true. False once the test's time is over
  // or after a fatal failure.
  testing::AssertionResult run_until(const std::function<bool()>& done);

  // Until the daemon's first process has ended. Returns its exit status, 128
  // and more for a signal, -1 when it does not end.
  int run_until_exit();

  // Until a line was logged so many times.
  testing::AssertionResult run_until_logged(std::string_view line, size_t times = 1);

  // Until the receiver has so many traps.
  testing::AssertionResult run_until_traps(size_t count);

  // Both of these.
  int run_daemon(const Settings& settings = {});

  // Has the BMC send a notification; whether it arrives as one trap more.
  testing::AssertionResult relays();

  // One event of the BMC, in the words of scenario files (man/mox-sim.1).
  void event(const std::string& line);

  // Any bytes as one packet of the BMC.
  void push(const Bytes& packet);
  // A notification's PDU in its packet.
  void push_notify(const Bytes& pdu);

  // Does this when the host's first packet of a kind has come, before the BMC
  // answers it. Several wait side by side.
  void on_first(PacketKind kind, const std::function<void()>& action);

  // The lines of the log so far, of every process (after the first ones) or of
  // one; waits too.
  std::vector<std::string> log(size_t after = 0) const;
  std::vector<std::string> log_of(pid_t pid) const;
  size_t times_logged(std::string_view line) const;
  bool logged(std::string_view line) const { return times_logged(line) > 0; }
  // The lines that start with this.
  std::vector<std::string> log_starting(std::string_view start) const;

  // What the BMC saw, one line each (describe() of the simulator).
  std::vector<std::string> bmc_history() const;
  // The packets of a kind that the host sent.
  std::vector<Bytes> received(PacketKind kind) const;
  std::vector<std::string> hex_received(PacketKind kind) const;

  // The daemon's child that serves host agents, known after start_relay().
  pid_t socket_proxy() const { return socket_proxy_; }
  // Reaps a process that the daemon left behind; only after the daemon ended.
  int exit_status(pid_t orphan);

  static LocalClient connected_client();

  // Leaves the daemon to be killed: its state knows no stop request.
  void do_not_stop() { stop_at_end_ = false; }

  Simulator bmc;
  TrapReceiver receiver;        // 192.0.2.7, community public
  TrapReceiver other_receiver;  // 198.51.100.9, community ops
  Child daemon;

 private:
  void pump(int timeout_ms);
  void stop_in_order();
  void report_sanitizers();
  void print_everything();

  SyslogSocket syslog_;
  std::chrono::steady_clock::time_point deadline_;
  pid_t socket_proxy_ = -1;
  bool stop_at_end_ = true;
};

// Files of the sandbox.
bool exists(const std::string& path);
void touch(const std::string& path);
std::string read_file(const std::string& path);
void write_file(const std::string& path, std::string_view text);
// The host's SNMP settings with this text between the targets tags.
void write_targets(std::string_view targets);
// The commands that the host was told to run: "reboot ", "localcli network ...".
std::vector<std::string> host_commands();

#endif  // TVUREV_TESTS_E2E_HOST_H_
