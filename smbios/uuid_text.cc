// SPDX-License-Identifier: Apache-2.0
#include "smbios/uuid_text.h"

#include <cstdio>

#include "wire/little_endian.h"

namespace {

// Marks of a version-1 UUID in the third group, and the same with its bytes the
// other way round.
constexpr unsigned kMarks = 0x11D0;
constexpr unsigned kSwappedMarks = 0xD011;

// The bits are tested as masks, not as values, a guess that is kept on purpose:
// callers know hosts by the result (docs/oddities.md: smbios-uuid-guess).
bool stored_big_endian(unsigned time_high) {
  return time_high != 0 && (time_high & kMarks) != kMarks &&
         (time_high & kSwappedMarks) == kSwappedMarks;
}

}  // namespace

UuidText uuid_text(std::span<const uint8_t> uuid) {
  unsigned time_low = get_u32(uuid, 0);
  unsigned time_mid = get_u16(uuid, 4);
  unsigned time_high = get_u16(uuid, 6);
  if (stored_big_endian(time_high)) {
    time_low = __builtin_bswap32(time_low);
    time_mid = __builtin_bswap16(static_cast<uint16_t>(time_mid));
    time_high = __builtin_bswap16(static_cast<uint16_t>(time_high));
  }
  const auto byte = [&](size_t offset) { return static_cast<unsigned>(get_u8(uuid, offset)); };
  UuidText text = {};
  snprintf(text.data(), text.size(), "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", time_low,
           time_mid, time_high, byte(8), byte(9), byte(10), byte(11), byte(12), byte(13), byte(14),
           byte(15));
  return text;
}
