// SPDX-License-Identifier: Apache-2.0
// The preloaded clock: what it answers and what it writes down.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

class Clock : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "clockXXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    directory_ = pattern;
    socket_path_ = directory_ + "/log";
    fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(socket_path_.size(), sizeof address.sun_path);
    memcpy(address.sun_path, socket_path_.c_str(), socket_path_.size());
    const sockaddr* plain = reinterpret_cast<const sockaddr*>(&address);
    ASSERT_EQ(bind(fd_, plain, sizeof address), 0) << strerror(errno);
    set("TESTCLOCK_SOCKET", socket_path_);
    set("TESTCLOCK_PROGRAM", "clock_probe");
    set("TESTCLOCK_POLL_DIVISOR", "0");
  }

  void TearDown() override {
    close(fd_);
    std::filesystem::remove_all(directory_);
  }

  void set(const std::string& name, const std::string& value) {
    environment_ += name + "='" + value + "' ";
  }

  const std::string& directory() const { return directory_; }

  // What the probe printed, with the clock preloaded.
  std::string run_probe() const { return run(CLOCK_PROBE); }

  std::string run(const std::string& program) const {
    const std::string command = environment_ + "LD_PRELOAD=" CLOCK_LIBRARY " " + program;
    FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    std::array<char, 256> line = {};
    while (fgets(line.data(), line.size(), pipe) != nullptr) {
      text += line.data();
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
  }

  // What was written to the log, without the process number.
  Lines recorded() const {
    Lines lines;
    std::array<char, 256> datagram = {};
    for (;;) {
      const ssize_t length = recv(fd_, datagram.data(), datagram.size(), 0);
      if (length < 0) {
        return lines;
      }
      const std::string line(datagram.data(), static_cast<size_t>(length));
      const size_t end = line.find("]: ");
      EXPECT_EQ(line.substr(0, 9), "<6>clock[") << line;
      EXPECT_GT(atoi(line.c_str() + 9), 0) << line;
      lines.push_back(end == std::string::npos ? line : line.substr(end + 3));
    }
  }

 private:
  std::string directory_;
  std::string socket_path_;
  std::string environment_;
  int fd_ = -1;
};

TEST_F(Clock, EndsWaitsAtOnceAndLeavesErrnoAndDescriptorsAlone) {
  set("TESTCLOCK_RECORD", "sleep,usleep,nanosleep,poll");
  EXPECT_EQ(run_probe(),
            "sleep 0 errno 1\n"
            "usleep 0 errno 1\n"
            "nanosleep 0 errno 1\n"
            "clock_nanosleep 0 errno 1\n"
            "poll 0 errno 1\n"
            "pause 0 errno 1\n"
            "short pause 0 errno 1\n"
            "ppoll 0 errno 1\n"
            "pause with a signal -1 errno 1\n"
            "bad poll -1 errno 1\n"
            "descriptors kept 0\n");
}

TEST_F(Clock, WritesDownEveryKindThatIsAskedFor) {
  set("TESTCLOCK_RECORD", "poll,nanosleep,usleep,sleep");
  run_probe();
  EXPECT_EQ(recorded(), Lines({"sleep 86400", "usleep 900000000", "nanosleep 7200.500000000",
                               "nanosleep 7200.500000000", "poll 1000000000 -> 0", "sleep 30",
                               "usleep 1500", "poll 1500 -> 0", "sleep 86400", "poll 0 -> -1"}));
}

TEST_F(Clock, WritesDownSleepAndUsleepUnlessAskedForMore) {
  run_probe();
  EXPECT_EQ(recorded(),
            Lines({"sleep 86400", "usleep 900000000", "sleep 30", "usleep 1500", "sleep 86400"}));
}

TEST_F(Clock, WritesDownOneKindAlone) {
  set("TESTCLOCK_RECORD", "usleep");
  run_probe();
  EXPECT_EQ(recorded(), Lines({"usleep 900000000", "usleep 1500"}));
}

TEST_F(Clock, DividesPollTimeouts) {
  set("TESTCLOCK_POLL_DIVISOR", "1000000000");
  set("TESTCLOCK_RECORD", "poll");
  run_probe();
  EXPECT_EQ(recorded(), Lines({"poll 1000000000 -> 0", "poll 1500 -> 0", "poll 0 -> -1"}));
}

TEST_F(Clock, HoldsASleepWhileTheFileExists) {
  const std::string hold = directory() + "/hold";
  set("TESTCLOCK_HOLD", hold);
  set("TESTCLOCK_RECORD", "sleep,usleep");
  ASSERT_TRUE(std::ofstream(hold).is_open());
  Lines while_held;
  std::thread release([&] {
    while (while_held.empty()) {
      while_held = recorded();
    }
    std::filesystem::remove(hold);
  });
  run_probe();
  release.join();
  EXPECT_EQ(while_held, Lines({"sleep 86400"}));
  EXPECT_EQ(recorded(), Lines({"usleep 900000000", "sleep 30", "usleep 1500", "sleep 86400"}));
}

TEST_F(Clock, IsHarmlessWithoutALogSocket) {
  set("TESTCLOCK_SOCKET", "/nonexistent/log");
  EXPECT_NE(run_probe().find("descriptors kept 0\n"), std::string::npos);
}

TEST_F(Clock, LeavesOtherProgramsTheirTimeAndWritesNothing) {
  set("TESTCLOCK_RECORD", "sleep,usleep,nanosleep,poll");
  EXPECT_EQ(run("/bin/sleep 0.01"), "");
  EXPECT_EQ(recorded(), Lines());
}

}  // namespace
