// SPDX-License-Identifier: Apache-2.0
// The client of the host's log daemon, on real sockets: only the way to
// "/dev/log" leads to a socket of the test, and waits and the clock are the
// test's own.
#include "log/log_client.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/descriptor.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What stands in for the machine in this process.
struct Machine {
  std::string log_path;  // "" where there is no "/dev/log"
  std::vector<int> waits;
  std::function<int()> on_wait = [] { return 0; };
  long clock_ms = 5'000;
  std::vector<std::string> c_library;
};
Machine* machine = nullptr;

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

}  // namespace

extern "C" {

int __real_connect(int fd, const sockaddr* address, socklen_t length);
int __wrap_connect(int fd, const sockaddr* address, socklen_t length);
int __wrap_poll(pollfd* entries, nfds_t count, int timeout);
int __wrap_clock_gettime(clockid_t clock, timespec* now);
time_t __wrap_time(time_t* now);
void __wrap_openlog(const char* identity, int option, int facility);
void __wrap_closelog();
[[gnu::format(printf, 2, 3)]] void __wrap_syslog(int priority, const char* format, ...);
[[gnu::format(printf, 3, 4)]] void __wrap___syslog_chk(int priority, int flag, const char* format,
                                                       ...);

int __wrap_connect(int fd, const sockaddr* address, socklen_t length) {
  if (machine == nullptr) {
    return __real_connect(fd, address, length);
  }
  EXPECT_STREQ(reinterpret_cast<const sockaddr_un*>(address)->sun_path, "/dev/log");
  const sockaddr_un real = address_of(machine->log_path);
  return __real_connect(fd, reinterpret_cast<const sockaddr*>(&real), sizeof real);
}

int __wrap_poll(pollfd* entries, nfds_t, int timeout) {
  EXPECT_EQ(entries->events, POLLOUT);
  machine->waits.push_back(timeout);
  return machine->on_wait();
}

int __wrap_clock_gettime(clockid_t, timespec* now) {
  *now = {machine->clock_ms / 1'000, machine->clock_ms % 1'000 * 1'000'000};
  return 0;
}

// 2026-11-01 09:05:07 UTC
time_t __wrap_time(time_t*) {
  return 1793523907;
}

void __wrap_openlog(const char* identity, int option, int facility) {
  machine->c_library.push_back("openlog " + std::string(identity) + " " + std::to_string(option) +
                               " " + std::to_string(facility));
}
void __wrap_closelog() {
  machine->c_library.emplace_back("closelog");
}

static void note_syslog(int priority, const char* format, va_list arguments) {
  char text[256];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  vsnprintf(text, sizeof text, format, arguments);
#pragma GCC diagnostic pop
  machine->c_library.push_back("syslog " + std::to_string(priority) + " " + text);
}
void __wrap_syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  note_syslog(priority, format, arguments);
  va_end(arguments);
}
void __wrap___syslog_chk(int priority, int, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  note_syslog(priority, format, arguments);
  va_end(arguments);
}

}  // extern "C"

namespace {

class LogClient : public testing::Test {
 protected:
  LogClient() {
    setenv("TZ", "UTC", 1);
    tzset();
    char name[] = "/tmp/log-client-XXXXXX";
    directory_ = mkdtemp(name);
    machine = &machine_;
    machine_.log_path = directory_ + "/log";
  }
  ~LogClient() override {
    // The next test must not inherit a count of lost messages.
    daemon_.reset();
    listen_as(SOCK_DGRAM);
    write("settled\n");
    machine = nullptr;
    std::filesystem::remove_all(directory_);
  }

  void listen_as(int type) {
    unlink(machine_.log_path.c_str());
    daemon_.reset(socket(AF_UNIX, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(machine_.log_path);
    ASSERT_EQ(bind(daemon_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    if (type == SOCK_STREAM) {
      ASSERT_EQ(listen(daemon_.get(), 1), 0);
    }
  }

  static void write(std::string_view text) { send_to_log(LogIdentity::kOwn, LOG_INFO, text); }

  // The daemon reads one message; "" when its queue is empty.
  std::string read_one() {
    char bytes[20'000];
    const ssize_t length = recv(daemon_.get(), bytes, sizeof bytes, 0);
    return length > 0 ? std::string(bytes, static_cast<size_t>(length)) : "";
  }
  // The texts of all messages that wait, fillers left out.
  std::vector<std::string> read_texts() {
    std::vector<std::string> texts;
    for (std::string message = read_one(); !message.empty(); message = read_one()) {
      const size_t text = message.find("]: ");
      if (text != std::string::npos) {
        texts.push_back(message.substr(text + 3));
      }
    }
    return texts;
  }

  // Leaves no room in the daemon's queue.
  void fill_queue() {
    const Descriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(machine_.log_path);
    ASSERT_EQ(__real_connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              0);
    while (send(fd.get(), "x", 1, 0) == 1) {
    }
    ASSERT_EQ(errno, EAGAIN);
  }

  static std::string own(std::string_view pri, std::string_view text) {
    return "<" + std::string(pri) + ">Nov  1 09:05:07 ortdv[" + std::to_string(getpid()) +
           "]: " + std::string(text);
  }

  Machine machine_;
  std::string directory_;
  Descriptor daemon_;
};

TEST_F(LogClient, SendsTheBytesThatTheCLibraryWouldSend) {
  listen_as(SOCK_DGRAM);
  send_to_log(LogIdentity::kOwn, LOG_ERR, "failed %s\n");
  EXPECT_EQ(read_one(), own("27", "failed %s\n"));
  send_to_log(LogIdentity::kOwn, LOG_INFO, "no line end");
  EXPECT_EQ(read_one(), own("30", "no line end"));
}

TEST_F(LogClient, NamesTheProgramWhereAskedTo) {
  listen_as(SOCK_DGRAM);
  send_to_log(LogIdentity::kProgram, LOG_ALERT, "text");
  EXPECT_EQ(read_one(), "<25>Nov  1 09:05:07 " + std::string(program_invocation_short_name) + "[" +
                            std::to_string(getpid()) + "]: text");
}

TEST_F(LogClient, LeavesNoDescriptorBehindAndErrnoAlone) {
  listen_as(SOCK_DGRAM);
  const int next = dup(0);
  close(next);
  errno = EBUSY;
  write("text");
  EXPECT_EQ(errno, EBUSY);
  const int after = dup(0);
  close(after);
  EXPECT_EQ(after, next);
}

TEST_F(LogClient, KeepsToTheLogMaskOfTheProcess) {
  listen_as(SOCK_DGRAM);
  const int mask = setlogmask(LOG_UPTO(LOG_ERR));
  send_to_log(LogIdentity::kOwn, LOG_INFO, "left out");
  send_to_log(LogIdentity::kOwn, LOG_ERR, "let through");
  setlogmask(mask);
  EXPECT_THAT(read_texts(), ElementsAre("let through"));
}

TEST_F(LogClient, CutsATextThatNoDatagramHolds) {
  listen_as(SOCK_DGRAM);
  write(std::string(40'000, 'a'));
  const std::string message = read_one();
  EXPECT_EQ(message.size(), 16U * 1024);
  EXPECT_EQ(message.back(), 'a');
}

TEST_F(LogClient, AForkedChildGivesItsOwnNumber) {
  listen_as(SOCK_DGRAM);
  write("parent");
  const pid_t child = fork();
  if (child == 0) {
    write("child");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  EXPECT_EQ(read_one(), own("30", "parent"));
  EXPECT_EQ(read_one(), "<30>Nov  1 09:05:07 ortdv[" + std::to_string(child) + "]: child");
}

TEST_F(LogClient, DropsMessagesWhereThereIsNoDaemon) {
  write("lost");
  EXPECT_THAT(machine_.waits, IsEmpty());
  EXPECT_THAT(machine_.c_library, IsEmpty());
  listen_as(SOCK_DGRAM);
  write("found");
  EXPECT_THAT(read_texts(), ElementsAre("found"));
}

TEST_F(LogClient, LeavesAnotherKindOfSocketToTheCLibrary) {
  listen_as(SOCK_STREAM);
  send_to_log(LogIdentity::kOwn, LOG_ERR, "100 % full\n");
  send_to_log(LogIdentity::kProgram, LOG_ALERT, "alert\n");
  EXPECT_THAT(machine_.c_library, ElementsAre("openlog ortdv 1 24", "syslog 3 100 % full\n",
                                              "closelog", "syslog 1 alert\n", "closelog"));
}

TEST_F(LogClient, WaitsASecondForAFullQueueAndLosesTheMessage) {
  listen_as(SOCK_DGRAM);
  fill_queue();
  write("first\n");
  EXPECT_THAT(machine_.waits, ElementsAre(1'000));
}

TEST_F(LogClient, SendsAsSoonAsThereIsRoom) {
  listen_as(SOCK_DGRAM);
  fill_queue();
  machine_.on_wait = [this] {
    read_one();
    return 1;
  };
  write("patient\n");
  EXPECT_THAT(machine_.waits, ElementsAre(1'000));
  EXPECT_THAT(read_texts(), ElementsAre("patient\n"));
}

TEST_F(LogClient, WaitsOnForTheRestOfTheSecondAfterASignal) {
  listen_as(SOCK_DGRAM);
  fill_queue();
  machine_.on_wait = [this] {
    machine_.clock_ms += 400;
    errno = EINTR;
    return -1;
  };
  write("signalled\n");
  EXPECT_THAT(machine_.waits, ElementsAre(1'000, 600, 200));
}

TEST_F(LogClient, WaitsNoMoreUntilAMessageGoesThroughAndThenSaysHowManyWereLost) {
  listen_as(SOCK_DGRAM);
  fill_queue();
  write("first\n");
  write("second\n");
  write("third\n");
  EXPECT_THAT(machine_.waits, ElementsAre(1'000));
  EXPECT_THAT(read_texts(), IsEmpty());
  write("fourth\n");
  write("fifth\n");
  EXPECT_EQ(read_one(),
            own("28", "log: 3 messages were lost: the log daemon did not read them.\n"));
  EXPECT_THAT(read_texts(), ElementsAre("fourth\n", "fifth\n"));
}

TEST_F(LogClient, IsPatientAgainAfterAMessageWentThrough) {
  listen_as(SOCK_DGRAM);
  fill_queue();
  write("lost\n");
  read_texts();
  write("through\n");
  fill_queue();
  write("waited for\n");
  EXPECT_THAT(machine_.waits, ElementsAre(1'000, 1'000));
}

}  // namespace
