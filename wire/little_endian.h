// SPDX-License-Identifier: Apache-2.0
// The one way in which bytes from outside are read and packets are written: a
// span of bytes and an offset, little-endian, never beyond the span's end. No
// pointer casts, no alignment, no effects.
#ifndef TVUREV_WIRE_LITTLE_ENDIAN_H_
#define TVUREV_WIRE_LITTLE_ENDIAN_H_

#include <cstddef>
#include <cstdint>
#include <span>

// Read a little-endian field at offset. A byte outside the span reads as zero,
// so that no length or offset from a packet can reach foreign memory.
constexpr uint8_t get_u8(std::span<const uint8_t> bytes, size_t offset) {
  return offset < bytes.size() ? bytes[offset] : uint8_t{0};
}
constexpr uint16_t get_u16(std::span<const uint8_t> bytes, size_t offset) {
  return static_cast<uint16_t>(get_u8(bytes, offset) | (get_u8(bytes, offset + 1) << 8));
}
constexpr uint32_t get_u32(std::span<const uint8_t> bytes, size_t offset) {
  if (offset < bytes.size() && bytes.size() - offset >= sizeof(uint32_t)) {
    // Four bytes that compilers read at once: numbers are most of a notification.
    const auto field = bytes.subspan(offset).first<sizeof(uint32_t)>();
    return field[0] | (uint32_t{field[1]} << 8) | (uint32_t{field[2]} << 16) |
           (uint32_t{field[3]} << 24);
  }
  return get_u16(bytes, offset) | (static_cast<uint32_t>(get_u16(bytes, offset + 2)) << 16);
}

// Write a little-endian field at offset. A byte outside the span is dropped.
constexpr void put_u8(std::span<uint8_t> bytes, size_t offset, uint8_t value) {
  if (offset < bytes.size()) {
    bytes[offset] = value;
  }
}
constexpr void put_u16(std::span<uint8_t> bytes, size_t offset, uint16_t value) {
  put_u8(bytes, offset, static_cast<uint8_t>(value & 0xFF));
  put_u8(bytes, offset + 1, static_cast<uint8_t>(value >> 8));
}
constexpr void put_u32(std::span<uint8_t> bytes, size_t offset, uint32_t value) {
  put_u16(bytes, offset, static_cast<uint16_t>(value & 0xFFFF));
  put_u16(bytes, offset + 2, static_cast<uint16_t>(value >> 16));
}

#endif  // TVUREV_WIRE_LITTLE_ENDIAN_H_
