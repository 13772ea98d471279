// SPDX-License-Identifier: Apache-2.0
// The periodic trap intervals.
#include "ortinv/interval.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "tests/unit/bmc/bmc_script.h"

namespace {

constexpr std::string_view kGet = "04 04 00 4b 58 48 56 4d 41 00";  // KXHVMA
constexpr std::string_view kSet = "05 04 00 4b 58 48 56 4d 41 00";

class Interval : public BmcTest {
 protected:
  Lines own_logs() const { return logs_with("IntervalEV()"); }

  // Before the script's first call.
  OutputCapture output;
};

struct Variable {
  int selector;
  const char* last_letter;
};

class EverySelector : public Interval, public testing::WithParamInterface<Variable> {};

TEST_P(EverySelector, ReadsItsVariable) {
  expect_open(kFd);
  expect_nvram(kFd, std::string("04 04 00 4b 58 48 56 4d ") + GetParam().last_letter + " 00",
               "00 00 04 00 78 56 34 12");
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(GetParam().selector), 0x12345678U);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [7].\n",
                   "6 utils: getIntervalEV(): GetEV Success! EV value is [0x12345678]\n",
                   "6 utils: getIntervalEV(): return interval [305419896]\n"}));
  EXPECT_EQ(output.text(), "");
}

TEST_P(EverySelector, WritesItsVariable) {
  expect_open(kFd);
  expect_nvram(kFd,
               std::string("05 04 00 4b 58 48 56 4d ") + GetParam().last_letter + " 00 78 56 34 12",
               "00 00");
  script.close(kFd);
  EXPECT_EQ(setIntervalEV(GetParam().selector, 0x12345678), 0);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: setIntervalEV(): Set PeriodicTrapInterval EV Success!\n"}));
  EXPECT_EQ(output.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Variables, EverySelector,
                         testing::Values(Variable{10, "41"}, Variable{9, "39"}, Variable{8, "38"}),
                         [](const auto& variable) {
                           return "Selector" + std::to_string(variable.param.selector);
                         });

class OtherSelector : public Interval, public testing::WithParamInterface<int> {};

TEST_P(OtherSelector, AsksNothingAndReads0) {
  expect_open(kFd);
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(GetParam()), 0U);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [7].\n",
                               "6 utils: getIntervalEV(): GetEV Success! EV value is [0x0]\n",
                               "6 utils: getIntervalEV(): return interval [0]\n"}));
}

TEST_P(OtherSelector, WritesNothingAndSucceeds) {
  expect_open(kFd);
  script.close(kFd);
  EXPECT_EQ(setIntervalEV(GetParam(), 5), 0);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: setIntervalEV(): Set PeriodicTrapInterval EV Success!\n"}));
}

INSTANTIATE_TEST_SUITE_P(Selectors, OtherSelector, testing::Values(-1, 0, 7, 11));

TEST_F(Interval, ReadsTheLargestValue) {
  expect_open(kFd);
  expect_nvram(kFd, kGet, "00 00 04 00 ff ff ff ff");
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0xFFFFFFFFU);
  EXPECT_EQ(own_logs().back(), "6 utils: getIntervalEV(): return interval [-1]\n");
}

TEST_F(Interval, Is0WithoutAFreeChannel) {
  expect_no_channel();
  EXPECT_EQ(getIntervalEV(10), 0U);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [-1].\n",
                               "6 utils: getIntervalEV(): return interval [0]\n"}));
}

TEST_F(Interval, IsReadAgainASecondAfterAFailure) {
  expect_open(kFd);
  expect_nvram_failure(kFd, kGet);
  script.sleep(1);
  expect_nvram(kFd, kGet, "00 00 04 00 05 00 00 00");
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 5U);
  EXPECT_EQ(logs_with("retries"), Lines({"6 utils: getIntervalEV(): retries [2]\n"}));
}

TEST_F(Interval, Is0AfterThreeFailures) {
  expect_open(kFd);
  for (int attempt = 0; attempt < 3; ++attempt) {
    expect_nvram_failure(kFd, kGet);
    script.sleep(1);
  }
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0U);
  EXPECT_EQ(own_logs(), Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [7].\n",
                               "6 utils: getIntervalEV(): retries [2]\n",
                               "6 utils: getIntervalEV(): retries [1]\n",
                               "6 utils: getIntervalEV(): retries [0]\n",
                               "6 utils: getIntervalEV(): return interval [0]\n"}));
}

TEST_F(Interval, CreatesAMissingVariableAndCallsTheSuccessAFailure) {
  expect_open(kFd);
  expect_nvram(kFd, kGet, "00 88");
  expect_open(kSecondFd, 3);
  expect_nvram(kSecondFd, std::string(kSet) + "00 00 00 00", "00 00");
  script.close(kSecondFd);
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0U);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [7].\n",
                   "6 utils: getIntervalEV(): GetEV Success! EV Not Found. Creating EV, "
                   "disabled.\n",
                   "6 utils: setIntervalEV(): Set PeriodicTrapInterval EV Success!\n",
                   "6 utils: getIntervalEV(): Create and Set Interval EV Failed!.\n",
                   "6 utils: getIntervalEV(): return interval [0]\n"}));
  EXPECT_EQ(output.text(), "Create and Set Interval EV Failed!\n");
}

TEST_F(Interval, SaysNothingWhenAMissingVariableCannotBeCreated) {
  expect_open(kFd);
  expect_nvram(kFd, kGet, "00 88");
  expect_open(kSecondFd, 3);
  expect_nvram_failure(kSecondFd, std::string(kSet) + "00 00 00 00");
  script.close(kSecondFd);
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0U);
  EXPECT_EQ(logs_with("Create and Set"), Lines());
  EXPECT_EQ(output.text(), "");
}

TEST_F(Interval, ReportsAnotherStatusAlsoOnStandardOutput) {
  expect_open(kFd);
  expect_nvram(kFd, kGet, "00 c9");
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0U);
  EXPECT_EQ(own_logs(),
            Lines({"6 utils: getIntervalEV(): openMP returns mox_fd [7].\n",
                   "6 utils: getIntervalEV(): Get Periodic Trap Interval Failed! return "
                   "status [0xc9]\n",
                   "6 utils: getIntervalEV(): return interval [0]\n"}));
  EXPECT_EQ(output.text(), " Get Periodic Trap Interval Failed! return status [0xc9]\n");
}

TEST_F(Interval, Is0WhenTheValueIsLongerThanFourBytes) {
  expect_open(kFd);
  expect_nvram(kFd, kGet, "00 00 05 00 01 02 03 04 05");
  script.close(kFd);
  EXPECT_EQ(getIntervalEV(10), 0U);
}

TEST_F(Interval, WritingFailsWithoutAFreeChannel) {
  expect_no_channel();
  EXPECT_EQ(setIntervalEV(10, 5), 1);
  EXPECT_EQ(own_logs(), Lines());
}

TEST_F(Interval, WritingFailsWithTheExchangeAndTriesOnce) {
  expect_open(kFd);
  expect_nvram_failure(kFd, std::string(kSet) + "05 00 00 00");
  script.close(kFd);
  EXPECT_EQ(setIntervalEV(10, 5), 1);
  EXPECT_EQ(own_logs(), Lines());
  EXPECT_EQ(output.text(), "");
}

TEST_F(Interval, WritingFailsWithAStatusAlsoOnStandardOutput) {
  expect_open(kFd);
  expect_nvram(kFd, std::string(kSet) + "05 00 00 00", "00 88");
  script.close(kFd);
  EXPECT_EQ(setIntervalEV(10, 5), 1);
  EXPECT_EQ(own_logs(), Lines({"6 utils: setIntervalEV(): Set Periodic Trap Interval Failed with "
                               "error [0x88]!\n"}));
  EXPECT_EQ(output.text(), "Set Periodic Trap Interval Failed with error [0x88]!\n");
}

TEST_F(Interval, PrintsToAnotherStreamOrNowhere) {
  FILE* stream = std::tmpfile();
  for (FILE* chosen : {stream, static_cast<FILE*>(nullptr)}) {
    ortinv_set_print_stream(chosen);
    expect_open(kFd);
    expect_nvram(kFd, kGet, "00 c9");
    script.close(kFd);
    EXPECT_EQ(getIntervalEV(10), 0U);
  }
  ortinv_set_print_stream(stdout);
  EXPECT_EQ(output.text(), "");
  std::rewind(stream);
  std::array<char, 100> printed = {};
  fread(printed.data(), 1, printed.size() - 1, stream);
  std::fclose(stream);
  EXPECT_STREQ(printed.data(), " Get Periodic Trap Interval Failed! return status [0xc9]\n");
}

}  // namespace
