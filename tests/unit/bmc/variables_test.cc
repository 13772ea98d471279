// SPDX-License-Identifier: Apache-2.0
// Reading a variable of the BMC without creating one.
#include "ortinv/variables.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/unit/bmc/bmc_script.h"

namespace {

constexpr std::string_view kGetVariable = "04 04 00 4b 58 48 56 4d 41 00";  // KXHVMA

struct Outcome {
  int result;
  uint16_t length;
  uint8_t status;
  std::array<uint8_t, 4> value;

  bool operator==(const Outcome& other) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << outcome.result << ", length " << outcome.length << ", status "
             << int{outcome.status};
}

constexpr std::array<uint8_t, 4> kUntouched = {0xA5, 0xA5, 0xA5, 0xA5};

// KXHVMA, into four bytes.
Outcome read_interval() {
  Outcome outcome = {99, 99, 99, kUntouched};
  outcome.result =
      ortinv_read_variable("KXHVMA", outcome.value.data(), 4, &outcome.length, &outcome.status);
  return outcome;
}

class ReadVariable : public BmcTest {
 protected:
  Outcome read_answered(std::string_view response_hex) {
    expect_open(kFd);
    expect_nvram(kFd, kGetVariable, response_hex);
    script.close(kFd);
    return read_interval();
  }
};

TEST(VariableNames, AreThoseOfModeAndIntervals) {
  EXPECT_STREQ(ortinv_mode_variable(), "KXHVM6");
  EXPECT_STREQ(ortinv_interval_variable(8), "KXHVM8");
  EXPECT_STREQ(ortinv_interval_variable(9), "KXHVM9");
  EXPECT_STREQ(ortinv_interval_variable(10), "KXHVMA");
}

TEST(VariableNames, AreGivenForTheListedSelectorsAndNoOthers) {
  EXPECT_EQ(ortinv_interval_selector(0), 8);
  EXPECT_EQ(ortinv_interval_selector(1), 9);
  EXPECT_EQ(ortinv_interval_selector(2), 10);
  EXPECT_EQ(ortinv_interval_selector(3), -1);
  for (const int selector : {-1, 0, 7, 11}) {
    EXPECT_EQ(ortinv_interval_variable(selector), nullptr);
  }
}

TEST_F(ReadVariable, GivesTheValueOfOneThatIsThere) {
  EXPECT_EQ(read_answered("00 00 04 00 78 56 34 12"),
            (Outcome{kOrtinvReadThere, 4, 0, {0x78, 0x56, 0x34, 0x12}}));
}

TEST_F(ReadVariable, FillsOnlyWhatAShorterValueHas) {
  EXPECT_EQ(read_answered("00 00 02 00 78 56"),
            (Outcome{kOrtinvReadThere, 2, 0, {0x78, 0x56, 0xA5, 0xA5}}));
}

TEST_F(ReadVariable, LeavesTheBufferToOneThatIsLonger) {
  EXPECT_EQ(read_answered("00 00 05 00 01 02 03 04 05"),
            (Outcome{kOrtinvReadThere, 0, 0, kUntouched}));
}

TEST_F(ReadVariable, DoesNotCreateOneThatIsMissing) {
  EXPECT_EQ(read_answered("00 88"), (Outcome{kOrtinvReadMissing, 0, 0x88, kUntouched}));
}

class EveryOtherStatus : public ReadVariable, public testing::WithParamInterface<const char*> {};

TEST_P(EveryOtherStatus, IsARefusalAndNotMissing) {
  const auto status = static_cast<uint8_t>(std::stoi(GetParam(), nullptr, 16));
  EXPECT_EQ(read_answered(std::string("00 ") + GetParam()),
            (Outcome{kOrtinvReadRefused, 0, status, kUntouched}));
}

INSTANTIATE_TEST_SUITE_P(Statuses, EveryOtherStatus,
                         testing::Values("01", "08", "80", "87", "89", "c9", "ff"),
                         [](const auto& status) { return std::string("Status") + status.param; });

TEST_F(ReadVariable, TellsThatNoChannelIsFree) {
  expect_no_channel();
  EXPECT_EQ(read_interval(), (Outcome{kOrtinvReadNoChannel, 0, 0, kUntouched}));
}

TEST_F(ReadVariable, TellsThatTheRequestFailedAndTriesOnce) {
  expect_open(kFd);
  expect_nvram_failure(kFd, kGetVariable);
  script.close(kFd);
  EXPECT_EQ(read_interval(), (Outcome{kOrtinvReadNoAnswer, 0, 0, kUntouched}));
}

TEST_F(ReadVariable, AsksForANameOf498CharactersAndNoLongerOne) {
  expect_open(kFd);
  script.close(kFd);
  EXPECT_EQ(ortinv_read_variable(std::string(499, 'n').c_str(), nullptr, 0, nullptr, nullptr),
            kOrtinvReadNoAnswer);
  std::string request = "04 00 00";
  for (int i = 0; i < 498; ++i) {
    request += " 6e";
  }
  expect_open(kFd);
  expect_nvram(kFd, request + " 00", "00 88");
  script.close(kFd);
  EXPECT_EQ(ortinv_read_variable(std::string(498, 'n').c_str(), nullptr, 0, nullptr, nullptr),
            kOrtinvReadMissing);
}

}  // namespace
