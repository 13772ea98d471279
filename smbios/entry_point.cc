// SPDX-License-Identifier: Apache-2.0
#include "smbios/entry_point.h"

#include <algorithm>
#include <numeric>
#include <string_view>

#include "wire/little_endian.h"

namespace {

constexpr size_t kIntermediate = 16;  // where a 32-bit entry point has a legacy one
constexpr size_t kIntermediateSize = 15;
constexpr size_t kSize32 = 31;
constexpr size_t kSize64 = 24;

bool begins_with(std::span<const uint8_t> bytes, std::string_view anchor) {
  return bytes.size() >= anchor.size() &&
         std::equal(anchor.begin(), anchor.end(), bytes.begin(),
                    [](char wanted, uint8_t byte) { return static_cast<uint8_t>(wanted) == byte; });
}

bool sums_to_zero(std::span<const uint8_t> bytes) {
  return (std::accumulate(bytes.begin(), bytes.end(), 0U) & 0xFF) == 0;
}

uint64_t get_u64(std::span<const uint8_t> bytes, size_t offset) {
  return get_u32(bytes, offset) | uint64_t{get_u32(bytes, offset + 4)} << 32;
}

// The version is in two digits of a byte.
EntryPoint read_legacy(std::span<const uint8_t> bytes) {
  EntryPoint read;
  read.kind = kSmbEntryPointLegacy;
  read.length = get_u16(bytes, 6);
  read.address = get_u32(bytes, 8);
  read.count = get_u16(bytes, 12);
  read.major = static_cast<uint8_t>(get_u8(bytes, 14) >> 4);
  read.minor = static_cast<uint8_t>(get_u8(bytes, 14) & 0xF);
  read.size = kIntermediateSize;
  return read;
}

EntryPoint read_32(std::span<const uint8_t> bytes) {
  EntryPoint read = read_legacy(bytes.subspan(std::min(kIntermediate, bytes.size())));
  read.kind = kSmbEntryPoint32;
  read.major = get_u8(bytes, 6);
  read.minor = get_u8(bytes, 7);
  read.size = get_u8(bytes, 5);
  return read;
}

EntryPoint read_64(std::span<const uint8_t> bytes) {
  EntryPoint read;
  read.kind = kSmbEntryPoint64;
  read.size = get_u8(bytes, 6);
  read.major = get_u8(bytes, 7);
  read.minor = get_u8(bytes, 8);
  read.revision = get_u8(bytes, 9);
  read.length = get_u32(bytes, 12);
  read.address = get_u64(bytes, 16);
  return read;
}

// Early firmware left the last byte of a 32-bit entry point out of its length.
size_t least_size(SmbEntryPointKind kind) {
  return kind == kSmbEntryPoint32 ? kSize32 - 1 : kSize64;
}

}  // namespace

EntryPoint read_entry_point(std::span<const uint8_t> bytes) {
  if (begins_with(bytes, "_SM3_")) {
    return read_64(bytes);
  }
  if (begins_with(bytes, "_SM_")) {
    return read_32(bytes);
  }
  return begins_with(bytes, "_DMI_") ? read_legacy(bytes) : EntryPoint{};
}

const char* entry_point_defect(std::span<const uint8_t> bytes) {
  const EntryPoint read = read_entry_point(bytes);
  if (read.kind == kSmbEntryPointNone) {
    return "it begins with no anchor";
  }
  if (read.kind != kSmbEntryPointLegacy && read.size < least_size(read.kind)) {
    return "its length is too small";
  }
  if (std::max(read.size, read.kind == kSmbEntryPoint32 ? kSize32 : size_t{0}) > bytes.size()) {
    return "it is cut off";
  }
  if (!sums_to_zero(bytes.first(read.size))) {
    return "its checksum is wrong";
  }
  if (read.kind == kSmbEntryPoint32) {
    const auto intermediate = bytes.subspan(kIntermediate, kIntermediateSize);
    if (!begins_with(intermediate, "_DMI_")) {
      return "its second anchor is missing";
    }
    if (!sums_to_zero(intermediate)) {
      return "its second checksum is wrong";
    }
  }
  return nullptr;
}
