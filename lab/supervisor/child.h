// SPDX-License-Identifier: Apache-2.0
// A program that lab-timeline or a test runs: what it prints is collected,
// nothing here blocks, and it is killed and reaped with its object.
#ifndef TVUREV_LAB_SUPERVISOR_CHILD_H_
#define TVUREV_LAB_SUPERVISOR_CHILD_H_

#include <poll.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "base/descriptor.h"

// How to start a program.
struct Program {
  std::vector<std::string> arguments;               // its name first; without a slash, from PATH
  std::vector<std::string> environment = {};        // "NAME=value", before our own
  enum { kApart, kMerged, kOurs } output = kApart;  // kMerged: errors are output too
  bool has_input = false;                           // a pipe (Child::input); otherwise "/dev/null"
  int extra_descriptors = 0;                        // this many, from 3 up, are left open in it
};

class Child {
 public:
  Child() = default;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() { end(); }

  // Ends what ran before and starts a program, with no signal held back or
  // ignored. It gets a process group of its own, so that a terminal's Ctrl-C
  // reaches us only, unless the standard streams are ours too. Returns an empty
  // text, or "NAME: what went wrong".
  std::string start(const Program& program);

  // Kills it, when it still runs, and reaps it.
  void end();
  // Does nothing once it has ended.
  void signal(int number) const;

  void add_descriptors(std::vector<pollfd>* descriptors) const;
  // Takes what it printed, and sees whether it ended.
  void pump();

  pid_t pid() const { return pid_; }
  bool running() const { return pid_ > 0 && !status_; }
  bool ended() const { return status_.has_value(); }
  // Once it has ended: its exit status, or 128 and the signal that killed it.
  int status() const { return status_.value_or(-1); }

  // What it printed so far. take_lines() cuts the whole lines off the output,
  // and at its end also one without a line end.
  const std::string& out() const { return out_; }
  const std::string& err() const { return err_; }
  std::vector<std::string> take_lines();

  Descriptor input;  // valid with Program::has_input

 private:
  pid_t pid_ = -1;
  Descriptor ending_;  // a pidfd
  Descriptor out_pipe_;
  Descriptor err_pipe_;
  std::string out_;
  std::string err_;
  std::optional<int> status_;
};

// The exit status that waitpid's word stands for, 128 and more for a signal.
int exit_status_of(int wait_status);

#endif  // TVUREV_LAB_SUPERVISOR_CHILD_H_
