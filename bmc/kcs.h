// SPDX-License-Identifier: Apache-2.0
// IPMI-style KCS requests carried in CHIF packets, and the maker's OEM command
// that gives access to the BMC's non-volatile memory. docs/protocol-chif.md
// shows the packets. All messages go through DebugLog.
#ifndef TVUREV_BMC_KCS_H_
#define TVUREV_BMC_KCS_H_

#include <cstddef>
#include <cstdint>
#include <span>

// One request and the places for its outcome. Nothing is owned.
struct KcsRequest {
  uint8_t network_function;
  uint8_t command;
  const uint8_t* request_data;  // may be null when request_length is 0
  uint16_t request_length;      // at most kcs::request::kDataMax
  uint8_t* response;
  uint16_t response_size;     // bytes filled whenever the response holds data
  uint16_t* response_length;  // receives the length of the response data
  uint8_t* completion_code;   // receives the IPMI completion code
};

// Carries out a request on an open channel; repeats a failed exchange once.
// Fills the whole response buffer, zero-padded, when the response holds data; a
// response without any gives length 0 and leaves the buffer untouched.
// Returns 0; the failure of the second exchange; or 1 when the response belongs
// to another request or the request is too long. Counts message ids from 1 to
// 64, process-wide.
int OsKcsExecCmd_CHIF(int fd, const KcsRequest& request);

// Carries out the OEM NVRAM access command (network function 0x36, command
// 0x02). Returns 0 when the exchange succeeded with completion code 0, else 1.
int OsExecuteOEMNVRAMAccessCommand(int fd, std::span<const uint8_t> request,
                                   std::span<uint8_t> response);

#endif  // TVUREV_BMC_KCS_H_
