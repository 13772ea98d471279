// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/rows.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>

#include "tests/bench/agentx_client.h"
#include "tests/bench/notification.h"
#include "wire/agentx.h"
#include "wire/chif.h"

namespace {

constexpr const char* kDaemon = "/sbin/tvurev";
constexpr const char* kAgentSocket = "/opt/ortdv/sockets/agentx/tvud";
constexpr const char* kHostSettings = "/etc/vmware/snmp.xml";
constexpr std::chrono::seconds kPatience(30);

std::string work_file(const std::string& name) {
  return std::string(kWorkFolder) + "/" + name;
}

std::string counter_file(const std::string& program) {
  return work_file("allocations." + program);
}

// The program as it is to be run, with what counts put around it.
Program wrapped(const Stage& stage, const std::string& name, Program program,
                const std::string& preload = "") {
  std::string libraries = preload;
  if (stage.under == Under::kAllocationCounter) {
    write_file(counter_file(name), std::string(sizeof(uint64_t), '\0'));
    program.environment.push_back("BENCH_ALLOCATIONS=" + counter_file(name));
    libraries += std::string(libraries.empty() ? "" : ":") + BENCH_ALLOCATION_COUNTER;
  }
  if (stage.under == Under::kCallgrind) {
    const std::vector<std::string> valgrind = {"valgrind", "--tool=callgrind",
                                               "--callgrind-out-file=/dev/null",
                                               "--log-file=" + work_file("callgrind.%p")};
    program.arguments.insert(program.arguments.begin(), valgrind.begin(), valgrind.end());
  }
  if (!libraries.empty()) {
    program.environment.push_back("LD_PRELOAD=" + libraries);
  }
  return program;
}

// Both ends give up after ten seconds, so that nothing hangs.
void set_patience(int fd) {
  const timeval patience = {10, 0};
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
}

// A program that takes its stream as descriptor 0.
void start_stream_row(Stage& stage, const std::string& name, const std::string& key,
                      const char* path) {
  std::array<int, 2> ends = {};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    fail_with_errno("cannot make a socket pair");
  }
  stage.descriptors.emplace_back(ends[0]);
  const Descriptor theirs(ends[1]);
  set_patience(ends[0]);
  Program program = {.arguments = {path, kAgentAddress}, .input = theirs.get()};
  for (int index = 0; index < stage.receivers; ++index) {
    program.arguments.push_back(receiver_address(index));
  }
  stage.processes.push_back(start(wrapped(stage, key, program)));
  stage.rows.push_back({.name = name, .pid = stage.processes.back(), .input = ends[0]});
}

void write_host_settings(int receivers) {
  std::string targets;
  for (int index = 0; index < receivers; ++index) {
    targets += (index == 0 ? "" : ";") + receiver_address(index) + "@162 public";
  }
  write_file(kHostSettings,
             "<config>\n<enable>true</enable>\n<targets>" + targets + "</targets>\n</config>\n");
}

int connect_to(Stage& stage, const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  for (const auto give_up = Clock::now() + kPatience; Clock::now() < give_up; usleep(1'000)) {
    Descriptor fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      set_patience(fd.get());
      stage.descriptors.push_back(std::move(fd));
      return stage.descriptors.back().get();
    }
    stage.stations.drain_log();
  }
  throw MeasurementFailed("nobody listens at " + path);
}

// The daemon's two processes are two rows.
void start_daemon_rows(Stage& stage) {
  const pid_t daemon = start_daemon(stage, false);
  stage.stations.await_line("BMC Reverse channel is");
  const int agent = connect_to(stage, kAgentSocket);
  stage.stations.await_line("TVU Reverse Proxy Connected");
  const std::vector<pid_t> children = children_of(daemon);
  if (children.empty()) {
    throw MeasurementFailed("the daemon has no socket proxy");
  }
  stage.processes.push_back(children.front());
  const int channel = stage.bmc.find_channel(stage.bmc.session_channel())->client.get();
  stage.rows.push_back(
      {.name = "tvurev, agent socket", .pid = children.front(), .input = agent, .ours = true});
  stage.rows.push_back({.name = "tvurev, BMC channel",
                        .road = Road::kChannel,
                        .pid = daemon,
                        .input = channel,
                        .ours = true});
}

// Net-SNMP's agent as AgentX master.
void start_snmpd(Stage& stage, const std::string& name, const std::string& key,
                 const std::vector<std::string>& log_options) {
  const std::string socket_path = work_file("agentx-" + key);
  const std::string settings_path = work_file("snmpd-" + key + ".conf");
  std::string settings =
      "master agentx\nagentXSocket " + socket_path + "\nv1trapaddress " + kAgentAddress + "\n";
  for (int index = stage.receivers; index > 0; --index) {  // it serves the last one first
    settings += "trapsink " + receiver_address(index - 1) + " public\n";
  }
  write_file(settings_path, settings);
  Program program = {.arguments = {"snmpd", "-f", "-C", "-c", settings_path, "-x", socket_path}};
  program.arguments.insert(program.arguments.end(), log_options.begin(), log_options.end());
  program.arguments.push_back("unix:" + work_file("snmpd-" + key));
  stage.processes.push_back(start(program));
  const int session_socket = connect_to(stage, socket_path);
  stage.rows.push_back(
      {.name = name,
       .road = Road::kMaster,
       .pid = stage.processes.back(),
       .input = session_socket,
       .session = open_agentx_session(session_socket, [&] { stage.stations.drain_log(); }),
       .same_duties = false});
}

}  // namespace

Stage::Stage(Stations& all, int receiver_count, Under how)
    : stations(all), receivers(receiver_count), under(how) {}

Stage::~Stage() {
  std::ranges::for_each(processes, end);
  stations.drain_log();
  stations.drain_receivers();
}

void Stage::start_relays() {
  start_stream_row(*this, "floor: the duties in C", "floor", BENCH_FLOOR);
  start_daemon_rows(*this);
  start_stream_row(*this, "libnetsnmp sessions", "sessions", BENCH_NETSNMP_SESSIONS);
}

void Stage::start_others() {
  start_snmpd(*this, "snmpd as AgentX master, no log", "quiet", {"-Ln"});
  start_snmpd(*this, "snmpd, traps in its log", "logging", {"-Lsd", "-Dtrap"});
  rows.push_back(
      {.name = "snmptrap, run for each trap", .road = Road::kProgram, .same_duties = false});
  // snmpd says nothing of a trap unless told to debug them. It greets its
  // receivers with a coldStart trap.
  usleep(200'000);
  stations.drain_receivers();
  stations.drain_log();
}

pid_t start_daemon(Stage& stage, bool skip_waits, double* milliseconds) {
  write_host_settings(stage.receivers);
  for (const char* file : {"/opt/ortdv/tmp/moxstatus", kAgentSocket}) {
    unlink(file);
  }
  if (const std::string error = stage.bmc.open_channels(); !error.empty()) {
    throw MeasurementFailed(error);
  }
  Program program = {.arguments = {kDaemon}};
  if (skip_waits) {
    program.environment.emplace_back("BENCH_SKIP_WAITS=1");
  }
  const auto started = Clock::now();
  stage.processes.push_back(start(wrapped(stage, "daemon", program, BENCH_CHANNEL)));
  const pid_t daemon = stage.processes.back();
  while (stage.bmc.received(PacketKind::kConnect) == 0) {
    stage.bmc.step(5);
    stage.stations.drain_log();
    if (Clock::now() - started > kPatience || state_of(daemon) == 'Z') {
      throw MeasurementFailed("the daemon did not connect to its BMC: " +
                              read_file(work_file("errors")));
    }
  }
  if (milliseconds != nullptr) {
    *milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - started).count();
  }
  return daemon;
}

Packet packet_for(const Row& row, int bindings) {
  if (row.road == Road::kChannel) {
    return {bindings, notification_packet(bindings), chif::notification::kPdu};
  }
  Bytes pdu = notification_pdu(bindings);
  put_u32(pdu, agentx::header::kSessionId, row.session);
  return {bindings, std::move(pdu), 0};
}

void deliver(Row& row, Packet& packet, uint32_t stamp, int receivers) {
  if (row.road == Road::kProgram) {
    for (int index = 0; index < receivers; ++index) {
      const auto arguments = snmptrap_arguments(packet.bindings, stamp, receiver_address(index));
      if (wait_for(start({.arguments = arguments}), &row.children_cpu_ns) != 0) {
        throw MeasurementFailed("snmptrap failed: " + read_file(work_file("errors")));
      }
    }
    return;
  }
  put_stamp(packet.bytes, packet.pdu_offset, stamp);
  const ssize_t sent = send(row.input, packet.bytes.data(), packet.bytes.size(), MSG_NOSIGNAL);
  if (sent != static_cast<ssize_t>(packet.bytes.size())) {
    fail_with_errno(row.name + " takes no notification");
  }
}

void take_answer(const Row& row) {
  if (row.road == Road::kMaster) {
    receive_agentx_response(row.input);
  }
}

double cpu_time(const Row& row) {
  return row.road == Road::kProgram ? row.children_cpu_ns : cpu_ns(row.pid);
}

uint64_t allocations_of(const Row& row) {
  const std::string key = row.ours                        ? "daemon"
                          : row.name.starts_with("floor") ? "floor"
                                                          : "sessions";
  const std::string bytes = read_file(counter_file(key));
  uint64_t count = 0;
  if (bytes.size() != sizeof count) {
    throw MeasurementFailed("no allocations were counted for " + row.name);
  }
  memcpy(&count, bytes.data(), sizeof count);
  return count;
}

double instructions_of(pid_t pid) {
  constexpr std::string_view kMark = "Collected : ";
  const std::string log = read_file(work_file("callgrind." + std::to_string(pid)));
  const size_t found = log.rfind(kMark);
  if (found == std::string::npos) {
    throw MeasurementFailed("callgrind counted nothing: " + log);
  }
  return std::stod(log.substr(found + kMark.size()));
}
