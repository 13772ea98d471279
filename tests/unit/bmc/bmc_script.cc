// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/bmc/bmc_script.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "bmc/kcs.h"
#include "log/debug_flags.h"

namespace {

constexpr int kProbeFd = 99;

// Sends an empty request into a failing channel, to see where the process's
// message counter stands.
int current_message_id() {
  CallScript script;
  script.write(kProbeFd).fails(EIO).times(2);
  uint16_t length = 0;
  uint8_t completion_code = 0;
  OsKcsExecCmd_CHIF(kProbeFd, {.network_function = 0,
                               .command = 0,
                               .request_data = nullptr,
                               .request_length = 0,
                               .response = nullptr,
                               .response_size = 0,
                               .response_length = &length,
                               .completion_code = &completion_code});
  return script.written().at(0).at(2);
}

Bytes kcs_packet(int message_id, uint8_t network_function, std::string_view rest_hex) {
  return ChifBuilder(0)
      .seqno(static_cast<uint16_t>(message_id))
      .svc(1)
      .u8_at(8, static_cast<uint8_t>(network_function << 2))
      .u8_at(9, 0x02)
      .bytes_at(10, bytes_of(rest_hex))
      .bytes();
}

}  // namespace

std::string channel_path(int channel) {
  return "/vmfs/devices/char/vmkdriver/zemox-d0ccb" + std::to_string(channel);
}

Bytes nvram_request(int message_id, std::string_view body_hex) {
  return kcs_packet(message_id, 0x36, body_hex);
}

Bytes nvram_response(int message_id, std::string_view body_hex, uint8_t completion_code) {
  return kcs_packet(message_id, 0x37, hex_of(Bytes{completion_code}) + std::string(body_hex));
}

BmcTest::BmcTest() : message_id_(current_message_id()) {}

void BmcTest::SetUp() {
  g_utilities_debug_flag = 1;
  script.file("/tmp/ortAll.text");
}

void BmcTest::TearDown() {
  g_utilities_debug_flag = 0;
}

void BmcTest::expect_open(int fd, int channel) {
  for (int busy = 4; busy > channel; --busy) {
    script.open(channel_path(busy), kChannelFlags).fails(EBUSY);
  }
  script.open(channel_path(channel), kChannelFlags).returns(fd);
  script.usleep(10'000);
}

void BmcTest::expect_no_channel() {
  for (int sweep = 0; sweep < 5; ++sweep) {
    for (int channel = 4; channel >= 0; --channel) {
      script.open(channel_path(channel), kChannelFlags).fails(EBUSY);
    }
    script.usleep(100'000);
  }
}

void BmcTest::expect_exchange(int fd, const Bytes& request, const Bytes& response) {
  script.write(fd, request);
  script.usleep(10'000);
  script.ioctl(fd).gives(response);
}

void BmcTest::expect_failed_write(int fd, const Bytes& request, int error) {
  script.write(fd, request).fails(error);
}

void BmcTest::expect_nvram(int fd, std::string_view request_hex, std::string_view response_hex) {
  const int id = next_message_id();
  expect_exchange(fd, nvram_request(id, request_hex), nvram_response(id, response_hex));
}

void BmcTest::expect_nvram_failure(int fd, std::string_view request_hex) {
  const Bytes request = nvram_request(next_message_id(), request_hex);
  expect_failed_write(fd, request, EIO);
  expect_failed_write(fd, request, EIO);
}

int BmcTest::next_message_id() {
  message_id_ = message_id_ % 64 + 1;
  return message_id_;
}

Lines BmcTest::logs_with(std::string_view text) const {
  Lines lines;
  std::copy_if(script.logs().begin(), script.logs().end(), std::back_inserter(lines),
               [&](const std::string& line) { return line.find(text) != std::string::npos; });
  return lines;
}
