// SPDX-License-Identifier: Apache-2.0
// How the daemon learns whether the server is supported and its reverse mode
// switched on: the status file, the BMC's answers, and all that can go wrong
// with them.
#include "tests/e2e/host.h"

namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNotSupported = "6 ortdv: ryn11 tvurev: Server not supported.";

using SupportCheck = Host;

TEST_F(SupportCheck, AnswerOfTheBmcIsKeptInTheStatusFile) {
  start_relay();
  EXPECT_EQ(read_file(kStatusFile), "Mox6\r\n");
}

TEST_F(SupportCheck, StatusFileSavesTheQuestion) {
  write_file(kStatusFile, "Mox6\r\n");
  bmc.identity.generation = 5;
  start_relay();
  EXPECT_THAT(received(PacketKind::kStatusQuery), IsEmpty());
  EXPECT_FALSE(logged(kFirmwareLine));
}

TEST_F(SupportCheck, StatusFileOfAnotherGenerationIsBelievedWithoutTheBmc) {
  write_file(kStatusFile, "Mox5\r\n");
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(), ElementsAre(kNotSupported));
  EXPECT_THAT(bmc_history(), IsEmpty());
  EXPECT_EQ(read_file(kStatusFile), "Mox5\r\n");
}

TEST_F(SupportCheck, GarbageInTheStatusFileMeansNotSupported) {
  std::string garbage(5000, '\xff');
  garbage.insert(200, "Mox6\n");
  write_file(kStatusFile, garbage);
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(), ElementsAre(kNotSupported));
  EXPECT_THAT(bmc_history(), IsEmpty());
}

TEST_F(SupportCheck, EmptyStatusFileMeansNotSupported) {
  write_file(kStatusFile, "");
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(), ElementsAre(kNotSupported));
  EXPECT_THAT(bmc_history(), IsEmpty());
}

TEST_F(SupportCheck, AnotherGenerationIsKeptInTheStatusFileToo) {
  bmc.identity.generation = -3;
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_EQ(read_file(kStatusFile), "Mox-3\r\n");
}

TEST_F(SupportCheck, FirmwareAndDateAreUnpacked) {
  event("bmc firmware=3.7 date=2053-12-31");
  start_relay();
  EXPECT_TRUE(logged("6 ortdv: Mox6: 3.7 (2053/12/31)"));
}

TEST_F(SupportCheck, NoFreeChannelIsLookedForInFiveSweeps) {
  event("occupy 0-15");
  EXPECT_EQ(run_daemon({.record = "usleep"}), 0);
  EXPECT_THAT(log(),
              ElementsAre("clock: usleep 100000", "clock: usleep 100000", "clock: usleep 100000",
                          "clock: usleep 100000", "clock: usleep 100000",
                          "6 ortdv: mox_chrdev: Failed: no available Qel Mox channels",
                          "6 ortdv: get moxStatus Failed: openMP() failed.", kNotSupported));
  EXPECT_FALSE(exists(kStatusFile));
}

TEST_F(SupportCheck, TakenChannelsAreStepped) {
  event("occupy 3-4");
  start_relay();
  EXPECT_EQ(bmc_history()[0], "channel 2 opened");
}

TEST_F(SupportCheck, EmptyReadsAreTenAndReadAsGenerationZero) {
  event("answer status silent");
  EXPECT_EQ(run_daemon({.record = "usleep"}), 0);
  const std::vector<std::string> lines = log();
  ASSERT_EQ(lines.size(), 13U);
  EXPECT_THAT(std::vector(lines.begin(), lines.end() - 1), Each("clock: usleep 10000"));
  EXPECT_EQ(lines.back(), kNotSupported);
  EXPECT_EQ(read_file(kStatusFile), "Mox0\r\n");
}

TEST_F(SupportCheck, BusyWritesAreTriedTenTimes) {
  event("busy 9");
  start_relay();
  EXPECT_EQ(times_logged("6 ortdv: mox write failed, cmd [0x2] errno [0x10] "
                         "[Device or resource busy]. Retrying..."),
            9U);
  EXPECT_TRUE(logged(kFirmwareLine));
}

TEST_F(SupportCheck, FailedWriteEndsTheQuery) {
  event("fail write EIO");
  EXPECT_EQ(run_daemon(), 0);
  EXPECT_THAT(log(),
              ElementsAre("6 ortdv: mox write failed, cmd [0x2] errno [0x5] [Input/output error]",
                          "6 ortdv:  getResponse() for moxStatus Failed!", kNotSupported));
  EXPECT_FALSE(exists(kStatusFile));
}

TEST_F(SupportCheck, FailedReadsAreTriedTenTimesAndPrintErrnoAsTheCommand) {
  event("fail read EIO times=always");
  EXPECT_EQ(run_daemon({.record = "usleep"}), 0);
  const std::vector<std::string> lines = log();
  ASSERT_EQ(lines.size(), 15U);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 12), Each("clock: usleep 10000"));
  EXPECT_THAT(std::vector(lines.begin() + 12, lines.end()),
              ElementsAre("6 ortdv: mox ioctl Read failed, cmd [0x5]",
                          "6 ortdv:  getResponse() for moxStatus Failed!", kNotSupported));
}

TEST_F(SupportCheck, AnswerLongerThanWhatIsReadOfItDoesNoHarm) {
  event("answer status size=4096");
  start_relay();
  EXPECT_TRUE(logged(kFirmwareLine));
}

TEST_F(SupportCheck, UnreadableModeIsTriedThreeTimesASecondApart) {
  event("answer nvram-get completion=0xc1");
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_THAT(log(), ElementsAre(kFirmwareLine, kSupportedLine, "clock: sleep 1", "clock: sleep 1",
                                 "clock: sleep 1", kModeOffLine, kRestartingLine));
  EXPECT_EQ(received(PacketKind::kNvramGet).size(), 3U);
}

TEST_F(SupportCheck, AnswerToAnotherRequestIsNoAnswer) {
  event("answer nvram-get seqno=+1 times=2");
  start_relay();
  EXPECT_EQ(received(PacketKind::kNvramGet).size(), 3U);
  EXPECT_EQ(times_logged("clock: sleep 1"), 2U);
}

TEST_F(SupportCheck, MissingModeVariableIsMadeAndCountsAsOff) {
  event("nvram KXHVM6 absent");
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_TRUE(logged(kModeOffLine));
  EXPECT_EQ(bmc.variables["KXHVM6"], Bytes({0}));
  EXPECT_THAT(hex_received(PacketKind::kNvramSet),
              ElementsAre("15 00 02 00 00 00 01 00 d8 02 05 01 00 4b 58 48 56 4d 36 00 00"));
  // The getter's channel is still open while the setter uses the next one.
  EXPECT_THAT(bmc_history(), testing::Contains("channel 3 opened"));
}

TEST_F(SupportCheck, NvramStatusThatIsUnknownCountsAsOff) {
  event("answer nvram-get status=0x42");
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_TRUE(logged(kModeOffLine));
  EXPECT_THAT(received(PacketKind::kNvramSet), IsEmpty());
}

TEST_F(SupportCheck, ValueLongerThanItsBufferIsNotTaken) {
  bmc.variables["KXHVM6"] = {1, 1, 1, 1};
  event("answer nvram-get length=65535");
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_TRUE(logged(kModeOffLine));
}

// Cut off before the completion code, before the data, before the value.
class ShortModeAnswer : public Host, public testing::WithParamInterface<int> {};

TEST_P(ShortModeAnswer, ReadsAsZero) {
  event("answer nvram-get size=" + std::to_string(GetParam()));
  touch(kRestartFile);
  EXPECT_EQ(run_daemon(), 1);
  EXPECT_TRUE(logged(kModeOffLine));
  EXPECT_EQ(received(PacketKind::kNvramGet).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Sizes, ShortModeAnswer, testing::Values(10, 11, 15),
                         testing::PrintToStringParamName());

}  // namespace
