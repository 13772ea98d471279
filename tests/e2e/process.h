// Programs that a test starts, and what /proc tells about any process.
#ifndef TVUREV_TESTS_E2E_PROCESS_H_
#define TVUREV_TESTS_E2E_PROCESS_H_

#include <poll.h>
#include <sys/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lab/sim/channel_server.h"

// How to start a program.
struct Command {
  std::vector<std::string> arguments;    // the program's absolute path first
  std::vector<std::string> environment;  // "NAME=value"; nothing else is passed on
  int extra_descriptors = 0;             // this many more, from 3 up, are left open in it
};

// A program whose standard output and error are collected. Killed and reaped
// with the object. Nothing here blocks.
class Process {
 public:
  Process() = default;
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process() { end(); }

  void start(const Command& command);

  // Kills it, when it still runs, and reaps it.
  void end();

  void add_descriptors(std::vector<pollfd>* descriptors) const;
  // Takes what it printed, and sees whether it ended.
  void pump();

  pid_t pid() const { return pid_; }
  bool running() const { return pid_ > 0 && !status_; }
  // Once it has ended: its exit status, or 128 and the signal that killed it.
  int status() const { return status_.value_or(-1); }
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }

 private:
  void take(const OwnedFd& pipe, std::string* text) const;

  pid_t pid_ = -1;
  OwnedFd ended_;  // a pidfd
  OwnedFd out_pipe_;
  OwnedFd err_pipe_;
  std::string out_;
  std::string err_;
  std::optional<int> status_;
};

// The exit status that waitpid's word stands for, 128 and more for a signal.
int exit_status_of(int wait_status);

// The children of a process, zombies too.
std::vector<pid_t> children_of(pid_t pid);

// "R", "S", "Z" and so on as in proc(5); '\0' when there is no such process.
char state_of(pid_t pid);
bool is_alive(pid_t pid);

// What its descriptors are: "/dev/null", "socket:[4711]".
std::map<int, std::string> descriptors_of(pid_t pid);

// Resident memory.
long resident_kib(pid_t pid);

#endif  // TVUREV_TESTS_E2E_PROCESS_H_
