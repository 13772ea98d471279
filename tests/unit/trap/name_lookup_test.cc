// SPDX-License-Identifier: Apache-2.0
// A look-up by a real child process over a real pipe. The resolver that the child
// asks is the test's, and so are the clock and what fork and pipe2 say.
#include "trap/name_lookup.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>

namespace {

// What stands in for the machine.
struct Machine {
  // In the child.
  std::function<int(const char*, in_addr&)> resolver = [](const char*, in_addr&) {
    return EAI_NONAME;
  };
  int fork_error = 0;
  int pipe_error = 0;
  // Polls, from the first, that an interruption or a second of silence takes.
  int interrupted_polls = 0;
  bool silent = false;
  int polls = 0;
  int64_t clock_ms = 70'000;
};
Machine* machine = nullptr;

constexpr long kMsPerSecond = 1'000;
constexpr long kNsPerMs = 1'000'000;

}  // namespace

extern "C" {

int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** found);
void __wrap_freeaddrinfo(addrinfo* found);
pid_t __real_fork();
pid_t __wrap_fork();
int __real_pipe2(int* ends, int flags);
int __wrap_pipe2(int* ends, int flags);
int __real_poll(pollfd* entries, nfds_t count, int timeout);
int __wrap_poll(pollfd* entries, nfds_t count, int timeout);
int __real_clock_gettime(clockid_t clock, timespec* now);
int __wrap_clock_gettime(clockid_t clock, timespec* now);

int __wrap_getaddrinfo(const char* name, const char*, const addrinfo* hints, addrinfo** found) {
  static sockaddr_in address = {};
  static addrinfo entry = {};
  if (hints->ai_family != AF_INET) {
    return EAI_FAMILY;
  }
  address.sin_family = AF_INET;
  entry.ai_addr = reinterpret_cast<sockaddr*>(&address);
  *found = &entry;
  return machine->resolver(name, address.sin_addr);
}

void __wrap_freeaddrinfo(addrinfo*) {}

pid_t __wrap_fork() {
  if (machine != nullptr && machine->fork_error != 0) {
    errno = machine->fork_error;
    return -1;
  }
  return __real_fork();
}

int __wrap_pipe2(int* ends, int flags) {
  if (machine->pipe_error != 0) {
    errno = machine->pipe_error;
    return -1;
  }
  return __real_pipe2(ends, flags);
}

int __wrap_poll(pollfd* entries, nfds_t count, int timeout) {
  if (machine == nullptr) {
    return __real_poll(entries, count, timeout);
  }
  if (machine->polls++ < machine->interrupted_polls) {
    errno = EINTR;
    return -1;
  }
  if (machine->silent) {
    machine->clock_ms += timeout;
    return 0;
  }
  return __real_poll(entries, count, -1);
}

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  if (machine == nullptr) {
    return __real_clock_gettime(clock, now);
  }
  *now = {machine->clock_ms / kMsPerSecond, machine->clock_ms % kMsPerSecond * kNsPerMs};
  return 0;
}

}  // extern "C"

namespace {

size_t open_descriptors() {
  const std::filesystem::directory_iterator entries("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

class NameLookup : public testing::Test {
 protected:
  NameLookup() { machine = &machine_; }
  // Whatever happened: no descriptor more, and no child, dead or alive.
  ~NameLookup() override {
    EXPECT_EQ(open_descriptors(), descriptors_);
    errno = 0;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
    machine = nullptr;
  }

  static void expect_failure(const char* why) {
    const LookupResult result = look_up_name("collector.example");
    EXPECT_EQ(result.status, LookupStatus::kFailed);
    EXPECT_STREQ(result.why.data(), why);
  }

  Machine machine_;

 private:
  size_t descriptors_ = open_descriptors();
};

TEST_F(NameLookup, GivesTheFirstAddressOfTheResolver) {
  machine_.resolver = [](const char* name, in_addr& address) {
    address.s_addr = htonl(strcmp(name, "collector.example") == 0 ? 0xC0000207 : 0);
    return 0;
  };
  const LookupResult result = look_up_name("collector.example");
  EXPECT_EQ(result.status, LookupStatus::kFound);
  EXPECT_STREQ(inet_ntoa(result.address), "192.0.2.7");
  EXPECT_STREQ(result.why.data(), "");
}

TEST_F(NameLookup, KnowsANameThatDoesNotExist) {
  const LookupResult result = look_up_name("nosuchhost.invalid");
  EXPECT_EQ(result.status, LookupStatus::kUnknown);
  EXPECT_STREQ(result.why.data(), "Name or service not known");
}

TEST_F(NameLookup, KnowsANameWithoutAnAddress) {
  machine_.resolver = [](const char*, in_addr&) { return EAI_NODATA; };
  const LookupResult result = look_up_name("mail.example");
  EXPECT_EQ(result.status, LookupStatus::kUnknown);
  EXPECT_STREQ(result.why.data(), "No address associated with hostname");
}

TEST_F(NameLookup, FailsWithAResolverThatFails) {
  machine_.resolver = [](const char*, in_addr&) { return EAI_AGAIN; };
  expect_failure("Temporary failure in name resolution");
}

TEST_F(NameLookup, FailsWithTheSystemsErrorOfTheResolver) {
  machine_.resolver = [](const char*, in_addr&) {
    errno = EMFILE;
    return EAI_SYSTEM;
  };
  expect_failure("Too many open files");
}

TEST_F(NameLookup, EndsASilentResolverAfterOneSecond) {
  machine_.resolver = [](const char*, in_addr&) {
    while (true) {
      pause();
    }
    return 0;
  };
  machine_.silent = true;
  expect_failure("no answer within a second");
  EXPECT_EQ(machine_.clock_ms, 71'000);
}

TEST_F(NameLookup, GoesOnAfterAnInterruptedWait) {
  machine_.interrupted_polls = 3;
  EXPECT_EQ(look_up_name("nosuchhost.invalid").status, LookupStatus::kUnknown);
  EXPECT_EQ(machine_.polls, 4);
}

TEST_F(NameLookup, FailsWithAChildThatDies) {
  machine_.resolver = [](const char*, in_addr&) {
    raise(SIGKILL);
    return 0;
  };
  expect_failure("the look-up ended without an answer");
}

TEST_F(NameLookup, FailsWithoutAProcess) {
  machine_.fork_error = EAGAIN;
  expect_failure("Resource temporarily unavailable");
}

TEST_F(NameLookup, FailsWithoutMemoryForAProcess) {
  machine_.fork_error = ENOMEM;
  expect_failure("Cannot allocate memory");
}

TEST_F(NameLookup, FailsWithoutAPipe) {
  machine_.pipe_error = EMFILE;
  expect_failure("Too many open files");
}

}  // namespace
