// SPDX-License-Identifier: Apache-2.0
// Reading and writing one named variable.
#include "bmc/nvram.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/bmc/bmc_script.h"
#include "wire/kcs.h"

namespace {

// The request for one byte of KXHVM6.
constexpr std::string_view kGetOneByte = "04 01 00 4b 58 48 56 4d 36 00";

class GetVariable : public BmcTest {
 protected:
  int run(uint16_t capacity) {
    value = Bytes(capacity, 0xEE);
    return OsGetEV(kFd, "KXHVM6", value.data(), capacity, &status, &length);
  }

  Bytes value;
  uint8_t status = 0xEE;
  uint16_t length = 0xBEEF;
};

TEST_F(GetVariable, AsksByNameAndCapacityAndCopiesTheValue) {
  expect_nvram(kFd, "04 04 00 4b 58 48 56 4d 36 00", "00 00 04 00 51 52 53 54");
  EXPECT_EQ(run(4), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(length, 4);
  EXPECT_EQ(hex_of(value), "51 52 53 54");
  EXPECT_EQ(logs_with("OsGetEV"), Lines({"6 utils: OsGetEV(): After "
                                         "OsExecuteOEMNVRAMAccessCommand:  pucStatus is [0x0]\n"}));
}

TEST_F(GetVariable, SendsTheWholeCapacity) {
  expect_nvram(kFd, "04 f0 01 4b 58 48 56 4d 36 00", "00 00 01 00 51");
  EXPECT_EQ(run(0x1F0), 0);
  EXPECT_EQ(length, 1);
}

TEST_F(GetVariable, CopiesAValueShorterThanTheCapacity) {
  expect_nvram(kFd, "04 04 00 4b 58 48 56 4d 36 00", "00 00 02 00 51 52 53 54");
  EXPECT_EQ(run(4), 0);
  EXPECT_EQ(length, 2);
  EXPECT_EQ(hex_of(value), "51 52 ee ee");
}

TEST_F(GetVariable, CopiesAnEmptyValue) {
  expect_nvram(kFd, kGetOneByte, "00 00 00 00");
  EXPECT_EQ(run(1), 0);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(hex_of(value), "ee");
}

TEST_F(GetVariable, LeavesTheBufferWhenTheValueIsLongerThanTheCapacity) {
  expect_nvram(kFd, kGetOneByte, "00 00 02 00 51 52");
  EXPECT_EQ(run(1), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(hex_of(value), "ee");
  EXPECT_EQ(logs_with("OsGetEV"),
            Lines({"6 utils: OsGetEV(): After OsExecuteOEMNVRAMAccessCommand:  pucStatus is "
                   "[0x0]\n",
                   "6 utils: OsGetEV():  WARNING: KXHVM6 2 bytes, buffer is 1 bytes\n"}));
}

TEST_F(GetVariable, LeavesTheBufferWhenTheLengthIsTheLargest) {
  expect_nvram(kFd, kGetOneByte, "00 00 ff ff 51 52");
  EXPECT_EQ(run(1), 0);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(logs_with("WARNING"),
            Lines({"6 utils: OsGetEV():  WARNING: KXHVM6 65535 bytes, buffer is 1 bytes\n"}));
}

TEST_F(GetVariable, ReadsAsZeroWhatTheResponseDoesNotHold) {
  expect_nvram(kFd, "04 04 00 4b 58 48 56 4d 36 00", "00 00 04 00 51");
  EXPECT_EQ(run(4), 0);
  EXPECT_EQ(length, 4);
  EXPECT_EQ(hex_of(value), "51 00 00 00");
}

TEST_F(GetVariable, ReadsAsZeroWhatNoPacketCanHold) {
  expect_nvram(kFd, "04 ff ff 4b 58 48 56 4d 36 00", "00 00 ff ff 51");
  EXPECT_EQ(run(0xFFFF), 0);
  EXPECT_EQ(length, 0xFFFF);
  EXPECT_EQ(value[0], 0x51);
  EXPECT_EQ(value[0xFFFE], 0);
}

TEST_F(GetVariable, ReportsAVariableThatDoesNotExist) {
  expect_nvram(kFd, kGetOneByte, "00 88 01 00 51");
  EXPECT_EQ(run(1), 0);
  EXPECT_EQ(status, nvram::response::kNotFound);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(hex_of(value), "ee");
  EXPECT_EQ(logs_with("OsGetEV"),
            Lines({"6 utils: OsGetEV(): After "
                   "OsExecuteOEMNVRAMAccessCommand:  pucStatus is [0x88]\n"}));
}

TEST_F(GetVariable, TakesAResponseWithoutDataForASuccessWithoutAValue) {
  expect_nvram(kFd, kGetOneByte, "");
  EXPECT_EQ(run(1), 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(length, 0);
}

TEST_F(GetVariable, FailsWithTheExchangeAndLeavesTheStatus) {
  expect_nvram_failure(kFd, kGetOneByte);
  EXPECT_EQ(run(1), 1);
  EXPECT_EQ(status, 0xEE);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(logs_with("OsGetEV"), Lines());
}

TEST_F(GetVariable, FailsWithoutMemoryForTheRequest) {
  script.fail_calloc(1);
  EXPECT_EQ(run(1), 1);
  EXPECT_EQ(length, 0);
}

TEST_F(GetVariable, FailsWithoutMemoryForTheResponse) {
  script.fail_calloc(2);
  EXPECT_EQ(run(1), 1);
  EXPECT_EQ(length, 0);
}

TEST_F(GetVariable, RefusesANameThatDoesNotFitThePacket) {
  const std::string name(499, 'N');
  uint8_t byte = 0xEE;
  EXPECT_EQ(OsGetEV(kFd, name.c_str(), &byte, 1, &status, &length), 1);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(byte, 0xEE);
}

class SetVariable : public BmcTest {
 protected:
  int run(const Bytes& value) {
    return OsSetEV(kFd, "KXHVM6", value.data(), static_cast<uint16_t>(value.size()), &status);
  }

  uint8_t status = 0xEE;
};

TEST_F(SetVariable, SendsNameAndValue) {
  expect_nvram(kFd, "05 04 00 4b 58 48 56 4d 36 00 51 52 53 54", "00 00");
  EXPECT_EQ(run(bytes_of("51 52 53 54")), 0);
  EXPECT_EQ(status, 0);
}

TEST_F(SetVariable, SendsAnEmptyValue) {
  expect_nvram(kFd, "05 00 00 4b 58 48 56 4d 36 00", "00 00");
  EXPECT_EQ(run({}), 0);
}

TEST_F(SetVariable, HandsTheStatusOver) {
  expect_nvram(kFd, "05 01 00 4b 58 48 56 4d 36 00 51", "00 88");
  EXPECT_EQ(run({0x51}), 0);
  EXPECT_EQ(status, 0x88);
}

TEST_F(SetVariable, FailsWithTheExchange) {
  expect_nvram_failure(kFd, "05 01 00 4b 58 48 56 4d 36 00 51");
  EXPECT_EQ(run({0x51}), 1);
  EXPECT_EQ(status, 0xEE);
}

TEST_F(SetVariable, FailsWithoutMemory) {
  script.fail_calloc(1);
  EXPECT_EQ(run({0x51}), 1);
  script.fail_calloc(2);
  EXPECT_EQ(run({0x51}), 1);
}

TEST_F(SetVariable, SendsTheLongestValueThatFits) {
  const Bytes value(492, 0x5A);
  expect_nvram(kFd, "05 ec 01 4b 58 48 56 4d 36 00" + hex_of(value), "00 00");
  EXPECT_EQ(run(value), 0);
  EXPECT_EQ(script.written().at(0).size(), 512U);
}

TEST_F(SetVariable, RefusesAValueOfOneByteMore) {
  EXPECT_EQ(run(Bytes(493, 0x5A)), 1);
}

TEST_F(SetVariable, RefusesTheLongestValue) {
  EXPECT_EQ(run(Bytes(65535, 0x5A)), 1);
}

}  // namespace
