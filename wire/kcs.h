// SPDX-License-Identifier: Apache-2.0
// IPMI-style KCS requests carried in CHIF packets (command chif::kCmdKcs), and
// the maker's command that reads and writes the BMC's variables.
// docs/protocol-chif.md shows the bytes. Every field is little-endian; offsets
// count from the packet's first byte unless said otherwise. Nothing here has
// effects.
#ifndef TVUREV_WIRE_KCS_H_
#define TVUREV_WIRE_KCS_H_

#include <cstddef>
#include <cstdint>

namespace kcs {

inline constexpr size_t kPacketSize = 512;
inline constexpr int kMessageIdMax = 64;  // seqno runs from 1 to this

// Common to request and response.
inline constexpr size_t kNetworkFunction = 8;  // u8: shifted left; a response's is one more
inline constexpr unsigned kNetworkFunctionShift = 2;
inline constexpr size_t kCommand = 9;  // u8

namespace request {
inline constexpr size_t kData = 10;
inline constexpr size_t kDataMax = kPacketSize - kData;  // 502
}  // namespace request

namespace response {
inline constexpr size_t kCompletionCode = 10;  // u8
inline constexpr size_t kData = 11;
inline constexpr size_t kDataMax = kPacketSize - kData;  // 501
}  // namespace response

inline constexpr uint8_t kCompletionOk = 0;
inline constexpr uint8_t kCompletionInvalidCommand = 0xC1;

// The maker's command for access to the BMC's non-volatile memory.
inline constexpr uint8_t kOemNetworkFunction = 0x36;
inline constexpr uint8_t kOemNvramCommand = 0x02;

}  // namespace kcs

// Data of that command; offsets count from the data's first byte.
namespace nvram {

namespace request {
inline constexpr size_t kOperation = 0;  // u8: kGet or kSet
inline constexpr size_t kLength = 1;     // u16: capacity for a get, value's length for a set
inline constexpr size_t kName = 3;       // text and a zero byte; a set's value follows
inline constexpr size_t kOverhead = 4;   // what is neither name nor value

inline constexpr uint8_t kGet = 4;
inline constexpr uint8_t kSet = 5;
}  // namespace request

namespace response {
inline constexpr size_t kStatus = 1;    // u8
inline constexpr size_t kLength = 2;    // u16: of the value
inline constexpr size_t kValue = 4;     // of a get
inline constexpr size_t kOverhead = 5;  // what is not the value, and one byte more

inline constexpr uint8_t kSuccess = 0;
inline constexpr uint8_t kNotFound = 0x88;
}  // namespace response

// The variables, and their sizes in bytes.
inline constexpr const char* kRevModeVariable = "KXHVM6";     // 1: reverse mode, 0 is off
inline constexpr const char* kInterval10Variable = "KXHVMA";  // 4, as are the next two
inline constexpr const char* kInterval9Variable = "KXHVM9";
inline constexpr const char* kInterval8Variable = "KXHVM8";

}  // namespace nvram

#endif  // TVUREV_WIRE_KCS_H_
