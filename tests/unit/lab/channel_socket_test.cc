// SPDX-License-Identifier: Apache-2.0
// The shim's end of a channel against the simulator's end, in one process.
#include "lab/shim/channel_socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "lab/sim/scenario.h"
#include "lab/sim/simulator.h"
#include "tests/unit/lab/temporary_directory.h"
#include "wire/chif.h"

namespace {

const Bytes kHello = parse_hex("1000070093010d000100000000000000").value();

class ChannelSocket : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(bmc_.open_channels(directory_.path(), 0, 1), ""); }

  int open_channel(int number = 1) {
    return channel_open((directory_ / ("zemox-d0ccb" + std::to_string(number))).c_str(), O_RDWR);
  }

  ssize_t write_hello(int fd) {
    char path[sizeof(sockaddr_un::sun_path)];
    EXPECT_TRUE(channel_path(fd, path));
    return channel_write(fd, path, kHello.data(), kHello.size());
  }

  int read_packet(int fd) {
    char path[sizeof(sockaddr_un::sun_path)];
    EXPECT_TRUE(channel_path(fd, path));
    return channel_read(fd, path, buffer_.data());
  }

  void play(const char* event) { ASSERT_EQ(bmc_.execute(parse_event(event).event.value()), ""); }

  TemporaryDirectory directory_;
  Simulator bmc_;
  std::array<uint8_t, chif::kPacketMax> buffer_ = {};
};

}  // namespace

TEST_F(ChannelSocket, ASecondOpenIsBusyUntilTheFirstIsClosed) {
  const Descriptor first(open_channel());
  ASSERT_TRUE(first.valid());
  EXPECT_EQ(open_channel(), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_TRUE(Descriptor(open_channel(0)).valid());
}

TEST_F(ChannelSocket, IsFreeAtOnceAfterACloseAlsoWhenTheBmcDidNotLook) {
  for (int i = 0; i < 3; ++i) {
    const int fd = open_channel();
    ASSERT_GE(fd, 0);
    close(fd);
  }
  const Descriptor last(open_channel());
  ASSERT_TRUE(last.valid());
  while (bmc_.step(0)) {
  }
  EXPECT_EQ(bmc_.session_channel(), 1);
  EXPECT_EQ(write_hello(last.get()), 16);
  bmc_.step(1000);
  EXPECT_EQ(read_packet(last.get()), 20);
}

TEST_F(ChannelSocket, StaysTakenWhileACopyOfTheDescriptorIsOpen) {
  const int fd = open_channel();
  const int copy = dup(fd);
  close(fd);
  EXPECT_EQ(open_channel(), -1);
  EXPECT_EQ(errno, EBUSY);
  close(copy);
  EXPECT_TRUE(Descriptor(open_channel()).valid());
}

TEST_F(ChannelSocket, WithoutANodeThereIsNoSuchFile) {
  EXPECT_EQ(open_channel(9), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(ChannelSocket, IsBusyWhenNobodyServesTheNode) {
  play("occupy 1");
  EXPECT_EQ(open_channel(1), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_TRUE(Descriptor(open_channel(0)).valid());
  play("release 0-1");
  EXPECT_TRUE(Descriptor(open_channel(1)).valid());
}

TEST_F(ChannelSocket, APathTooLongForASocketIsRefused) {
  EXPECT_EQ(channel_open(std::string(200, 'x').c_str(), O_RDWR), -1);
  EXPECT_EQ(errno, ENAMETOOLONG);
}

TEST_F(ChannelSocket, OnlyAChannelIsAChannel) {
  char path[sizeof(sockaddr_un::sun_path)];
  const Descriptor file(open("/dev/null", O_RDWR));
  const Descriptor plain(socket(AF_UNIX, SOCK_SEQPACKET, 0));
  const Descriptor datagrams(socket(AF_INET, SOCK_DGRAM, 0));
  errno = 77;
  for (const int fd : {file.get(), plain.get(), datagrams.get(), -1}) {
    EXPECT_FALSE(channel_path(fd, path));
  }
  EXPECT_EQ(errno, 77);
}

TEST_F(ChannelSocket, BusyWritesAreCounted) {
  const Descriptor fd(open_channel());
  play("busy 2");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(write_hello(fd.get()), -1);
    EXPECT_EQ(errno, EBUSY);
  }
  EXPECT_EQ(write_hello(fd.get()), 16);
}

TEST_F(ChannelSocket, ReadsCanFailOrDoNothingAndLeaveThePacket) {
  const Descriptor fd(open_channel());
  EXPECT_EQ(write_hello(fd.get()), 16);
  bmc_.step(1000);
  play("fail read EIO");
  play("fail read nothing times=2");
  EXPECT_EQ(read_packet(fd.get()), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(read_packet(fd.get()), 0);
  EXPECT_EQ(read_packet(fd.get()), 0);
  EXPECT_EQ(read_packet(fd.get()), 20);
}

TEST_F(ChannelSocket, AnEmptyPacketReadsAsNothing) {
  const Descriptor fd(open_channel());
  bmc_.step(1000);
  play("raw");
  play("raw 0102");
  EXPECT_EQ(read_packet(fd.get()), 0);
  EXPECT_EQ(read_packet(fd.get()), 2);
}

TEST_F(ChannelSocket, AHangUpIsSeenByPollReadAndWrite) {
  const Descriptor fd(open_channel());
  bmc_.step(1000);
  play("raw 0102");
  play("hangup");
  pollfd entry = {fd.get(), POLLIN | POLLERR | POLLHUP, 0};
  EXPECT_EQ(poll(&entry, 1, 0), 1);
  EXPECT_EQ(entry.revents, POLLIN | POLLHUP);
  EXPECT_EQ(read_packet(fd.get()), 2);
  EXPECT_EQ(read_packet(fd.get()), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(write_hello(fd.get()), -1);
  EXPECT_EQ(errno, EPIPE);
}
