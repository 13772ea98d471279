// SPDX-License-Identifier: Apache-2.0
#include "ortinv/bounded_query.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;

constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// The child's process group while there is one, else 0. Written here only; read
// by the signal handler.
volatile sig_atomic_t g_group;

void end_group_and_self(int signal_number) {
  if (g_group > 0) {
    kill(-g_group, SIGKILL);
  }
  signal(signal_number, SIG_DFL);
  raise(signal_number);
}

// Has the signals end the group while it lives.
class GroupGuard {
 public:
  explicit GroupGuard(pid_t group) {
    g_group = group;
    struct sigaction action = {};
    action.sa_handler = end_group_and_self;
    for (size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaction(kEndingSignals[i], nullptr, &before_[i]);
      if (before_[i].sa_handler != SIG_IGN) {
        sigaction(kEndingSignals[i], &action, nullptr);
      }
    }
  }
  ~GroupGuard() {
    g_group = 0;
    for (size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaction(kEndingSignals[i], &before_[i], nullptr);
    }
  }
  GroupGuard(const GroupGuard&) = delete;
  GroupGuard& operator=(const GroupGuard&) = delete;

 private:
  std::array<struct sigaction, kEndingSignals.size()> before_ = {};
};

void write_all(int fd, const Bytes& bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const ssize_t written = write(fd, bytes.data() + done, bytes.size() - done);
    if (written == -1 && errno != EINTR) {
      return;
    }
    done += written > 0 ? static_cast<size_t>(written) : 0;
  }
}

Json packed(const Report& answer) {
  Json problems = Json::array();
  for (const Problem& problem : answer.problems) {
    problems.push_back({{"source", problem.source},
                        {"message", problem.message},
                        {"timed_out", problem.timed_out}});
  }
  return {{"document", answer.document},
          {"problems", problems},
          {"missing", answer.missing},
          {"warnings", answer.warnings}};
}

void merge(Json& into, const Json& from) {
  if (into.is_object() && from.is_object()) {
    for (const auto& [key, value] : from.items()) {
      merge(into[key], value);
    }
  } else if (into.is_array() && from.is_array()) {
    into.insert(into.end(), from.begin(), from.end());
  } else {
    into = from;
  }
}

void add(const Json& answer, Report& report) {
  merge(report.document, answer["document"]);
  for (const Json& problem : answer["problems"]) {
    report.add_problem(problem["source"], problem["message"], problem["timed_out"]);
  }
  for (const Json& warning : answer["warnings"]) {
    report.warnings.push_back(warning);
  }
  if (const std::string missing = answer["missing"]; !missing.empty()) {
    report.missing = missing;
  }
}

[[noreturn]] void answer_and_exit(const std::function<void(Report&)>& query, int fd) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // A command that reads the terminal or writes to it from there would be stopped.
  signal(SIGTTOU, SIG_IGN);
  if (const int null = open("/dev/null", O_RDONLY | O_CLOEXEC); null > 0) {
    dup2(null, STDIN_FILENO);
  }
  Report answer;
  try {
    query(answer);
    // The binary form, because texts of the host need not be UTF-8.
    write_all(fd, Json::to_msgpack(packed(answer)));
  } catch (const std::exception&) {
    _exit(EXIT_FAILURE);
  }
  _exit(EXIT_SUCCESS);
}

// Reads to the end; none when the deadline comes first. A timeout of poll is
// rounded up, or the last millisecond would be spent in turning round.
std::optional<Bytes> read_until(int fd, Clock::time_point deadline) {
  Bytes all;
  std::array<uint8_t, 65536> piece = {};
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      return {};
    }
    struct pollfd event = {fd, POLLIN, 0};
    if (poll(&event, 1, static_cast<int>(left)) <= 0) {
      continue;
    }
    const ssize_t length = read(fd, piece.data(), piece.size());
    if (length > 0) {
      all.insert(all.end(), piece.begin(), piece.begin() + length);
    } else if (length == 0 || errno != EINTR) {
      return all;
    }
  }
}

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) {
  }
  return status;
}

// Collects the answer of the child, which ends in any case.
bool collect(const std::string& source, Report& report, pid_t child, int fd) {
  const auto deadline = Clock::now() + std::chrono::seconds(report.timeout);
  const std::optional<Bytes> bytes = read_until(fd, deadline);
  if (!bytes.has_value()) {
    kill(-child, SIGKILL);
    kill(child, SIGKILL);  // which may not have its own group yet
    wait_for(child);
    report.add_problem(source,
                       "did not answer within " + std::to_string(report.timeout) +
                           (report.timeout == 1 ? " second" : " seconds") +
                           "; find out why it hangs, or allow more time with --timeout",
                       true);
    return false;
  }
  const int status = wait_for(child);
  const Json answer = Json::from_msgpack(*bytes, true, false);
  if (!answer.is_object()) {
    report.add_problem(source, WIFSIGNALED(status) ? "the query was ended by signal " +
                                                         std::to_string(WTERMSIG(status))
                                                   : std::string("the query failed"));
    return false;
  }
  add(answer, report);
  return true;
}

bool no_process(const std::string& source, Report& report) {
  report.add_problem(source, std::string("cannot be asked: ") + strerror(errno));
  return false;
}

}  // namespace

bool ask_in_time(const std::string& source, Report& report,
                 const std::function<void(Report&)>& query) {
  if (report.timeout == 0) {
    Report answer;
    query(answer);
    add(packed(answer), report);
    return true;
  }
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return no_process(source, report);
  }
  const auto [read_end, write_end] = ends;
  const pid_t child = fork();
  if (child == 0) {
    close(read_end);
    answer_and_exit(query, write_end);
  }
  close(write_end);
  bool answered = false;
  if (child == -1) {
    no_process(source, report);
  } else {
    setpgid(child, child);  // whoever of the two comes first
    const GroupGuard guard(child);
    answered = collect(source, report, child, read_end);
  }
  close(read_end);
  return answered;
}
