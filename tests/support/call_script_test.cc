// SPDX-License-Identifier: Apache-2.0
// The script itself: a test must not pass when a call is missing, wrong or too
// many.
#include "tests/support/call_script.h"
#include "log/log_client.h"

#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

#include "tests/support/packets.h"

namespace {

TEST(CallScript, AnswersTheExpectedCallsInOrder) {
  CallScript script;
  script.open("/dev/bmc", O_RDWR | O_EXCL).returns(7);
  script.write(7, bytes_of("01 02")).fails(EBUSY).times(2);
  script.write(7, bytes_of("01 02"));
  script.ioctl(7).gives(bytes_of("0a 0b 0c"));
  script.close(7);
  const Bytes request = {1, 2};
  EXPECT_EQ(open("/dev/bmc", O_RDWR | O_EXCL), 7);
  EXPECT_EQ(write(7, request.data(), 2), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(write(7, request.data(), 2), -1);
  EXPECT_EQ(write(7, request.data(), 2), 2);
  std::array<uint8_t, 4096> buffer = {};
  EXPECT_EQ(ioctl(7, 0x100, buffer.data()), 3);
  EXPECT_EQ(hex_of(std::span(buffer).first(4)), "0a 0b 0c 00");
  EXPECT_EQ(close(7), 0);
}

TEST(CallScript, FailsTheTestOnAWrongArgument) {
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        script.close(7);
        close(8);
      },
      "expected: close(7)\n      came: close(8)");
}

TEST(CallScript, FailsTheTestOnACallTooMany) {
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        script.close(7);
        close(7);
        close(7);
      },
      "after: close(7)\n  expected: nothing more\n      came: close(7)");
}

TEST(CallScript, FailsTheTestOnCallsThatNeverCame) {
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        script.close(7);
        script.close(8).times(3);
        close(7);
        close(8);
      },
      "these calls never came:\n  close(8) (2 times)");
}

TEST(CallScript, FailsTheTestOnAStreamThatIsNeverClosed) {
  FILE* stream = nullptr;
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        script.fopen("/etc/x", "r");
        stream = fopen("/etc/x", "r");
      },
      "never closed: /etc/x");
  fclose(stream);
}

TEST(CallScript, FailsAnUnexpectedCall) {
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        EXPECT_EQ(open("/dev/null", O_RDONLY), -1);
        EXPECT_EQ(errno, ENOSYS);
      },
      "came: open(\"/dev/null\", O_RDONLY)");
}

TEST(CallScript, EndsALoopOfUnexpectedCalls) {
  EXPECT_DEATH(
      {
        CallScript script;
        for (;;) {
          usleep(1);
        }
      },
      "giving up after 1000 unexpected calls, the last: usleep\\(1\\)");
}

TEST(CallScript, PassesThroughWithoutAScript) {
  const int fd = open("/dev/null", O_RDWR);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(write(fd, "x", 1), 1);
  EXPECT_EQ(close(fd), 0);
  EXPECT_EQ(system("exit 3"), 3 << 8);
}

TEST(CallScript, ReportsPollEventsAndListsTheTimeouts) {
  CallScript script;
  script.poll(7, POLLIN, 10'000);
  script.poll(7, POLLIN, 10'000).reports(POLLIN | POLLHUP);
  script.poll(7, POLLIN, 1).fails(EINTR);
  pollfd entry = {.fd = 7, .events = POLLIN, .revents = 0};
  EXPECT_EQ(poll(&entry, 1, 10'000), 0);
  EXPECT_EQ(poll(&entry, 1, 10'000), 1);
  EXPECT_EQ(entry.revents, POLLIN | POLLHUP);
  EXPECT_EQ(poll(&entry, 1, 1), -1);
  EXPECT_EQ(script.waits(), Lines({"poll 10000", "poll 10000", "poll 1"}));
}

TEST(CallScript, LeavesTheEventsOfAFailingPollAsLinuxDoes) {
  CallScript script;
  script.poll(7, POLLIN, 1).fails(ENOMEM);
  script.poll(7, POLLIN, 1).fails(EINTR);
  pollfd entry = {.fd = 7, .events = POLLIN, .revents = POLLHUP};
  EXPECT_EQ(poll(&entry, 1, 1), -1);
  EXPECT_EQ(entry.revents, POLLHUP);
  EXPECT_EQ(poll(&entry, 1, 1), -1);
  EXPECT_EQ(entry.revents, 0);
}

TEST(CallScript, ReportsOnlyThePollEventsThatWereAskedFor) {
  CallScript script;
  script.poll(7, 0, 1).reports(POLLIN | POLLHUP);
  script.poll(7, 0, 1).reports(POLLIN);
  pollfd entry = {.fd = 7, .events = 0, .revents = 0};
  EXPECT_EQ(poll(&entry, 1, 1), 1);
  EXPECT_EQ(entry.revents, POLLHUP);
  EXPECT_EQ(poll(&entry, 1, 1), 0);
  EXPECT_EQ(entry.revents, 0);
}

TEST(CallScript, LeavesTheBufferOfAFailingCallAlone) {
  CallScript script;
  script.recv(7, 4, 0).gives(bytes_of("0a0b")).fails(ECONNRESET);
  script.readlink("/tmp/a", 4).gives("ab").fails(EINVAL);
  std::array<char, 4> buffer = {'x'};
  EXPECT_EQ(recv(7, buffer.data(), 4, 0), -1);
  EXPECT_EQ(readlink("/tmp/a", buffer.data(), 4), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_STREQ(buffer.data(), "x");
}

TEST(CallScript, TellsTheFamilyOfAnAcceptedClientOnly) {
  CallScript script;
  script.accept4(3, sizeof(sockaddr_un), SOCK_CLOEXEC).returns(4);
  script.accept4(3, sizeof(sockaddr_un), SOCK_CLOEXEC).fails(EMFILE);
  sockaddr_un address = {};
  socklen_t length = sizeof address;
  EXPECT_EQ(accept4(3, reinterpret_cast<sockaddr*>(&address), &length, SOCK_CLOEXEC), 4);
  EXPECT_EQ(address.sun_family, AF_UNIX);
  EXPECT_EQ(length, sizeof address.sun_family);
  address = {};
  length = sizeof address;
  EXPECT_EQ(accept4(3, reinterpret_cast<sockaddr*>(&address), &length, SOCK_CLOEXEC), -1);
  EXPECT_EQ(address.sun_family, AF_UNSPEC);
  EXPECT_EQ(length, sizeof address);
}

TEST(CallScript, TellsTheStatusOfAReapedChildOnly) {
  CallScript script;
  script.waitpid(-1, WNOHANG).reports(256);
  script.waitpid(-1, WNOHANG).reports(256).fails(ECHILD);
  script.waitpid(-1, WNOHANG).reports(256).returns(9);
  int status = 1;
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), 0);
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), -1);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), 9);
  EXPECT_EQ(status, 256);
}

TEST(CallScript, CollectsWaitsOnRequest) {
  CallScript script;
  script.collect_waits();
  sleep(10);
  usleep(20);
  EXPECT_EQ(script.waits(), Lines({"sleep 10", "usleep 20"}));
}

TEST(CallScript, PretendsFiles) {
  CallScript script;
  script.file("/tmp/a", 12);
  script.stat("/tmp/b").fails(EACCES);
  script.file("/tmp/b");
  struct stat status = {};
  EXPECT_EQ(stat("/tmp/a", &status), 0);
  EXPECT_EQ(status.st_uid, 12U);
  EXPECT_EQ(stat("/tmp/b", &status), -1);
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(stat("/tmp/b", &status), 0);
  EXPECT_EQ(stat("/tmp/c", &status), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(script.stats(), Lines({"/tmp/a", "/tmp/b", "/tmp/b", "/tmp/c"}));
}

TEST(CallScript, CollectsMessagesAndTheirIdentities) {
  CallScript script;
  send_to_log(LogIdentity::kOwn, 3, "why\n");
  send_to_log(LogIdentity::kProgram, 1, "what\n");
  EXPECT_EQ(script.logs(), Lines({"3 why\n", "1 what\n"}));
  EXPECT_EQ(script.log_calls(), Lines({"ortdv 3 why\n", "program 1 what\n"}));
}

TEST(CallScript, WantsAMessageInItsPlaceWhereItIsAStep) {
  CallScript script;
  script.setsid().returns(1);
  script.message(LOG_INFO, "over\n");
  script.close(7);
  EXPECT_EQ(setsid(), 1);
  send_to_log(LogIdentity::kOwn, LOG_INFO, "over\n");
  EXPECT_EQ(close(7), 0);
  EXPECT_EQ(script.timeline(), Lines({"setsid()", "6 over\n", "close(7)"}));
}

TEST(CallScript, FailsTheTestOnAMessageThatCameTooEarly) {
  EXPECT_NONFATAL_FAILURE(
      {
        CallScript script;
        script.setsid();
        script.message(LOG_INFO, "over\n");
        send_to_log(LogIdentity::kOwn, LOG_INFO, "over\n");
        setsid();
      },
      "these calls never came:\n  message(6, \"over\n\")");
}

TEST(CallScript, RunsCommandsOnPaper) {
  CallScript script;
  script.popen("localcli list").prints("one\ntwo\n");
  script.pclose("localcli list").returns(256);
  FILE* pipe = popen("localcli list", "r");
  std::array<char, 16> line = {};
  EXPECT_STREQ(fgets(line.data(), line.size(), pipe), "one\n");
  EXPECT_STREQ(fgets(line.data(), line.size(), pipe), "two\n");
  EXPECT_EQ(fgets(line.data(), line.size(), pipe), nullptr);
  EXPECT_EQ(pclose(pipe), 256);
}

TEST(CallScript, ReadsRewindsAndWritesPretendedFiles) {
  CallScript script;
  script.fopen("/etc/in", "r").prints("text\n");
  script.fopen("/etc/out", "w");
  FILE* in = fopen("/etc/in", "r");
  std::array<char, 16> line = {};
  EXPECT_STREQ(fgets(line.data(), line.size(), in), "text\n");
  rewind(in);
  EXPECT_STREQ(fgets(line.data(), line.size(), in), "text\n");
  fclose(in);
  FILE* out = fopen("/etc/out", "w");
  fprintf(out, "Mox%d\r\n", 6);
  fclose(out);
  EXPECT_EQ(script.written_to("/etc/out"), "Mox6\r\n");
}

TEST(CallScript, FailsTheCallocThatIsAskedFor) {
  CallScript script;
  script.fail_calloc(2);
  void* first = calloc(1, 16);
  void* second = calloc(1, 16);
  void* third = calloc(1, 16);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(third, nullptr);
  free(first);
  free(third);
}

TEST(CallScript, PrintsTheMessagesOfAProcessThatEnds) {
  EXPECT_EXIT(
      {
        CallScript script;
        script.fork().returns(0);
        if (fork() == 0) {
          send_to_log(LogIdentity::kOwn, 6, "over\n");
          exit(3);
        }
      },
      testing::ExitedWithCode(3), "^6 over\n$");
}

TEST(CallScript, AProcessThatEndsTooEarlyHasAStatusOfItsOwn) {
  EXPECT_EXIT(
      {
        CallScript script;
        script.setsid();
        exit(0);
      },
      testing::ExitedWithCode(kBrokenScriptStatus), "these calls never came:\n  setsid\\(\\)");
}

TEST(OutputCapture, CatchesStandardOutputBesideAScript) {
  const OutputCapture output;
  const CallScript script;
  puts("to be seen");
  EXPECT_EQ(output.text(), "to be seen\n");
}

}  // namespace
