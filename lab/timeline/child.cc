#include "lab/timeline/child.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

struct Pipe {
  OwnedFd read_end;
  OwnedFd write_end;
};

bool open_pipe(Pipe* ends) {
  std::array<int, 2> fds = {};
  if (pipe2(fds.data(), O_CLOEXEC) != 0) {
    return false;
  }
  ends->read_end = OwnedFd(fds[0]);
  ends->write_end = OwnedFd(fds[1]);
  return true;
}

std::vector<char*> as_pointers(std::vector<std::string>* texts) {
  std::vector<char*> pointers;
  for (std::string& text : *texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// A group of its own, and none of the signals that the timeline holds back.
void set_attributes(posix_spawnattr_t* attributes) {
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_init(attributes);
  posix_spawnattr_setflags(attributes,
                           POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setpgroup(attributes, 0);
  posix_spawnattr_setsigmask(attributes, &none);
  posix_spawnattr_setsigdefault(attributes, &all);
}

}  // namespace

std::string start_child(Child* child, const std::string& label, std::vector<std::string> command,
                        const std::vector<std::string>& extra_environment) {
  Pipe output;
  Pipe input;
  if (!open_pipe(&output) || !open_pipe(&input)) {
    return label + ": no pipe: " + std::strerror(errno);
  }
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    environment.emplace_back(*entry);
  }
  environment.insert(environment.end(), extra_environment.begin(), extra_environment.end());

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.read_end.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.write_end.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.write_end.get(), STDERR_FILENO);
  posix_spawnattr_t attributes;
  set_attributes(&attributes);
  const int error = posix_spawnp(&child->pid, command[0].c_str(), &actions, &attributes,
                                 as_pointers(&command).data(), as_pointers(&environment).data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    child->pid = -1;
    return label + ": cannot start " + command[0] + ": " + std::strerror(error);
  }
  child->label = label;
  child->output = std::move(output.read_end);
  child->input = std::move(input.write_end);
  return "";
}

void read_lines(Child* child, const std::function<void(const std::string&)>& line) {
  std::array<char, 65536> bytes = {};
  const ssize_t length = read(child->output.get(), bytes.data(), bytes.size());
  if (length <= 0) {
    child->output.reset();
    if (!child->unfinished.empty()) {
      line(std::exchange(child->unfinished, ""));
    }
    return;
  }
  child->unfinished.append(bytes.data(), static_cast<size_t>(length));
  size_t start = 0;
  for (size_t end = 0; (end = child->unfinished.find('\n', start)) != std::string::npos;
       start = end + 1) {
    line(child->unfinished.substr(start, end - start));
  }
  child->unfinished.erase(0, start);
}

void reap(Child* child) {
  int status = 0;
  if (child->pid > 0 && !child->exit_status && waitpid(child->pid, &status, WNOHANG) > 0) {
    child->exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
}

void signal_child(const Child& child, int number) {
  if (child.pid > 0 && !child.exit_status) {
    kill(child.pid, number);
  }
}

void destroy_child(Child* child) {
  signal_child(*child, SIGKILL);
  if (child->pid > 0 && !child->exit_status) {
    waitpid(child->pid, nullptr, 0);
    child->exit_status = 128 + SIGKILL;
  }
}
