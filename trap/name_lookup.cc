// SPDX-License-Identifier: Apache-2.0
#include "trap/name_lookup.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "base/clock.h"
#include "base/descriptor.h"
#include "base/text.h"

namespace {

constexpr int kPatienceMs = 1'000;
// Ends a child whose parent was killed and so cannot end it.
constexpr unsigned kChildLifeSeconds = 5;

// What the child says: one write, which a pipe never splits.
struct Answer {
  int result;  // of getaddrinfo
  int error;   // errno, where the result is EAI_SYSTEM
  in_addr address;
};

Answer ask_resolver(const char* name) {
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* found = nullptr;
  Answer answer = {
      .result = getaddrinfo(name, nullptr, &hints, &found), .error = errno, .address = {}};
  if (answer.result == 0) {
    sockaddr_in address = {};
    memcpy(&address, found->ai_addr, sizeof address);
    answer.address = address.sin_addr;
    freeaddrinfo(found);
  }
  return answer;
}

[[noreturn]] void run_child(const char* name, int pipe_end) {
  alarm(kChildLifeSeconds);
  const Answer answer = ask_resolver(name);
  const ssize_t written = write(pipe_end, &answer, sizeof answer);
  _exit(written == sizeof answer ? 0 : 1);
}

// False, with errno, when none came in time; errno 0 when the child ended without.
bool receive_answer(int pipe_end, Answer& answer) {
  const int64_t deadline = monotonic_ms() + kPatienceMs;
  while (true) {
    const int64_t left = deadline - monotonic_ms();
    if (left <= 0) {
      errno = ETIMEDOUT;
      return false;
    }
    pollfd entry = {.fd = pipe_end, .events = POLLIN, .revents = 0};
    const int ready = poll(&entry, 1, static_cast<int>(left));
    if (ready > 0) {
      errno = 0;
      return read(pipe_end, &answer, sizeof answer) == sizeof answer;
    }
    if (ready < 0 && errno != EINTR) {
      return false;
    }
  }
}

// Killed whether it answered or not: reaping it must not wait for it.
void end_child(pid_t child) {
  kill(child, SIGKILL);
  while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

LookupResult failure(LookupStatus status, const char* why) {
  LookupResult result;
  result.status = status;
  copy_text(result.why, why);
  return result;
}

LookupResult no_answer(int error) {
  if (error == ETIMEDOUT) {
    return failure(LookupStatus::kFailed, "no answer within a second");
  }
  return failure(LookupStatus::kFailed,
                 error == 0 ? "the look-up ended without an answer" : strerror(error));
}

LookupResult result_of(const Answer& answer) {
  switch (answer.result) {
    case 0: {
      LookupResult result;
      result.status = LookupStatus::kFound;
      result.address = answer.address;
      return result;
    }
    case EAI_NONAME:
    case EAI_NODATA:
      return failure(LookupStatus::kUnknown, gai_strerror(answer.result));
    case EAI_SYSTEM:
      return failure(LookupStatus::kFailed, strerror(answer.error));
    default:
      return failure(LookupStatus::kFailed, gai_strerror(answer.result));
  }
}

}  // namespace

LookupResult look_up_name(const char* name) {
  std::array<int, 2> ends = {-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    return no_answer(errno);
  }
  const Descriptor reading(ends[0]);
  Descriptor writing(ends[1]);
  const pid_t child = fork();
  if (child < 0) {
    return no_answer(errno);
  }
  if (child == 0) {
    run_child(name, writing.get());
  }
  writing.reset();  // so that the child's end is seen
  Answer answer = {};
  const bool answered = receive_answer(reading.get(), answer);
  const int error = errno;
  end_child(child);
  return answered ? result_of(answer) : no_answer(error);
}
