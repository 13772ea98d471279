// SPDX-License-Identifier: Apache-2.0
// Programs under test as processes: started, looked at through /proc, ended by
// their number.
#ifndef TVUREV_TESTS_BENCH_PROCESS_H_
#define TVUREV_TESTS_BENCH_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

struct Program {
  std::vector<std::string> arguments;
  std::vector<std::string> environment = {};  // "NAME=value", beside what there is
  int input = -1;                             // becomes descriptor 0
};

// Starts a program, found by PATH, with nothing but descriptors 0 to 2; output
// and errors go to the files "output" and "errors" of the work folder. It gets
// the common scheduling policy. Fails with MeasurementFailed.
pid_t start(const Program& program);

// Waits for the process's end and returns its wait status; its CPU time in
// nanoseconds is added where asked for.
int wait_for(pid_t pid, double* cpu_ns = nullptr);

// Kills a process, if it is there, and waits until it is gone. It may be a
// grandchild: the bench adopts orphans.
void end(pid_t pid);

// CPU time so far, of all its threads, user and system, in nanoseconds.
double cpu_ns(pid_t pid);

// 'R', 'S' and so on; 'X' when the process is gone.
char state_of(pid_t pid);

// Waits until the process sleeps, a second at most.
void wait_until_idle(pid_t pid);

// A number from /proc/PID/status: "VmRSS", "voluntary_ctxt_switches",
// "TracerPid". -1 without it.
long status_number(pid_t pid, const std::string& field);

// Its children, oldest first.
std::vector<pid_t> children_of(pid_t pid);

// Where the files of the run are; exists and is the bench's own.
inline constexpr const char* kWorkFolder = "/run/bench";

std::string read_file(const std::string& path);
void write_file(const std::string& path, const std::string& text);

#endif  // TVUREV_TESTS_BENCH_PROCESS_H_
