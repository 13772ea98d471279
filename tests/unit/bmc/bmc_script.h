// SPDX-License-Identifier: Apache-2.0
// What the tests of the BMC channel share: a script with all debug messages on,
// and the call sequences that every query is made of.
#ifndef TVUREV_TESTS_UNIT_BMC_BMC_SCRIPT_H_
#define TVUREV_TESTS_UNIT_BMC_BMC_SCRIPT_H_

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/call_script.h"
#include "tests/support/packets.h"

// The descriptors of a channel, and of a second one where two are opened.
inline constexpr int kFd = 7;
inline constexpr int kSecondFd = 8;

inline constexpr int kChannelFlags = O_RDWR | O_EXCL | O_CLOEXEC;

std::string channel_path(int channel);

// The KCS request that carries an OEM NVRAM request, and a response to it.
Bytes nvram_request(int message_id, std::string_view body_hex);
Bytes nvram_response(int message_id, std::string_view body_hex, uint8_t completion_code = 0);

class BmcTest : public testing::Test {
 private:
  int message_id_;  // asked for before the script begins

 protected:
  BmcTest();
  void SetUp() override;
  void TearDown() override;

  // A nameless open that finds channel 4, or another one, free.
  void expect_open(int fd, int channel = 4);
  // Five sweeps over channels 4 to 0, all busy.
  void expect_no_channel();
  // A write, the pause and a read that yields the response at once.
  void expect_exchange(int fd, const Bytes& request, const Bytes& response);
  // A write that fails; nothing is read.
  void expect_failed_write(int fd, const Bytes& request, int error);
  // One NVRAM request answered with a response, with the next message id.
  void expect_nvram(int fd, std::string_view request_hex, std::string_view response_hex);
  // One NVRAM request whose two exchanges both fail to write.
  void expect_nvram_failure(int fd, std::string_view request_hex);

  // The id of the next request: a process counts from 1 to 64 and over again.
  int next_message_id();

  // The messages that hold this text, in order.
  Lines logs_with(std::string_view text) const;

  CallScript script;
};

#endif  // TVUREV_TESTS_UNIT_BMC_BMC_SCRIPT_H_
