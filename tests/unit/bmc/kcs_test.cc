// SPDX-License-Identifier: Apache-2.0
// KCS requests in CHIF packets: bytes, message ids, and responses that lie.
#include "bmc/kcs.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/unit/bmc/bmc_script.h"

namespace {

constexpr uint8_t kNetworkFunction = 0x06;
constexpr uint8_t kCommand = 0x01;

class Kcs : public BmcTest {
 protected:
  int run(const Bytes& data = {}) {
    const KcsRequest request = {.network_function = kNetworkFunction,
                                .command = kCommand,
                                .request_data = data.data(),
                                .request_length = static_cast<uint16_t>(data.size()),
                                .response = response.data(),
                                .response_size = static_cast<uint16_t>(response.size()),
                                .response_length = &response_length,
                                .completion_code = &completion_code};
    return OsKcsExecCmd_CHIF(kFd, request);
  }

  static Bytes request_packet(int id, const Bytes& data = {}) {
    return packet(id, kNetworkFunction << 2, kCommand).bytes_at(10, data).bytes();
  }
  // From the completion code on.
  static Bytes response_packet(int id, std::string_view hex) {
    return packet(id, (kNetworkFunction + 1) << 2, kCommand).bytes_at(10, bytes_of(hex)).bytes();
  }
  static ChifBuilder packet(int id, int network_function, int command) {
    return ChifBuilder(0)
        .seqno(static_cast<uint16_t>(id))
        .svc(1)
        .u8_at(8, static_cast<uint8_t>(network_function))
        .u8_at(9, static_cast<uint8_t>(command));
  }

  Bytes response = Bytes(4, 0xEE);
  uint16_t response_length = 0xBEEF;
  uint8_t completion_code = 0xEE;
};

TEST_F(Kcs, SendsTheRequestAndHandsTheResponseBack) {
  const int id = next_message_id();
  Bytes request = bytes_of("0d 00 00 00 00 00 01 00 18 01 a1 a2 a3");
  request[2] = static_cast<uint8_t>(id);
  expect_exchange(kFd, request, response_packet(id, "00 51 52 53 54"));
  EXPECT_EQ(run(bytes_of("a1 a2 a3")), 0);
  EXPECT_EQ(completion_code, 0);
  EXPECT_EQ(response_length, 4);
  EXPECT_EQ(hex_of(response), "51 52 53 54");
  EXPECT_EQ(logs_with("OsKcsExecCmd_CHIF"),
            Lines({"6 utils: OsKcsExecCmd_CHIF(): bRetVal from getResponse is [0]\n"}));
}

TEST_F(Kcs, HandsTheCompletionCodeOverAsASuccess) {
  const int id = next_message_id();
  expect_exchange(kFd, request_packet(id), response_packet(id, "c1"));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(completion_code, 0xC1);
  EXPECT_EQ(response_length, 0);
  EXPECT_EQ(response, Bytes(4, 0xEE));
}

TEST_F(Kcs, FillsTheWholeResponseBufferWhateverTheLength) {
  const int id = next_message_id();
  expect_exchange(kFd, request_packet(id), response_packet(id, "00 51"));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(response_length, 1);
  EXPECT_EQ(hex_of(response), "51 00 00 00");
}

TEST_F(Kcs, CopiesNoMoreThanTheResponseBufferHolds) {
  const int id = next_message_id();
  expect_exchange(kFd, request_packet(id), response_packet(id, "00 51 52 53 54 55 56"));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(response_length, 6);
  EXPECT_EQ(hex_of(response), "51 52 53 54");
}

TEST_F(Kcs, ZeroesAResponseBufferBeyondThePacket) {
  response = Bytes(600, 0xEE);
  const int id = next_message_id();
  Bytes packet = response_packet(id, "00");
  packet.resize(512, 0x5A);
  expect_exchange(kFd, request_packet(id), packet);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(response_length, 501);
  EXPECT_EQ(response[500], 0x5A);
  EXPECT_EQ(Bytes(response.begin() + 501, response.end()), Bytes(99, 0));
}

// Message ids.

TEST_F(Kcs, CountsMessageIdsTo64AndBeginsAgainAt1) {
  bool wrapped = false;
  for (int i = 0; i < 65; ++i) {
    const int id = next_message_id();
    wrapped = wrapped || id == 1;
    expect_exchange(kFd, request_packet(id), response_packet(id, "00"));
    ASSERT_EQ(run(), 0);
  }
  EXPECT_TRUE(wrapped);
  EXPECT_EQ(script.written()[0][2], script.written()[64][2]);
}

// Lengths.

TEST_F(Kcs, SendsARequestOf502Bytes) {
  const int id = next_message_id();
  const Bytes request = request_packet(id, Bytes(502, 0xAB));
  ASSERT_EQ(request.size(), 512U);
  expect_exchange(kFd, request, response_packet(id, "00"));
  EXPECT_EQ(run(Bytes(502, 0xAB)), 0);
}

TEST_F(Kcs, RefusesARequestOf503BytesWithoutSendingIt) {
  EXPECT_NE(run(Bytes(503, 0xAB)), 0);
  EXPECT_EQ(response, Bytes(4, 0xEE));
  const int id = next_message_id();  // not used up by the refused one
  expect_exchange(kFd, request_packet(id), response_packet(id, "00"));
  EXPECT_EQ(run(), 0);
}

TEST_F(Kcs, RefusesTheLongestRequest) {
  EXPECT_NE(run(Bytes(65535, 0xAB)), 0);
}

class KcsResponseLength : public Kcs, public testing::WithParamInterface<int> {};

TEST_P(KcsResponseLength, BelowTwelveMeansNoResponseData) {
  const int id = next_message_id();
  script.write(kFd, request_packet(id));
  script.usleep(10'000);
  script.ioctl(kFd).gives(response_packet(id, "00 51 52 53 54")).returns(GetParam());
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(response_length, 0);
  EXPECT_EQ(response, Bytes(4, 0xEE));
}

INSTANTIATE_TEST_SUITE_P(Lengths, KcsResponseLength, testing::Values(1, 8, 10, 11));

TEST_F(Kcs, StaysInsideItsPacketWhenTheResponseIsLonger) {
  response = Bytes(501, 0xEE);
  const int id = next_message_id();
  Bytes packet = response_packet(id, "00");
  packet.resize(4096, 0x5A);
  script.write(kFd, request_packet(id));
  script.usleep(10'000);
  script.ioctl(kFd).gives(packet).returns(1'000'000);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(response_length, 501);
  EXPECT_EQ(response, Bytes(501, 0x5A));
}

// A second exchange, and responses to something else.

TEST_F(Kcs, RepeatsAFailedExchangeOnce) {
  const int id = next_message_id();
  expect_failed_write(kFd, request_packet(id, {0xA1}), EIO);
  expect_exchange(kFd, request_packet(id, {0xA1}), response_packet(id, "00"));
  EXPECT_EQ(run({0xA1}), 0);
  EXPECT_EQ(logs_with("OsKcsExecCmd_CHIF"),
            Lines({"6 utils: OsKcsExecCmd_CHIF(): bRetVal from getResponse is [-1]\n",
                   "6 utils: OsKcsExecCmd_CHIF(): bRetVal from getResponse is [0]\n"}));
}

TEST_F(Kcs, ReturnsTheResultOfTheSecondFailure) {
  const int id = next_message_id();
  expect_failed_write(kFd, request_packet(id), EIO);
  expect_failed_write(kFd, request_packet(id), EPERM);
  EXPECT_EQ(run(), -1);
  EXPECT_EQ(logs_with("bRetVal from getResponse is [-1]").size(), 2U);
  EXPECT_EQ(completion_code, 0xEE);
  EXPECT_EQ(response_length, 0xBEEF);
}

TEST_F(Kcs, RepeatsWithTheLengthThatTheFailedReadLeftInThePacket) {
  const int id = next_message_id();
  script.write(kFd, request_packet(id));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).fails(EIO);
    script.usleep(10'000);
  }
  expect_exchange(kFd, {}, response_packet(id, "00"));  // the read left only zeros
  EXPECT_EQ(run(), 0);
}

TEST_F(Kcs, RepeatsNoMoreThanItsPacketWhenTheLengthLies) {
  const int id = next_message_id();
  script.write(kFd, request_packet(id));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).fails(EIO).gives(bytes_of("ff ff"));
    script.usleep(10'000);
  }
  script.write(kFd).fails(EIO);
  EXPECT_EQ(run(), -1);
  EXPECT_EQ(script.written().back().size(), 512U);
}

struct WrongResponse {
  const char* name;
  int id_offset;
  int network_function;
  int command;
};

class KcsMismatch : public Kcs, public testing::WithParamInterface<WrongResponse> {};

TEST_P(KcsMismatch, FailsWithoutARetry) {
  const int id = next_message_id();
  const WrongResponse& wrong = GetParam();
  const int received_id = id + wrong.id_offset;
  expect_exchange(kFd, request_packet(id),
                  packet(received_id, wrong.network_function << 2, wrong.command)
                      .bytes_at(10, bytes_of("00 51 52"))
                      .bytes());
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(response, Bytes(4, 0xEE));
  char expected[128];
  snprintf(expected, sizeof expected,
           "6 utils: OsKcsExecCmd_CHIF(): KCS CHIF: Expected Cmd (0x1), Msg ID (0x%x)\n", id);
  char received[128];
  snprintf(received, sizeof received,
           "6 utils: OsKcsExecCmd_CHIF(): KCS CHIF: Received Cmd (0x%x), Msg ID (0x%x)\n",
           wrong.command, received_id);
  EXPECT_EQ(logs_with("KCS CHIF"), Lines({expected, received}));
}

INSTANTIATE_TEST_SUITE_P(Fields, KcsMismatch,
                         testing::Values(WrongResponse{"MessageId", 1, 7, 1},
                                         WrongResponse{"HighByteOfTheMessageId", 256, 7, 1},
                                         WrongResponse{"RequestsNetworkFunction", 0, 6, 1},
                                         WrongResponse{"NetworkFunction", 0, 8, 1},
                                         WrongResponse{"Command", 0, 7, 2}),
                         [](const auto& wrong) { return wrong.param.name; });

TEST_F(Kcs, DoesNotCompareTheLowBitsOfTheNetworkFunctionsByte) {
  const int id = next_message_id();
  expect_exchange(kFd, request_packet(id),
                  packet(id, (7 << 2) | 3, 1).bytes_at(10, bytes_of("00")).bytes());
  EXPECT_EQ(run(), 0);
}

TEST_F(Kcs, TakesTenEmptyReadsForAWrongResponse) {
  const int id = next_message_id();
  script.write(kFd, request_packet(id));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd).returns(0);
    script.usleep(10'000);
  }
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(logs_with("Received"), Lines({"6 utils: OsKcsExecCmd_CHIF(): KCS CHIF: Received Cmd "
                                          "(0x0), Msg ID (0x0)\n"}));
}

// The OEM command.

class OemNvram : public BmcTest {
 protected:
  int run() { return OsExecuteOEMNVRAMAccessCommand(kFd, bytes_of("a1 a2"), response); }

  Bytes response = Bytes(4, 0xEE);
};

TEST_F(OemNvram, IsNetworkFunction0x36Command2) {
  const int id = next_message_id();
  Bytes request = bytes_of("0c 00 00 00 00 00 01 00 d8 02 a1 a2");
  request[2] = static_cast<uint8_t>(id);
  expect_exchange(kFd, request, nvram_response(id, "51 52"));
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(hex_of(response), "51 52 00 00");
  EXPECT_EQ(logs_with("OsExecuteOEMNVRAMAccessCommand"),
            Lines({"6 utils: OsExecuteOEMNVRAMAccessCommand:  OsKcsExecCmd_CHIF returned 0. "
                   "ucCompletionCode[0] = CCODE_OK!\n",
                   "6 utils: OsExecuteOEMNVRAMAccessCommand:  returns bRet [0]\n"}));
}

TEST_F(OemNvram, FailsOnACompletionCode) {
  const int id = next_message_id();
  expect_exchange(kFd, nvram_request(id, "a1 a2"), nvram_response(id, "51", 0xC0));
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(logs_with("OsExecuteOEMNVRAMAccessCommand"),
            Lines({"6 utils: OsExecuteOEMNVRAMAccessCommand:  returns bRet [1]\n"}));
}

TEST_F(OemNvram, FailsWithTheExchange) {
  expect_nvram_failure(kFd, "a1 a2");
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(logs_with("OsExecuteOEMNVRAMAccessCommand"),
            Lines({"6 utils: OsExecuteOEMNVRAMAccessCommand:  returns bRet [1]\n"}));
}

TEST_F(OemNvram, RefusesARequestThatDoesNotFit) {
  EXPECT_EQ(OsExecuteOEMNVRAMAccessCommand(kFd, Bytes(503, 1), response), 1);
  EXPECT_EQ(OsExecuteOEMNVRAMAccessCommand(kFd, Bytes(65536, 1), response), 1);
  EXPECT_EQ(OsExecuteOEMNVRAMAccessCommand(kFd, Bytes(65536 + 20, 1), response), 1);
}

}  // namespace
