// SPDX-License-Identifier: Apache-2.0
// The variable that switches the reverse proxy on.
#include "ortinv/rev_mode.h"

#include <gtest/gtest.h>

#include "tests/unit/bmc/bmc_script.h"

namespace {

constexpr std::string_view kGetMode = "04 01 00 4b 58 48 56 4d 36 00";
constexpr std::string_view kSetZero = "05 01 00 4b 58 48 56 4d 36 00 00";

class RevMode : public BmcTest {
 protected:
  Lines own_logs() const { return logs_with("RevModeConfig()"); }
};

TEST_F(RevMode, IsTheVariablesByte) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 00 01 00 01");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 1);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getRevModeConfig(): GetEV Success! EV value is [0x1]\n"}));
}

TEST_F(RevMode, IsNotNegativeForAHighByte) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 00 01 00 ff");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 255);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: getRevModeConfig(): GetEV Success! EV value is [0xff]\n"}));
}

TEST_F(RevMode, IsDisabledWithTheValue0) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 00 01 00 00");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
}

TEST_F(RevMode, IsDisabledWithoutAFreeChannel) {
  expect_no_channel();
  EXPECT_EQ(getRevModeConfig(), 0);
  EXPECT_EQ(own_logs(), Lines());
}

TEST_F(RevMode, IsDisabledWhenTheValueIsLongerThanAByte) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 00 02 00 01 01");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
}

TEST_F(RevMode, CreatesAMissingVariableOnTheNextFreeChannel) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 88");
  expect_open(kSecondFd, 3);
  expect_nvram(kSecondFd, kSetZero, "00 00");
  script.close(kSecondFd);
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getRevModeConfig(): GetEV Success! EV Not Found. Creating "
                               "EV, disabled.\n",
                               "6 utils: setRevModeConfig(): SetEV Success!\n"}));
}

TEST_F(RevMode, IsDisabledWhenAMissingVariableCannotBeCreated) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 88");
  expect_open(kSecondFd, 3);
  expect_nvram_failure(kSecondFd, kSetZero);
  script.close(kSecondFd);
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
}

TEST_F(RevMode, ReportsAnotherStatus) {
  expect_open(kFd);
  expect_nvram(kFd, kGetMode, "00 c9 01 00 01");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getRevModeConfig(): Get TVU EV Failed! return status "
                               "[0xc9]\n"}));
}

TEST_F(RevMode, IsReadAgainASecondAfterAFailure) {
  expect_open(kFd);
  expect_nvram_failure(kFd, kGetMode);
  script.sleep(1);
  expect_nvram_failure(kFd, kGetMode);
  script.sleep(1);
  expect_nvram(kFd, kGetMode, "00 00 01 00 01");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 1);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getRevModeConfig(): retries [2]\n",
                               "6 utils: getRevModeConfig(): retries [1]\n",
                               "6 utils: getRevModeConfig(): GetEV Success! EV value is [0x1]\n"}));
}

TEST_F(RevMode, IsDisabledAfterThreeFailures) {
  expect_open(kFd);
  for (int attempt = 0; attempt < 3; ++attempt) {
    expect_nvram_failure(kFd, kGetMode);
    script.sleep(1);
  }
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 0);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getRevModeConfig(): retries [2]\n",
                               "6 utils: getRevModeConfig(): retries [1]\n",
                               "6 utils: getRevModeConfig(): retries [0]\n"}));
}

TEST_F(RevMode, IsReadAgainAfterACompletionCode) {
  expect_open(kFd);
  const int id = next_message_id();
  expect_exchange(kFd, nvram_request(id, kGetMode), nvram_response(id, "00 00 01 00 01", 0xC0));
  script.sleep(1);
  expect_nvram(kFd, kGetMode, "00 00 01 00 01");
  script.close(kFd);
  EXPECT_EQ(getRevModeConfig(), 1);
}

TEST_F(RevMode, IsWritten) {
  expect_open(kFd);
  expect_nvram(kFd, "05 01 00 4b 58 48 56 4d 36 00 01", "00 00");
  script.close(kFd);
  EXPECT_EQ(setRevModeConfig(1), 0);
  EXPECT_EQ(own_logs(), Lines({"6 utils: setRevModeConfig(): SetEV Success!\n"}));
}

TEST_F(RevMode, WritingFailsWithoutAFreeChannel) {
  expect_no_channel();
  EXPECT_EQ(setRevModeConfig(1), 1);
}

TEST_F(RevMode, WritingFailsWithTheExchangeAndTriesOnce) {
  expect_open(kFd);
  expect_nvram_failure(kFd, "05 01 00 4b 58 48 56 4d 36 00 01");
  script.close(kFd);
  EXPECT_EQ(setRevModeConfig(1), 1);
  EXPECT_EQ(own_logs(), Lines());
}

TEST_F(RevMode, WritingFailsWithAStatus) {
  expect_open(kFd);
  expect_nvram(kFd, "05 01 00 4b 58 48 56 4d 36 00 01", "00 88");
  script.close(kFd);
  EXPECT_EQ(setRevModeConfig(1), 1);
  EXPECT_EQ(own_logs(), Lines({"6 utils: setRevModeConfig(): setEV Failed with error [0x88]!\n"}));
}

}  // namespace
