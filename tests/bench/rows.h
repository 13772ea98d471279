// SPDX-License-Identifier: Apache-2.0
// The rows of the table: each a program under test that is started, handed
// notifications by its own road, and ended.
#ifndef TVUREV_TESTS_BENCH_ROWS_H_
#define TVUREV_TESTS_BENCH_ROWS_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "base/descriptor.h"
#include "lab/sim/simulator.h"
#include "tests/bench/process.h"
#include "tests/bench/stations.h"

enum class Road {
  kStream,   // the PDU on a stream socket
  kChannel,  // in a CHIF packet on the BMC's channel
  kMaster,   // the PDU in an AgentX session, answered by its master
  kProgram   // one run of snmptrap a receiver
};

struct Row {
  std::string name;
  Road road = Road::kStream;
  pid_t pid = -1;  // whose time counts; none for kProgram
  int input = -1;  // where notifications are written to
  uint32_t session = 0;
  double children_cpu_ns = 0;  // of kProgram
  bool ours = false;
  bool same_duties = true;  // same traps, one log line a receiver
  long relayed = 0;
};

// How the programs are run.
enum class Under { kNothing, kAllocationCounter, kCallgrind };

// One start of all programs with the same number of receivers. The rows' order
// is the table's; the floor is the first. All end with it.
struct Stage {
  Stations& stations;
  int receivers = 1;
  Under under = Under::kNothing;

  Simulator bmc = {};
  std::vector<Descriptor> descriptors = {};
  std::vector<pid_t> processes = {};
  std::vector<Row> rows = {};

  Stage(Stations& all, int receiver_count, Under how);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // floor, tvurev by its two roads, and the program of libnetsnmp sessions.
  void start_relays();
  // snmpd without a log and with one that tells of traps, and snmptrap.
  void start_others();
};

// Starts the daemon, and returns once the BMC has its connect request: its
// number. Takes the time from the start on.
pid_t start_daemon(Stage& stage, bool skip_waits, double* milliseconds = nullptr);

// A notification as a row takes it; put_stamp's offset is beside it.
struct Packet {
  int bindings = 0;
  Bytes bytes;
  size_t pdu_offset = 0;
};
Packet packet_for(const Row& row, int bindings);

// Hands over one notification with this stamp. For kProgram returns when all
// of it is done.
void deliver(Row& row, Packet& packet, uint32_t stamp, int receivers);

// Takes the answer that kMaster gives after its traps; nothing for the others.
void take_answer(const Row& row);

// The row's CPU time so far, in nanoseconds.
double cpu_time(const Row& row);

// Where a row's allocations are counted, and what callgrind counted for a
// process that has ended.
uint64_t allocations_of(const Row& row);
double instructions_of(pid_t pid);

#endif  // TVUREV_TESTS_BENCH_ROWS_H_
