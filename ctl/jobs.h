// SPDX-License-Identifier: Apache-2.0
// Questions that may take long or end their process, each asked in a child process
// with a time of its own, side by side: the daemon's code waits for commands and
// name servers as it likes, and aborts on some settings. What a job logs goes
// nowhere, it leaves no core file, and all it says is the text that it returns.
#ifndef TVUREV_CTL_JOBS_H_
#define TVUREV_CTL_JOBS_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/descriptor.h"

struct Job {
  enum class End {
    kRunning,
    kAnswered,  // text has its answer
    kAborted,   // a signal of its own ended it
    kLate,      // its time was over
    kNotBegun,  // no process or pipe could be had
  };
  End end = End::kRunning;
  std::string text;

  pid_t pid = -1;
  Descriptor pipe;
  int64_t deadline_ms = 0;
};

// Starts a job that has so many milliseconds. What it does to this program's
// memory is lost.
Job start_job(int milliseconds, const std::function<std::string()>& work);

// Waits until each has ended or its time is over. A late one is killed with the
// commands that it started.
void finish_jobs(const std::vector<Job*>& jobs);

// The value behind "KEY=" in a text of lines; empty without one.
std::string value_of(const std::string& lines, const std::string& key);

// All values of a key, in their order.
std::vector<std::string> values_of(const std::string& lines, const std::string& key);

#endif  // TVUREV_CTL_JOBS_H_
