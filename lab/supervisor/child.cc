// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/child.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "lab/sim/text.h"

namespace {

constexpr int kFirstFree = 3;

struct Pipe {
  Descriptor read_end;
  Descriptor write_end;
};

Pipe open_pipe() {
  std::array<int, 2> ends = {-1, -1};
  const bool opened = pipe2(ends.data(), O_CLOEXEC) == 0;
  return opened ? Pipe{Descriptor(ends[0]), Descriptor(ends[1])} : Pipe{};
}

std::vector<char*> as_pointers(std::vector<std::string>* texts) {
  std::vector<char*> pointers;
  for (std::string& text : *texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// Signals as they are at a login; the timeline holds some back.
void set_attributes(posix_spawnattr_t* attributes, bool own_group) {
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setflags(attributes,
                           static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                              (own_group ? POSIX_SPAWN_SETPGROUP : 0)));
  posix_spawnattr_setpgroup(attributes, 0);
  posix_spawnattr_setsigmask(attributes, &none);
  posix_spawnattr_setsigdefault(attributes, &all);
}

void set_streams(posix_spawn_file_actions_t* actions, const Program& program, int input, int out,
                 int err) {
  if (program.has_input) {
    posix_spawn_file_actions_adddup2(actions, input, STDIN_FILENO);
  } else {
    posix_spawn_file_actions_addopen(actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  posix_spawn_file_actions_adddup2(actions, out, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(actions, program.output == Program::kMerged ? out : err,
                                   STDERR_FILENO);
  posix_spawn_file_actions_addclosefrom_np(actions, kFirstFree);
  for (int i = 0; i < program.extra_descriptors; ++i) {
    posix_spawn_file_actions_addopen(actions, kFirstFree + i, "/dev/null", O_RDONLY, 0);
  }
}

void take(Descriptor* pipe, std::string* text) {
  std::array<char, 65536> bytes = {};
  ssize_t length = -1;
  while (pipe->valid() && (length = read(pipe->get(), bytes.data(), bytes.size())) > 0) {
    text->append(bytes.data(), static_cast<size_t>(length));
  }
  if (length == 0) {
    pipe->reset();
  }
}

}  // namespace

std::string Child::start(const Program& program) {
  end();
  pid_ = -1;
  status_.reset();
  out_.clear();
  err_.clear();
  Pipe in = open_pipe();
  Pipe out = open_pipe();
  Pipe err = open_pipe();
  for (const Pipe* pipe : {&out, &err}) {
    fcntl(pipe->read_end.get(), F_SETFL, O_NONBLOCK);
  }
  std::vector<std::string> arguments = program.arguments;
  std::vector<std::string> environment = program.environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    environment.emplace_back(*entry);
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (program.output != Program::kOurs) {
    set_streams(&actions, program, in.read_end.get(), out.write_end.get(), err.write_end.get());
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  set_attributes(&attributes, program.output != Program::kOurs);
  const int error = posix_spawnp(&pid_, arguments[0].c_str(), &actions, &attributes,
                                 as_pointers(&arguments).data(), as_pointers(&environment).data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    pid_ = -1;
    return arguments[0] + ": " + std::strerror(error);
  }
  ending_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  input = program.has_input ? std::move(in.write_end) : Descriptor();
  out_pipe_ = std::move(out.read_end);
  err_pipe_ = std::move(err.read_end);
  return "";
}

void Child::end() {
  signal(SIGKILL);
  int word = 0;
  if (running() && waitpid(pid_, &word, 0) == pid_) {
    status_ = exit_status_of(word);
  }
}

void Child::signal(int number) const {
  if (running()) {
    kill(pid_, number);
  }
}

void Child::add_descriptors(std::vector<pollfd>* descriptors) const {
  // poll passes over descriptors that are -1.
  descriptors->push_back({running() ? ending_.get() : -1, POLLIN, 0});
  descriptors->push_back({out_pipe_.get(), POLLIN, 0});
  descriptors->push_back({err_pipe_.get(), POLLIN, 0});
}

void Child::pump() {
  // First, so that what it printed before it ended is taken below.
  int word = 0;
  if (running() && waitpid(pid_, &word, WNOHANG) == pid_) {
    status_ = exit_status_of(word);
  }
  take(&out_pipe_, &out_);
  take(&err_pipe_, &err_);
}

std::vector<std::string> Child::take_lines() {
  if (!out_pipe_.valid() && !out_.empty() && !out_.ends_with('\n')) {
    out_ += '\n';
  }
  return cut_lines(&out_);
}

int exit_status_of(int wait_status) {
  constexpr int kSignalled = 128;
  return WIFSIGNALED(wait_status) ? kSignalled + WTERMSIG(wait_status) : WEXITSTATUS(wait_status);
}
