#include "tests/e2e/process.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr int kFirstFree = 3;

struct Pipe {
  OwnedFd read_end;
  OwnedFd write_end;
};

Pipe make_pipe() {
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return {};
  }
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  return {OwnedFd(ends[0]), OwnedFd(ends[1])};
}

std::vector<char*> pointers_to(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts) {
    pointers.push_back(const_cast<char*>(text.c_str()));
  }
  pointers.push_back(nullptr);
  return pointers;
}

// Between fork and exec.
[[noreturn]] void become(char* const* arguments, char* const* environment, int out, int err,
                         int extra_descriptors) {
  setpgid(0, 0);
  dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  syscall(SYS_close_range, kFirstFree, ~0U, 0);
  for (int i = 0; i < extra_descriptors; ++i) {
    fcntl(STDIN_FILENO, F_DUPFD, kFirstFree);
  }
  execve(arguments[0], arguments, environment);
  perror(arguments[0]);
  _exit(127);
}

std::filesystem::path proc_file(pid_t pid, const char* name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

// The words of /proc/PID/stat after the program's name, which may hold blanks.
std::vector<std::string> stat_words(pid_t pid) {
  std::ifstream file(proc_file(pid, "stat"));
  std::string line;
  std::getline(file, line);
  const size_t name_end = line.rfind(')');
  std::istringstream rest(name_end == std::string::npos ? "" : line.substr(name_end + 1));
  std::vector<std::string> words;
  for (std::string word; rest >> word;) {
    words.push_back(word);
  }
  return words;
}

// A process that ended while it was looked at has no words.
constexpr size_t kStateWord = 0;
constexpr size_t kParentWord = 1;

std::vector<pid_t> all_processes() {
  std::vector<pid_t> pids;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
    if (error == std::errc() && end == name.data() + name.size()) {
      pids.push_back(pid);
    }
  }
  return pids;
}

}  // namespace

void Process::start(const Command& command) {
  end();
  Pipe out = make_pipe();
  Pipe err = make_pipe();
  const std::vector<char*> arguments = pointers_to(command.arguments);
  const std::vector<char*> environment = pointers_to(command.environment);
  pid_ = fork();
  if (pid_ == 0) {
    become(arguments.data(), environment.data(), out.write_end.get(), err.write_end.get(),
           command.extra_descriptors);
  }
  status_.reset();
  out_.clear();
  err_.clear();
  ended_ = OwnedFd(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  out_pipe_ = std::move(out.read_end);
  err_pipe_ = std::move(err.read_end);
}

void Process::end() {
  if (running()) {
    kill(pid_, SIGKILL);
    int status = 0;
    if (waitpid(pid_, &status, 0) == pid_) {
      status_ = exit_status_of(status);
    }
  }
}

void Process::add_descriptors(std::vector<pollfd>* descriptors) const {
  if (running()) {
    descriptors->push_back({ended_.get(), POLLIN, 0});
    descriptors->push_back({out_pipe_.get(), POLLIN, 0});
    descriptors->push_back({err_pipe_.get(), POLLIN, 0});
  }
}

void Process::pump() {
  if (!running()) {
    return;
  }
  // First, so that what it printed before it ended is taken below.
  int status = 0;
  const bool ended = waitpid(pid_, &status, WNOHANG) == pid_;
  take(out_pipe_, &out_);
  take(err_pipe_, &err_);
  if (ended) {
    status_ = exit_status_of(status);
  }
}

void Process::take(const OwnedFd& pipe, std::string* text) const {
  std::array<char, 4096> buffer = {};
  for (ssize_t length = 1; length > 0;) {
    length = read(pipe.get(), buffer.data(), buffer.size());
    text->append(buffer.data(), static_cast<size_t>(std::max<ssize_t>(length, 0)));
  }
}

int exit_status_of(int wait_status) {
  constexpr int kSignalled = 128;
  return WIFSIGNALED(wait_status) ? kSignalled + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}

std::vector<pid_t> children_of(pid_t pid) {
  std::vector<pid_t> children;
  for (const pid_t other : all_processes()) {
    const std::vector<std::string> words = stat_words(other);
    if (words.size() > kParentWord && words[kParentWord] == std::to_string(pid)) {
      children.push_back(other);
    }
  }
  return children;
}

char state_of(pid_t pid) {
  const std::vector<std::string> words = stat_words(pid);
  return words.empty() ? '\0' : words[kStateWord][0];
}

bool is_alive(pid_t pid) {
  const char state = state_of(pid);
  return state != '\0' && state != 'Z' && state != 'X';
}

std::map<int, std::string> descriptors_of(pid_t pid) {
  std::map<int, std::string> descriptors;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(proc_file(pid, "fd"), error)) {
    const int number = std::stoi(entry.path().filename());
    descriptors[number] = std::filesystem::read_symlink(entry.path(), error);
  }
  return descriptors;
}

long resident_kib(pid_t pid) {
  std::ifstream file(proc_file(pid, "statm"));
  long size = 0;
  long resident = 0;
  file >> size >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}
