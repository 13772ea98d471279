// SPDX-License-Identifier: Apache-2.0
// Where the queries find what in the structures that they read: the maker's OEM
// types, and the PCI addresses of slots and onboard devices. docs/smbios.md shows
// the bytes. Offsets count from the structure's first byte, multi-byte fields are
// little-endian, a text's field holds its string number. Each type has a name
// space of its own. Nothing here has effects.
#ifndef TVUREV_SMBIOS_OEM_LAYOUT_H_
#define TVUREV_SMBIOS_OEM_LAYOUT_H_

#include <cstddef>
#include <cstdint>

namespace layout {

// A byte that holds a PCI device in bits 7..3 and a function in bits 2..0.
constexpr uint8_t device_of(uint8_t device_function) {
  return device_function >> 3;
}
constexpr uint8_t function_of(uint8_t device_function) {
  return device_function & 7;
}
// Numbers beyond their bits are cut.
constexpr uint8_t device_function_of(uint32_t device, uint32_t function) {
  return static_cast<uint8_t>(device << 3 | (function & 7));
}

// System slot.
namespace slot {
inline constexpr uint8_t kType = 9;
inline constexpr size_t kSegment = 13;  // u16
inline constexpr size_t kBus = 15;
inline constexpr size_t kDeviceFunction = 16;
inline constexpr uint8_t kLengthWithAddress = 17;
}  // namespace slot

// Onboard device, extended.
namespace onboard {
inline constexpr uint8_t kType = 41;
inline constexpr size_t kSegment = 7;  // u16
inline constexpr size_t kBus = 9;
inline constexpr size_t kDeviceFunction = 10;
inline constexpr uint8_t kLengthWithAddress = 11;
}  // namespace onboard

// OEM: what belongs to a device, known by the handle of its slot or onboard
// device or, from a formatted length of 40 on, by its PCI address.
namespace correlation {
inline constexpr uint8_t kType = 203;
inline constexpr size_t kDeviceHandle = 4;  // u16
inline constexpr size_t kNicPort = 25;
inline constexpr size_t kName = 30;        // text
inline constexpr size_t kLocation = 31;    // text
inline constexpr size_t kPartNumber = 34;  // text
inline constexpr size_t kSegment = 36;     // u16
inline constexpr size_t kBus = 38;
inline constexpr size_t kDeviceFunction = 39;
inline constexpr uint8_t kLengthWithPartNumber = 36;
inline constexpr uint8_t kLengthWithAddress = 40;
}  // namespace correlation

// OEM: a NIC port.
namespace nic {
inline constexpr uint8_t kType = 233;
inline constexpr size_t kSegment = 4;  // u16
inline constexpr size_t kBus = 6;
inline constexpr size_t kDeviceFunction = 7;
inline constexpr size_t kPort = 40;  // 0: not given
inline constexpr uint8_t kLengthWithAddress = 8;
}  // namespace nic

// OEM: a text that belongs to a correlation.
namespace linked_text {
inline constexpr uint8_t kType = 240;
inline constexpr size_t kCorrelationHandle = 4;  // u16
inline constexpr size_t kText = 10;              // text
}  // namespace linked_text

// OEM: a drive.
namespace drive {
inline constexpr uint8_t kType = 242;
inline constexpr size_t kSerial = 39;    // text
inline constexpr size_t kText = 40;      // text
inline constexpr size_t kLocation = 42;  // text
inline constexpr uint8_t kLengthWithSerial = 40;
inline constexpr uint8_t kLengthWithText = 42;  // its byte ends at 41
inline constexpr uint8_t kLengthWithLocation = 43;
}  // namespace drive

}  // namespace layout

#endif  // TVUREV_SMBIOS_OEM_LAYOUT_H_
