// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/host.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <sstream>

namespace {

// For the whole of one test. Only a failing one comes near it.
constexpr std::chrono::seconds kTestTime(90);
// Files and process states wake nobody: they are looked at this often.
constexpr int kLookMs = 5;

constexpr const char* kDaemon = "/sbin/tvurev";
constexpr const char* kShim = "/run/lab/libmoxshim.so";
constexpr const char* kHostCommands = "/var/log/host-commands.log";
constexpr const char* kSanitizerReports = "/tmp/sanitizer";

bool is_in_sandbox() {
  return getuid() == 0 && exists(kShim) && exists(kDaemon) && exists("/vmfs/devices");
}

Program daemon_program(const Settings& settings) {
  Program program = {
      .arguments = {kDaemon},
      .environment = {std::string("LD_PRELOAD=") + kShim + ":" + TEST_CLOCK,
                      "TESTCLOCK_POLL_DIVISOR=" + std::to_string(settings.poll_divisor),
                      "TESTCLOCK_RECORD=" + settings.record,
                      std::string("TESTCLOCK_HOLD=") + kHoldFile,
                      std::string("ASAN_OPTIONS=verify_asan_link_order=0:log_path=") +
                          kSanitizerReports},
      .extra_descriptors = settings.extra_descriptors};
  program.arguments.insert(program.arguments.end(), settings.arguments.begin(),
                           settings.arguments.end());
  return program;
}

}  // namespace

Host::Host() : deadline_(std::chrono::steady_clock::now() + kTestTime) {}

void Host::SetUp() {
  ASSERT_TRUE(is_in_sandbox())
      << "These tests run in a sandbox: use ctest, or tests/e2e/in_sandbox as docs/testing.md says";
  // Processes that the daemon leaves behind become ours to reap.
  ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  ASSERT_EQ(syslog_.open(), "");
  ASSERT_EQ(bmc.open_channels(), "");
  ASSERT_EQ(receiver.open("192.0.2.7"), "");
  ASSERT_EQ(other_receiver.open("198.51.100.9"), "");
}

void Host::TearDown() {
  if (stop_at_end_ && daemon.running() && !HasFailure()) {
    stop_in_order();
  }
  daemon.end();
  report_sanitizers();
  if (HasFailure()) {
    print_everything();
  }
}

void Host::start_daemon(const Settings& settings) {
  ASSERT_EQ(daemon.start(daemon_program(settings)), "");
}

void Host::start_relay(const Settings& settings) {
  start_daemon(settings);
  ASSERT_TRUE(run_until([&] {
    return !log_starting("6 ortdv: [tvud]: BMC Reverse channel is [").empty() &&
           exists(kRunningFile);
  }));
  // Of the children that it still has, the proxy was forked first.
  const std::vector<pid_t> children = children_of(daemon.pid());
  ASSERT_FALSE(children.empty());
  socket_proxy_ = *std::ranges::min_element(children);
}

void Host::pump(int timeout_ms) {
  std::vector<pollfd> descriptors = bmc.descriptors();
  for (const int fd : {syslog_.fd(), receiver.fd(), other_receiver.fd()}) {
    descriptors.push_back({fd, POLLIN, 0});
  }
  daemon.add_descriptors(&descriptors);
  poll(descriptors.data(), descriptors.size(), timeout_ms);
  // The daemon logs a trap before it sends it, and sends before it goes on.
  receiver.pump();
  other_receiver.pump();
  syslog_.pump();
  bmc.step(0);
  daemon.pump();
}

testing::AssertionResult Host::run_until(const std::function<bool()>& done) {
  while (!done()) {
    if (HasFatalFailure()) {
      return testing::AssertionFailure() << "given up after an earlier failure";
    }
    if (std::chrono::steady_clock::now() > deadline_) {
      return testing::AssertionFailure() << "still not so when the test's time was over";
    }
    pump(kLookMs);
  }
  // What came before it, on whatever road, is there by now: take that too.
  pump(0);
  return testing::AssertionSuccess();
}

int Host::run_until_exit() {
  EXPECT_TRUE(run_until([&] { return !daemon.running(); }));
  return daemon.status();
}

int Host::run_daemon(const Settings& settings) {
  start_daemon(settings);
  return run_until_exit();
}

testing::AssertionResult Host::relays() {
  const size_t before = receiver.count();
  event("notify 1.3.6.1.4.1.32473.1.0.3");
  return run_until_traps(before + 1);
}

testing::AssertionResult Host::run_until_logged(std::string_view line, size_t times) {
  return run_until([&] { return times_logged(line) >= times; }) << ": " << line;
}

testing::AssertionResult Host::run_until_traps(size_t count) {
  return run_until([&] { return receiver.count() >= count; })
         << ": " << receiver.count() << " of " << count << " traps";
}

void Host::event(const std::string& line) {
  const ParsedEvent parsed = parse_event(line);
  ASSERT_EQ(parsed.error, "") << line;
  ASSERT_TRUE(parsed.event.has_value()) << line;
  ASSERT_EQ(bmc.execute(*parsed.event), "") << line;
}

void Host::push(const Bytes& packet) {
  ASSERT_TRUE(bmc.push(bmc.session_channel(), packet));
}

void Host::push_notify(const Bytes& pdu) {
  push(ChifBuilder(0x0001).svc(13).agentx(pdu).bytes());
}

void Host::on_first(PacketKind kind, const std::function<void()>& action) {
  bmc.on_happening = [=, this, earlier = bmc.on_happening](const Happening& happening) {
    if (earlier) {
      earlier(happening);
    }
    if (happening.what == Happening::What::kReceived && classify(happening.packet) == kind &&
        bmc.received(kind) == 1) {
      action();
    }
  };
}

std::vector<std::string> Host::log(size_t after) const {
  std::vector<std::string> lines;
  std::ranges::transform(std::span(syslog_.lines()).subspan(after), std::back_inserter(lines),
                         &LogLine::text);
  return lines;
}

std::vector<std::string> Host::log_of(pid_t pid) const {
  std::vector<std::string> lines;
  for (const LogLine& line : syslog_.lines()) {
    if (line.pid == pid) {
      lines.push_back(line.text);
    }
  }
  return lines;
}

size_t Host::times_logged(std::string_view line) const {
  return static_cast<size_t>(std::ranges::count(syslog_.lines(), line, &LogLine::text));
}

std::vector<std::string> Host::log_starting(std::string_view start) const {
  std::vector<std::string> lines = log();
  std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(start); });
  return lines;
}

std::vector<std::string> Host::bmc_history() const {
  std::vector<std::string> lines;
  std::ranges::transform(bmc.history, std::back_inserter(lines), describe);
  return lines;
}

std::vector<Bytes> Host::received(PacketKind kind) const {
  std::vector<Bytes> packets;
  for (const Happening& happening : bmc.history) {
    if (happening.what == Happening::What::kReceived && classify(happening.packet) == kind) {
      packets.push_back(happening.packet);
    }
  }
  return packets;
}

std::vector<std::string> Host::hex_received(PacketKind kind) const {
  std::vector<std::string> texts;
  std::ranges::transform(received(kind), std::back_inserter(texts), hex_of);
  return texts;
}

int Host::exit_status(pid_t orphan) {
  int status = 0;
  EXPECT_TRUE(run_until([&] { return waitpid(orphan, &status, WNOHANG) == orphan; }));
  return exit_status_of(status);
}

LocalClient Host::connected_client() {
  LocalClient client;
  EXPECT_EQ(client.connect(), "");
  return client;
}

// A daemon that waits for a restart sees the restart file, one that relays the
// stop files; the socket proxy looks at its own while it has a client.
void Host::stop_in_order() {
  unlink(kHoldFile);
  event("answer any normal");
  LocalClient last_client;
  if (socket_proxy_ > 0 && is_alive(socket_proxy_)) {
    touch(kOrtStopFile);
    // Refused while the proxy leaves for the file's sake already.
    last_client.connect();
    EXPECT_TRUE(run_until([&] { return !is_alive(socket_proxy_); }))
        << "the socket proxy does not stop";
  }
  touch(kRestartFile);
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1) << "stopped by a marker file";
}

void Host::report_sanitizers() {
  for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
    if (entry.path().string().starts_with(kSanitizerReports)) {
      ADD_FAILURE() << entry.path() << ":\n" << read_file(entry.path());
    }
  }
}

void Host::print_everything() {
  std::cout << "--- log\n";
  for (const LogLine& line : syslog_.lines()) {
    std::cout << line.pid << " " << line.text << "\n";
  }
  std::cout << "--- BMC\n";
  for (const std::string& line : bmc_history()) {
    std::cout << line << "\n";
  }
  std::cout << "--- traps at 192.0.2.7\n";
  for (const std::string& trap : receiver.traps()) {
    std::cout << trap << "\n";
  }
  std::cout << "--- daemon " << daemon.pid() << ", status " << daemon.status()
            << ", standard output\n"
            << daemon.out() << "--- standard error\n"
            << daemon.err();
}

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

void touch(const std::string& path) {
  const std::ofstream file(path, std::ios::app);
  ASSERT_TRUE(file.is_open()) << path;
}

std::string read_file(const std::string& path) {
  const std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_file(const std::string& path, std::string_view text) {
  std::ofstream file(path, std::ios::trunc);
  file << text;
  ASSERT_TRUE(file.good()) << path;
}

void write_targets(std::string_view targets) {
  write_file(kSnmpFile, "<config>\n<enable>true</enable>\n<targets>" + std::string(targets) +
                            "</targets>\n</config>\n");
}

std::vector<std::string> host_commands() {
  std::istringstream text(read_file(kHostCommands));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}
