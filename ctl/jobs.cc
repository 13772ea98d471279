// SPDX-License-Identifier: Apache-2.0
#include "ctl/jobs.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include "base/clock.h"

namespace {

constexpr unsigned kLongestLifeSeconds = 30;  // of a job whose parent was killed

[[noreturn]] void run(const std::function<std::string()>& work, int pipe) {
  setpgid(0, 0);
  alarm(kLongestLifeSeconds);
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int fd = 0; fd <= 2; ++fd) {
    dup2(null, fd);  // shells complain of commands that are missing
  }
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);    // it would hold communities
  setlogmask(LOG_MASK(LOG_DEBUG));  // the daemon's code says nothing there
  const std::string text = work();
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t now = write(pipe, text.data() + written, text.size() - written);
    if (now <= 0) {
      break;
    }
    written += static_cast<size_t>(now);
  }
  _exit(written == text.size() ? 0 : 1);
}

// One that cannot die yet, within a call of a driver, is not waited for.
void give_up(Job& job) {
  kill(-job.pid, SIGKILL);
  waitpid(job.pid, nullptr, WNOHANG);
  job.end = Job::End::kLate;
  job.pipe.reset();
}

void read_some(Job& job) {
  std::array<char, 4096> bytes = {};
  const ssize_t length = read(job.pipe.get(), bytes.data(), bytes.size());
  if (length > 0) {
    job.text.append(bytes.data(), static_cast<size_t>(length));
  } else if (length == 0 || errno != EINTR) {
    // Waited for before it is killed: it has closed the pipe by leaving.
    int status = 0;
    while (waitpid(job.pid, &status, 0) < 0 && errno == EINTR) {
    }
    kill(-job.pid, SIGKILL);  // what it left behind
    const bool well = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    job.end = well ? Job::End::kAnswered : Job::End::kAborted;
    job.pipe.reset();
  }
}

}  // namespace

Job start_job(int milliseconds, const std::function<std::string()>& work) {
  Job job;
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    job.end = Job::End::kNotBegun;
    return job;
  }
  job.pipe.reset(ends[0]);
  Descriptor write_end(ends[1]);
  job.deadline_ms = monotonic_ms() + milliseconds;
  job.pid = fork();
  if (job.pid == 0) {
    run(work, write_end.get());
  }
  if (job.pid == -1) {
    job.end = Job::End::kNotBegun;
    job.pipe.reset();
    return job;
  }
  setpgid(job.pid, job.pid);  // as it does itself: whoever comes first
  return job;
}

void finish_jobs(const std::vector<Job*>& jobs) {
  while (true) {
    std::vector<pollfd> entries;
    std::vector<Job*> running;
    int64_t deadline = INT64_MAX;
    for (Job* job : jobs) {
      if (job->end == Job::End::kRunning && monotonic_ms() >= job->deadline_ms) {
        give_up(*job);
      }
      if (job->end == Job::End::kRunning) {
        entries.push_back({job->pipe.get(), POLLIN, 0});
        running.push_back(job);
        deadline = std::min(deadline, job->deadline_ms);
      }
    }
    if (running.empty()) {
      return;
    }
    const int64_t left = std::max<int64_t>(deadline - monotonic_ms(), 0);
    poll(entries.data(), entries.size(), static_cast<int>(left) + 1);
    for (size_t i = 0; i < running.size(); ++i) {
      if (entries[i].revents != 0) {
        read_some(*running[i]);
      }
    }
  }
}

std::vector<std::string> values_of(const std::string& lines, const std::string& key) {
  std::vector<std::string> values;
  for (size_t start = 0; start < lines.size();) {
    const size_t end = std::min(lines.find('\n', start), lines.size());
    if (lines.compare(start, key.size(), key) == 0 && start + key.size() < end &&
        lines[start + key.size()] == '=') {
      values.push_back(lines.substr(start + key.size() + 1, end - start - key.size() - 1));
    }
    start = end + 1;
  }
  return values;
}

std::string value_of(const std::string& lines, const std::string& key) {
  const std::vector<std::string> values = values_of(lines, key);
  return values.empty() ? std::string() : values.front();
}
