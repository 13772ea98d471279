// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <fstream>
#include <sstream>

#include "base/descriptor.h"
#include "tests/bench/stations.h"

namespace {

Descriptor open_work_file(const char* name) {
  const std::string path = std::string(kWorkFolder) + "/" + name;
  return Descriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
}

[[noreturn]] void become(const Program& program, std::vector<char*> arguments, int output,
                         int errors) {
  const Descriptor nothing(program.input == -1 ? open("/dev/null", O_RDONLY | O_CLOEXEC) : -1);
  dup2(program.input == -1 ? nothing.get() : program.input, 0);
  dup2(output, 1);
  dup2(errors, 2);
  for (const std::string& variable : program.environment) {
    const size_t equals = variable.find('=');
    setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
  }
  execvp(arguments[0], arguments.data());
  _exit(127);
}

}  // namespace

pid_t start(const Program& program) {
  std::vector<std::string> words = program.arguments;
  std::vector<char*> arguments;
  std::ranges::transform(words, std::back_inserter(arguments),
                         [](std::string& word) { return word.data(); });
  arguments.push_back(nullptr);
  const Descriptor output = open_work_file("output");
  const Descriptor errors = open_work_file("errors");
  const pid_t pid = fork();
  if (pid == 0) {
    become(program, arguments, output.get(), errors.get());
  }
  if (pid == -1) {
    fail_with_errno("cannot start " + words[0]);
  }
  return pid;
}

int wait_for(pid_t pid, double* cpu_ns) {
  int status = 0;
  rusage usage = {};
  if (wait4(pid, &status, 0, &usage) != pid) {
    fail_with_errno("cannot wait for a process");
  }
  if (cpu_ns != nullptr) {
    for (const timeval& time : {usage.ru_utime, usage.ru_stime}) {
      *cpu_ns += static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
    }
  }
  return status;
}

void end(pid_t pid) {
  if (pid > 1 && kill(pid, SIGKILL) == 0) {
    int ignored = 0;
    waitpid(pid, &ignored, 0);
  }
}

double cpu_ns(pid_t pid) {
  clockid_t clock = 0;
  timespec time = {};
  if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0) {
    throw MeasurementFailed("a program under test has ended: process " + std::to_string(pid));
  }
  return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

char state_of(pid_t pid) {
  const std::string stat = read_file("/proc/" + std::to_string(pid) + "/stat");
  const size_t after_name = stat.rfind(") ");
  return after_name == std::string::npos ? 'X' : stat[after_name + 2];
}

void wait_until_idle(pid_t pid) {
  constexpr int kLooks = 10'000;
  constexpr useconds_t kLookUs = 100;
  for (int look = 0; look < kLooks && state_of(pid) != 'S'; ++look) {
    usleep(kLookUs);
  }
}

long status_number(pid_t pid, const std::string& field) {
  std::istringstream lines(read_file("/proc/" + std::to_string(pid) + "/status"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(field + ":")) {
      return std::stol(line.substr(field.size() + 1));
    }
  }
  return -1;
}

std::vector<pid_t> children_of(pid_t pid) {
  const std::string number = std::to_string(pid);
  std::istringstream numbers(read_file("/proc/" + number + "/task/" + number + "/children"));
  std::vector<pid_t> children;
  for (pid_t child = 0; numbers >> child;) {
    children.push_back(child);
  }
  std::ranges::sort(children);
  return children;
}

std::string read_file(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::trunc);
  file << text << std::flush;
  if (!file) {
    fail_with_errno("cannot write " + path);
  }
}
