// SPDX-License-Identifier: Apache-2.0
#include "bmc/nvram.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/heap_buffer.h"
#include "bmc/kcs.h"
#include "log/log.h"
#include "wire/kcs.h"
#include "wire/little_endian.h"

namespace {

// Fills operation, length and name; a set's value follows the name's zero byte.
void put_request(std::span<uint8_t> request, uint8_t operation, uint16_t length, const char* name) {
  put_u8(request, nvram::request::kOperation, operation);
  put_u16(request, nvram::request::kLength, length);
  std::copy_n(name, strlen(name), request.begin() + nvram::request::kName);
}

}  // namespace

int OsGetEV(int fd, const char* name, uint8_t* value, uint16_t capacity, uint8_t* status,
            uint16_t* length) {
  *length = 0;
  const size_t request_size = strlen(name) + nvram::request::kOverhead;
  const size_t response_size = capacity + nvram::response::kOverhead;
  const HeapBuffer request = allocate_zeroed(request_size);
  const HeapBuffer response = allocate_zeroed(response_size);
  if (request == nullptr || response == nullptr) {
    return 1;
  }
  const std::span<uint8_t> answer(response.get(), response_size);
  put_request({request.get(), request_size}, nvram::request::kGet, capacity, name);
  if (OsExecuteOEMNVRAMAccessCommand(fd, {request.get(), request_size}, answer) != 0) {
    return 1;
  }
  // The exchange succeeded whatever the status says: "no such variable" is an answer.
  *status = get_u8(answer, nvram::response::kStatus);
  DebugLog("utils: OsGetEV(): After OsExecuteOEMNVRAMAccessCommand:  pucStatus is [0x%x]\n",
           *status);
  if (*status != nvram::response::kSuccess) {
    return 0;
  }
  const uint16_t value_length = get_u16(answer, nvram::response::kLength);
  // A part of a value is worse than none: nothing is copied, and the length says so.
  if (value_length > capacity) {
    DebugLog("utils: OsGetEV():  WARNING: %s %d bytes, buffer is %d bytes\n", name, value_length,
             capacity);
    return 0;
  }
  std::copy_n(answer.begin() + nvram::response::kValue, value_length, value);
  *length = value_length;
  return 0;
}

int OsSetEV(int fd, const char* name, const uint8_t* value, uint16_t value_length,
            uint8_t* status) {
  const size_t name_length = strlen(name);
  const size_t request_size = name_length + nvram::request::kOverhead + value_length;
  const size_t response_size = value_length + nvram::response::kOverhead;
  const HeapBuffer request = allocate_zeroed(request_size);
  const HeapBuffer response = allocate_zeroed(response_size);
  if (request == nullptr || response == nullptr) {
    return 1;
  }
  const std::span<uint8_t> answer(response.get(), response_size);
  put_request({request.get(), request_size}, nvram::request::kSet, value_length, name);
  std::copy_n(value, value_length, request.get() + name_length + nvram::request::kOverhead);
  if (OsExecuteOEMNVRAMAccessCommand(fd, {request.get(), request_size}, answer) != 0) {
    return 1;
  }
  *status = get_u8(answer, nvram::response::kStatus);
  return 0;
}
