// SPDX-License-Identifier: Apache-2.0
// Signals and the waits that they end. Each test that is signalled runs in a
// process of its own, the flag being for a process's life.
#include "daemon/signals.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <tuple>

#include "daemon/handshake.h"
#include "daemon/shell_command.h"
#include "daemon/startup.h"
#include "tests/unit/daemon/daemon_fixture.h"

namespace {

using testing::ExitedWithCode;

using Signals = Daemon;

// What the process has seen so far, as an exit status of its own.
[[noreturn]] void exit_with(bool right) {
  exit(right ? 42 : 43);
}

using Ends = std::array<int, 2>;

pollfd entry_of(int fd) {
  return {.fd = fd, .events = POLLIN, .revents = 0};
}

std::string path_variable() {
  const char* path = getenv("PATH");
  return path == nullptr ? "unset" : path;
}

bool is_blocked(int signal) {
  sigset_t mask;
  sigprocmask(SIG_SETMASK, nullptr, &mask);
  return sigismember(&mask, signal) == 1;
}

TEST_F(Signals, AreHeldBackUntilAWait) {
  for (const int number : {SIGTERM, SIGINT}) {
    EXPECT_EXIT(
        {
          watch_signals();
          raise(number);
          const bool held_back = !end_signalled();
          pollfd entry = entry_of(-1);
          const int result = wait_for(entry, 3'600'000);
          exit_with(held_back && result == -1 && errno == EINTR && end_signalled());
        },
        ExitedWithCode(42), "");
  }
}

TEST_F(Signals, EndAPauseAndEveryPauseThatFollows) {
  EXPECT_EXIT(
      {
        watch_signals();
        raise(SIGTERM);
        const bool ended = !pause_seconds(86'400);
        exit_with(ended && !pause_seconds(86'400) && !pause_microseconds(1'000));
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, ThatMeanNothingEndNothing) {
  EXPECT_EXIT(
      {
        watch_signals();
        raise(SIGHUP);
        raise(SIGPIPE);
        raise(SIGALRM);
        exit_with(!end_signalled() && pause_microseconds(1'000));
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, ComeThroughWhileAnEntryIsAlwaysReady) {
  EXPECT_EXIT(
      {
        watch_signals();
        Ends pipe_ends = {};
        const bool piped = pipe(pipe_ends.data()) == 0 && write(pipe_ends[1], "x", 1) == 1;
        pollfd entry = entry_of(pipe_ends[0]);
        raise(SIGTERM);
        while (piped && !end_signalled()) {
          wait_for(entry, 1'000);
        }
        exit_with(piped);
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, OfAChildAreThoseOfAnyProgram) {
  EXPECT_EXIT(
      {
        watch_signals();
        restore_signals();
        raise(SIGTERM);
        _exit(43);
      },
      testing::KilledBySignal(SIGTERM), "");
}

TEST_F(Signals, AreOpenForACommandAndHeldBackAgainAfterIt) {
  EXPECT_EXIT(
      {
        watch_signals();
        bool open = false;
        {
          const OpenToSignals window;
          open = !is_blocked(SIGTERM) && !is_blocked(SIGINT);
        }
        exit_with(open && is_blocked(SIGTERM) && is_blocked(SIGINT));
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, AreHeardWhileACommandRuns) {
  for (const char* command : {"kill -TERM $PPID", "kill -INT $PPID"}) {
    EXPECT_EXIT(
        {
          watch_signals();
          exit_with(run_shell_command(command) == 0 && end_signalled());
        },
        ExitedWithCode(42), "");
  }
}

TEST_F(Signals, EndACommandThatDoesNotComeBackWithStatus0AfterTheLastAct) {
  EXPECT_EXIT(
      {
        watch_signals();
        set_last_act([] { std::ignore = write(STDERR_FILENO, "last act", 8); });
        const OpenToSignals window;
        raise(SIGTERM);
        raise(SIGALRM);  // a second later
        _exit(43);
      },
      ExitedWithCode(0), "last act");
}

TEST_F(Signals, EndAHelloThatWaitsForMore) {
  EXPECT_EXIT(
      {
        watch_signals();
        CallScript script;
        script.write(kFd);
        script.usleep(10'000);
        script.poll(kFd, POLLIN, 10'000).reports(POLLIN);
        script.ioctl(kFd).gives(ChifBuilder(0x8193).u16_at(14, 1).sized(17).bytes());
        script.poll(kFd, POLLIN, 10'000).returns(0).times(70);
        script.poll(kFd, POLLIN, 10'000).raises(SIGTERM);
        exit_with(do_hello_rev(kFd) == -1);
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, ShortenTheGoodbye) {
  EXPECT_EXIT(
      {
        watch_signals();
        raise(SIGTERM);
        pause_seconds(1);
        CallScript script;
        script.write(kFd);
        script.usleep(1'000);
        script.poll(kFd, POLLIN, 400).returns(0);
        script.close(kFd);
        exit_with(go_bye(kFd, 1) == 0);
      },
      ExitedWithCode(42), "");
}

TEST_F(Signals, PrepareAProcessWithTheSystemsPathWhereThereIsNone) {
  for (const char* path : {"", "unset"}) {
    EXPECT_EXIT(
        {
          setenv("PATH", path, 1);
          if (*path != '\0') {
            unsetenv("PATH");
          }
          umask(0);
          prepare_process();
          exit_with(path_variable() == "/sbin:/usr/sbin:/bin:/usr/bin" && umask(0) == 022);
        },
        ExitedWithCode(42), "");
  }
}

TEST_F(Signals, PrepareAProcessWithThePathThatItWasGiven) {
  EXPECT_EXIT(
      {
        setenv("PATH", "/opt/bin", 1);
        prepare_process();
        exit_with(path_variable() == "/opt/bin");
      },
      ExitedWithCode(42), "");
}

}  // namespace
