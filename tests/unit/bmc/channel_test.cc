// SPDX-License-Identifier: Apache-2.0
// The channel: finding a free device, reading, and the write-then-read exchange.
#include "bmc/channel.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>

#include "log/debug_flags.h"
#include "tests/unit/bmc/bmc_script.h"
#include "wire/chif.h"

namespace {

constexpr const char* kNoChannel = "6 mox_chrdev: Failed: no available Qel Mox channels\n";

using Channel = BmcTest;

// Opening.

TEST_F(Channel, NamedOpenStartsAtChannel15) {
  script.open(channel_path(15), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev("tvud"), kFd);
  EXPECT_EQ(script.logs(), Lines({"6 [tvud]: BMC device is "
                                  "/vmfs/devices/char/vmkdriver/zemox-d0ccb15\n"}));
}

TEST_F(Channel, NameThatHoldsVbqdAnywhereStartsAtChannel9) {
  script.open(channel_path(9), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev("my-vbqd-2"), kFd);
  EXPECT_EQ(script.logs(), Lines({"6 [my-vbqd-2]: BMC device is "
                                  "/vmfs/devices/char/vmkdriver/zemox-d0ccb9\n"}));
}

TEST_F(Channel, NamelessOpenStartsAtChannel4AndLogsNothing) {
  script.open(channel_path(4), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(nullptr), kFd);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Channel, EmptyNameIsAName) {
  script.open(channel_path(15), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(""), kFd);
  EXPECT_EQ(script.logs().size(), 1U);
}

TEST_F(Channel, DescriptorZeroIsAChannel) {
  script.open(channel_path(4), kChannelFlags).returns(0);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(nullptr), 0);
}

TEST_F(Channel, WalksDownToTheFirstFreeChannelWhateverTheErrorsAre) {
  script.open(channel_path(4), kChannelFlags).fails(EBUSY);
  script.open(channel_path(3), kChannelFlags).fails(ENOENT);
  script.open(channel_path(2), kChannelFlags).fails(EINTR);
  script.open(channel_path(1), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(nullptr), kFd);
}

TEST_F(Channel, SweepsAgainAfterAPause) {
  for (int channel = 4; channel >= 0; --channel) {
    script.open(channel_path(channel), kChannelFlags).fails(EBUSY);
  }
  script.usleep(100'000);
  script.open(channel_path(4), kChannelFlags).fails(EBUSY);
  script.open(channel_path(3), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(nullptr), kFd);
}

TEST_F(Channel, NamedOpenGivesUpAfterFiveSweepsOf16Attempts) {
  for (int sweep = 0; sweep < 5; ++sweep) {
    for (int channel = 15; channel >= 0; --channel) {
      script.open(channel_path(channel), kChannelFlags).fails(EBUSY);
    }
    script.usleep(100'000);
  }
  EXPECT_EQ(mox_chrdev("tvud"), -1);
  EXPECT_EQ(script.logs(), Lines({kNoChannel}));
}

TEST_F(Channel, NamelessOpenGivesUpAfterFiveSweepsOfFiveAttempts) {
  expect_no_channel();
  EXPECT_EQ(mox_chrdev(nullptr), -1);
  EXPECT_EQ(script.logs(), Lines({kNoChannel}));
}

TEST_F(Channel, LastAttemptOfTheLastSweepStillCounts) {
  for (int sweep = 0; sweep < 5; ++sweep) {
    for (int channel = 4; channel >= 0; --channel) {
      const bool last = sweep == 4 && channel == 0;
      CallStep& step = script.open(channel_path(channel), kChannelFlags);
      last ? step.returns(kFd) : step.fails(EBUSY);
    }
    script.usleep(sweep == 4 ? 10'000 : 100'000);
  }
  EXPECT_EQ(mox_chrdev(nullptr), kFd);
}

TEST_F(Channel, CutsAnOverlongNameInTheLogOnly) {
  const std::string name(1000, 'n');
  script.open(channel_path(15), kChannelFlags).returns(kFd);
  script.usleep(10'000);
  EXPECT_EQ(mox_chrdev(name.c_str()), kFd);
  EXPECT_EQ(script.logs(), Lines({"6 [" + std::string(510, 'n')}));
}

// Closing and writing.

TEST_F(Channel, IsClosedOnce) {
  script.close(kFd);
  close_channel(kFd);
}

TEST_F(Channel, ClosingMinusOneDoesNothing) {
  close_channel(-1);
}

TEST_F(Channel, WriteGivesTheCallsResult) {
  const Bytes packet = bytes_of("01 02 03");
  script.write(kFd, packet).returns(3);
  script.write(kFd, packet).returns(1);
  script.write(kFd, packet).fails(EBUSY);
  EXPECT_EQ(write_channel(kFd, packet), 3);
  EXPECT_EQ(write_channel(kFd, packet), 1);
  EXPECT_EQ(write_channel(kFd, packet), -1);
  EXPECT_EQ(errno, EBUSY);
}

// readMP: one attempt.

TEST_F(Channel, ReadCopiesTheRequestedLengthAndReturnsThePacketsOwn) {
  script.ioctl(kFd).gives(bytes_of("01 02 03 04 05 06 07 08"));
  Bytes destination(6, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 8);
  EXPECT_EQ(hex_of(destination), "01 02 03 04 05 06");
}

TEST_F(Channel, ReadZeroesWhatAShortPacketDoesNotCover) {
  script.ioctl(kFd).gives(bytes_of("01 02 03"));
  Bytes destination(6, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 3);
  EXPECT_EQ(hex_of(destination), "01 02 03 00 00 00");
}

TEST_F(Channel, ReadFillsAWholePacket) {
  const Bytes packet(chif::kPacketMax, 0x5A);
  script.ioctl(kFd).gives(packet);
  Bytes destination(chif::kPacketMax, 0);
  EXPECT_EQ(readMP(kFd, destination), 4096);
  EXPECT_EQ(destination, packet);
}

TEST_F(Channel, ReadZeroesADestinationBeyondTheLargestPacket) {
  script.ioctl(kFd).gives(Bytes(chif::kPacketMax, 0x5A));
  Bytes destination(chif::kPacketMax + 3, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 4096);
  EXPECT_EQ(destination[4095], 0x5A);
  EXPECT_EQ(hex_of(std::span(destination).last(3)), "00 00 00");
}

TEST_F(Channel, ReadStaysInsideItsBufferWhenTheDriverClaimsMore) {
  script.ioctl(kFd).gives(bytes_of("01 02")).returns(100'000);
  Bytes destination(4, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 100'000);
  EXPECT_EQ(hex_of(destination), "01 02 00 00");
}

TEST_F(Channel, ReadPassesAFailureOnWithItsErrnoAndZeroes) {
  script.ioctl(kFd).fails(EINTR);
  Bytes destination(4, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(hex_of(destination), "00 00 00 00");
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Channel, ReadOfNothingGivesZero) {
  script.ioctl(kFd).returns(0);
  Bytes destination(2, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 0);
  EXPECT_EQ(hex_of(destination), "00 00");
}

TEST_F(Channel, ReadIntoNothingStillTakesThePacket) {
  script.ioctl(kFd).gives(bytes_of("01 02"));
  EXPECT_EQ(readMP(kFd, {}), 2);
}

TEST_F(Channel, ReadWithoutMemoryGivesZeroAndLeavesTheDestination) {
  script.fail_calloc(1);
  Bytes destination(2, 0xEE);
  EXPECT_EQ(readMP(kFd, destination), 0);
  EXPECT_EQ(hex_of(destination), "ee ee");
  EXPECT_EQ(script.logs(), Lines({"6 [tvud]: readMP(): malloc for tmpBuffer Failed.\n"}));
}

// readMPr: up to ten attempts.

TEST_F(Channel, RepeatedReadEndsWithTheFirstPacket) {
  script.ioctl(kFd).gives(bytes_of("01 02"));
  Bytes destination(3, 0xEE);
  EXPECT_EQ(readMPr(kFd, destination), 2);
  EXPECT_EQ(hex_of(destination), "01 02 00");
  EXPECT_EQ(script.logs(), Lines({"6 readMPr() read from mox retry [10]...\n"}));
}

TEST_F(Channel, RepeatedReadPausesTenMillisecondsBetweenAttempts) {
  script.ioctl(kFd).fails(EINTR);
  script.usleep(10'000);
  script.ioctl(kFd).returns(0).leaves_errno(EAGAIN);
  script.usleep(10'000);
  script.ioctl(kFd).gives(bytes_of("01"));
  Bytes destination(1, 0xEE);
  EXPECT_EQ(readMPr(kFd, destination), 1);
  EXPECT_EQ(hex_of(destination), "01");
  EXPECT_EQ(script.logs(),
            Lines({"6 readMPr() read from mox retry [10]...\n",
                   "6 readMPr() bytes from read [-1] errno [0x4] [Interrupted system call]. "
                   "Retrying...\n",
                   "6 readMPr() read from mox retry [9]...\n",
                   "6 readMPr() bytes from read [0] errno [0xb] [Resource temporarily "
                   "unavailable]. Retrying...\n",
                   "6 readMPr() read from mox retry [8]...\n"}));
}

TEST_F(Channel, RepeatedReadGivesUpAfterTenAttemptsAndItsPauses) {
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).fails(EIO);
    script.usleep(10'000).leaves_errno(EINTR);
  }
  Bytes destination(2, 0xEE);
  EXPECT_EQ(readMPr(kFd, destination), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(hex_of(destination), "00 00");
  const Lines attempts = logs_with("read from mox retry");
  ASSERT_EQ(attempts.size(), 10U);
  EXPECT_EQ(attempts.front(), "6 readMPr() read from mox retry [10]...\n");
  EXPECT_EQ(attempts.back(), "6 readMPr() read from mox retry [1]...\n");
  EXPECT_EQ(logs_with("errno [0x5] [Input/output error]. Retrying...\n").size(), 10U);
}

TEST_F(Channel, RepeatedReadReturnsTheLastAttemptsResult) {
  script.ioctl(kFd).fails(EIO).times(1);
  script.usleep(10'000);
  for (int attempt = 1; attempt < 10; ++attempt) {
    script.ioctl(kFd).returns(0);
    script.usleep(10'000);
  }
  EXPECT_EQ(readMPr(kFd, {}), 0);
}

TEST_F(Channel, TenthAttemptStillCounts) {
  for (int attempt = 1; attempt < 10; ++attempt) {
    script.ioctl(kFd).fails(EIO);
    script.usleep(10'000);
  }
  script.ioctl(kFd).gives(bytes_of("77"));
  Bytes destination(1, 0xEE);
  EXPECT_EQ(readMPr(kFd, destination), 1);
  EXPECT_EQ(hex_of(destination), "77");
}

TEST_F(Channel, RepeatedReadWithoutMemoryGivesZero) {
  script.fail_calloc(1);
  Bytes destination(2, 0xEE);
  EXPECT_EQ(readMPr(kFd, destination), 0);
  EXPECT_EQ(hex_of(destination), "ee ee");
  EXPECT_EQ(script.logs(), Lines({"6 readMPr(): malloc for tmpBuffer Failed.\n"}));
}

TEST_F(Channel, ReadsAreSilentWithoutTheDebugFlag) {
  g_utilities_debug_flag = 0;
  script.ioctl(kFd).fails(EIO);
  script.usleep(10'000);
  script.ioctl(kFd).gives(bytes_of("01"));
  Bytes destination(1, 0);
  EXPECT_EQ(readMPr(kFd, destination), 1);
  EXPECT_EQ(script.log_calls(), Lines());
}

// getResponse.

class Exchange : public BmcTest {
 protected:
  int run(uint16_t command) {
    return getResponse(kFd, command, request, response, &received_length);
  }

  Bytes request = bytes_of("11 22 33 44 55 66 77 88");
  Bytes response = Bytes(12, 0xEE);
  int received_length = -5;
};

TEST_F(Exchange, WritesTheHeaderOfAQuery) {
  expect_exchange(kFd, bytes_of("08 00 ad de 02 00 00 00"), bytes_of("0a 00 ad de 02 80 00 00 55"));
  EXPECT_EQ(run(0x0002), 0);
  EXPECT_EQ(received_length, 9);
  EXPECT_EQ(hex_of(response), "0a 00 ad de 02 80 00 00 55 00 00 00");
  EXPECT_EQ(script.logs(), Lines({"6 utils: getResponse() write to mox retry [10]...\n",
                                  "6 utils: getResponse() read from mox...\n",
                                  "6 readMPr() read from mox retry [10]...\n"}));
}

TEST_F(Exchange, CountsTheWholeRequestInItsHeader) {
  request = bytes_of("00 00 00 00 00 00 00 00 a1 a2 a3");
  expect_exchange(kFd, bytes_of("0b 00 ad de 20 01 00 00 a1 a2 a3"), bytes_of("01"));
  EXPECT_EQ(run(0x0120), 0);
}

TEST_F(Exchange, KeepsTheCallersHeaderForCommand0xFF) {
  expect_exchange(kFd, bytes_of("11 22 33 44 55 66 77 88"), bytes_of("01"));
  EXPECT_EQ(run(kCmdKeepHeader), 0);
}

TEST_F(Exchange, NeedsNoPlaceForTheLength) {
  expect_exchange(kFd, bytes_of("08 00 ad de 02 00 00 00"), bytes_of("01"));
  EXPECT_EQ(getResponse(kFd, 0x0002, request, response, nullptr), 0);
}

TEST_F(Exchange, TakesAWriteOfNothingForAWrite) {
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00")).returns(0);
  script.usleep(10'000);
  script.ioctl(kFd).gives(bytes_of("01"));
  EXPECT_EQ(run(0x0002), 0);
}

TEST_F(Exchange, EndsWithAFailedWrite) {
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00")).fails(EIO);
  EXPECT_EQ(run(0x0002), -1);
  EXPECT_EQ(received_length, -5);
  EXPECT_EQ(script.logs(),
            Lines({"6 utils: getResponse() write to mox retry [10]...\n",
                   "6 mox write failed, cmd [0x2] errno [0x5] [Input/output error]\n"}));
}

TEST_F(Exchange, EndsWithAnInterruptedWrite) {
  script.write(kFd, bytes_of("08 00 ad de 32 00 00 00")).fails(EINTR);
  EXPECT_EQ(run(0x0032), -1);
  EXPECT_EQ(logs_with("write failed"),
            Lines({"6 mox write failed, cmd [0x32] errno [0x4] [Interrupted system call]\n"}));
}

TEST_F(Exchange, RepeatsABusyWriteAfterTenMilliseconds) {
  const Bytes header = bytes_of("08 00 ad de 02 00 00 00");
  script.write(kFd, header).fails(EBUSY);
  script.usleep(10'000);
  script.write(kFd, header).fails(EBUSY);
  script.usleep(10'000);
  expect_exchange(kFd, header, bytes_of("01"));
  EXPECT_EQ(run(0x0002), 0);
  const std::string busy =
      "6 mox write failed, cmd [0x2] errno [0x10] [Device or resource busy]. Retrying...\n";
  EXPECT_EQ(script.logs(), Lines({"6 utils: getResponse() write to mox retry [10]...\n", busy,
                                  "6 utils: getResponse() write to mox retry [9]...\n", busy,
                                  "6 utils: getResponse() write to mox retry [8]...\n",
                                  "6 utils: getResponse() read from mox...\n",
                                  "6 readMPr() read from mox retry [10]...\n"}));
}

TEST_F(Exchange, EndsWithAnotherErrorAfterABusyWrite) {
  const Bytes header = bytes_of("08 00 ad de 02 00 00 00");
  script.write(kFd, header).fails(EBUSY);
  script.usleep(10'000);
  script.write(kFd, header).fails(ENODEV);
  EXPECT_EQ(run(0x0002), -1);
}

TEST_F(Exchange, ReadsAllTheSameAfterTenBusyWrites) {
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.write(kFd, bytes_of("08 00 ad de 02 00 00 00")).fails(EBUSY);
    script.usleep(10'000);
  }
  script.usleep(10'000);
  script.ioctl(kFd).gives(bytes_of("01 02 03"));
  EXPECT_EQ(run(0x0002), 0);
  EXPECT_EQ(received_length, 3);
  const Lines attempts = logs_with("write to mox retry");
  ASSERT_EQ(attempts.size(), 10U);
  EXPECT_EQ(attempts.back(), "6 utils: getResponse() write to mox retry [1]...\n");
}

TEST_F(Exchange, ReportsAFailedReadWithErrnoInThePlaceOfTheCommand) {
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00"));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).fails(EIO);
    script.usleep(10'000).leaves_errno(EINTR);
  }
  EXPECT_EQ(run(0x0002), -1);
  EXPECT_EQ(received_length, -5);
  EXPECT_EQ(script.logs().back(), "6 mox ioctl Read failed, cmd [0x5]\n");
}

TEST_F(Exchange, TakesTenEmptyReadsForASuccessOfLengthZero) {
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00"));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).returns(0);
    script.usleep(10'000);
  }
  EXPECT_EQ(run(0x0002), 0);
  EXPECT_EQ(received_length, 0);
  EXPECT_EQ(response, Bytes(12, 0));
}

TEST_F(Exchange, TakesAMissingReadBufferForAnEmptyResponse) {
  script.fail_calloc(1);
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00"));
  script.usleep(10'000);
  EXPECT_EQ(run(0x0002), 0);
  EXPECT_EQ(received_length, 0);
  EXPECT_EQ(response, Bytes(12, 0xEE));
}

TEST_F(Exchange, ReadsTheResponseOverTheRequest) {
  Bytes both = bytes_of("00 00 00 00 00 00 00 00 00 00");
  expect_exchange(kFd, bytes_of("08 00 ad de 02 00 00 00"), bytes_of("aa bb cc"));
  const std::span<uint8_t> whole(both);
  EXPECT_EQ(getResponse(kFd, 0x0002, whole.first(8), whole, nullptr), 0);
  EXPECT_EQ(hex_of(both), "aa bb cc 00 00 00 00 00 00 00");
}

}  // namespace
