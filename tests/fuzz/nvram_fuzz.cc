// SPDX-License-Identifier: Apache-2.0
// The BMC's answers to KCS requests and what is made of them: variables, the
// reverse mode, intervals.
//
// Input: the debug switches; how often the device is busy; which query; its
// number; then what the reads of the channel give (FakeHost::read_channel).
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "bmc/kcs.h"
#include "bmc/nvram.h"
#include "ortinv/interval.h"
#include "ortinv/rev_mode.h"
#include "ortinv/variables.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr uint8_t kUntouched = 0xA5;

// Reads a variable into a block of exactly that capacity.
int read_variable(int channel, uint16_t capacity, FakeHost& host) {
  std::vector<uint8_t> value(capacity, kUntouched);
  uint8_t status = 0;
  uint16_t length = 0;
  const int result = OsGetEV(channel, "KXHVM6", value.data(), capacity, &status, &length);
  require(length <= capacity, "a value is no longer than its place");
  require(std::all_of(value.begin() + length, value.end(), [](auto b) { return b == kUntouched; }),
          "behind the value nothing is written");
  host.tell(std::to_string(status) + " " + std::string(value.begin(), value.end()));
  return result;
}

int write_variable(int channel, uint16_t length, FakeHost& host) {
  const std::vector<uint8_t> value(length, kUntouched);
  uint8_t status = 0;
  const int result = OsSetEV(channel, "KXHVM6", value.data(), length, &status);
  host.tell(std::to_string(status));
  return result;
}

int execute_kcs(int channel, uint16_t number, FakeHost& host) {
  std::vector<uint8_t> data(number % 600);
  std::vector<uint8_t> answer(number);
  uint16_t length = 0;
  uint8_t completion = 0;
  const KcsRequest request = {
      0x36,          2,      data.data(), static_cast<uint16_t>(data.size()),
      answer.data(), number, &length,     &completion};
  const int result = OsKcsExecCmd_CHIF(channel, request);
  require(result == 0 || result == 1 || result == -1, "a request succeeds or fails");
  host.tell(std::to_string(length) + " " + std::string(answer.begin(), answer.end()));
  return result == 0 ? 0 : 1;
}

int on_own_channel(uint8_t query, uint16_t number, FakeHost& host) {
  constexpr uint16_t kCapacity = 16;
  std::array<uint8_t, kCapacity> value = {};
  uint16_t length = 0;
  const int selector = 7 + number % 5;
  switch (query) {
    case 0:
      host.tell(std::to_string(getRevModeConfig()));
      return 0;
    case 1:
      return setRevModeConfig(static_cast<uint8_t>(number));
    case 2:
      host.tell(std::to_string(getIntervalEV(selector)));
      return 0;
    case 3:
      return setIntervalEV(selector, number);
    default:
      return ortinv_read_variable("KXHVMA", value.data(), number % kCapacity, &length, nullptr) > 4;
  }
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  host.busy_writes = input.byte();
  host.counts_on = true;
  const uint8_t query = input.byte() % 8;
  const uint16_t number = input.word();
  const int channel = host.open_descriptor(FakeHost::Kind::kChannel);
  constexpr std::array kOnOpenChannel = {read_variable, write_variable, execute_kcs};
  const int result =
      query < kOnOpenChannel.size()
          ? kOnOpenChannel[query](channel, number, host)
          : on_own_channel(static_cast<uint8_t>(query - kOnOpenChannel.size()), number, host);
  require(result == 0 || result == 1, "a query succeeds or fails");
  require(host.open_descriptors() == 1, "a query closes the channel that it opened, no other");
  host.tell(std::to_string(result));
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
