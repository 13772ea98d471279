// SPDX-License-Identifier: Apache-2.0
// What stands before each packet in a recording of the BMC's channels or of the
// agents' socket: that which the bare packet does not say. docs/protocol-chif.md
// shows the bytes, tools/wireshark/tvurev.lua reads them. Every field is
// little-endian. Nothing here has effects.
#ifndef TVUREV_LAB_CAPTURE_RECORD_HEADER_H_
#define TVUREV_LAB_CAPTURE_RECORD_HEADER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "wire/little_endian.h"

namespace record_header {
inline constexpr size_t kVersion = 0;    // u8: kThisVersion
inline constexpr size_t kDirection = 1;  // u8: kWritten or kRead
inline constexpr size_t kSource = 4;     // u32: the channel's number, or the agent's process number
inline constexpr size_t kSize = 8;

inline constexpr uint8_t kThisVersion = 1;
inline constexpr uint8_t kWritten = 0;  // by the host's program: to the BMC
inline constexpr uint8_t kRead = 1;     // by the host's program: from the BMC, from an agent
}  // namespace record_header

inline std::array<uint8_t, record_header::kSize> make_record_header(uint8_t direction,
                                                                    uint32_t source) {
  std::array<uint8_t, record_header::kSize> header = {};
  put_u8(header, record_header::kVersion, record_header::kThisVersion);
  put_u8(header, record_header::kDirection, direction);
  put_u32(header, record_header::kSource, source);
  return header;
}

#endif  // TVUREV_LAB_CAPTURE_RECORD_HEADER_H_
