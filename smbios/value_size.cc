// SPDX-License-Identifier: Apache-2.0
#include "smbios/value_size.h"

namespace {

constexpr uint64_t kKib = 1024;
constexpr uint64_t kMib = 1024 * kKib;

void append_rom_size(bool extended, Draft& value, std::string& characters) {
  if (!extended) {
    value.number = (value.number + 1) * 64 * kKib;
  } else if (value.number >> 14 < 2) {
    value.number = (value.number & 0x3FFF) * kMib * (value.number >> 14 == 0 ? 1 : kKib);
  } else {
    value.state = kSmbValueReserved;
    characters += "Reserved (0x";
    append_hex(characters, value.number, 4);
    characters += ')';
    return;
  }
  append_size(characters, value.number, 1);
}

void append_cache_size(bool extended, Draft& value, std::string& characters) {
  const unsigned granularity_bit = extended ? 31 : 15;
  const uint64_t units = value.number & ((uint64_t{1} << granularity_bit) - 1);
  value.number = units * (value.number >> granularity_bit != 0 ? 64 * kKib : kKib);
  append_size(characters, value.number, 1);
}

void append_memory_size(bool extended, Draft& value, std::string& characters) {
  if (extended) {
    value.number = (value.number & 0x7FFFFFFF) * kMib;
    append_size(characters, value.number, 2);
  } else {
    value.number = (value.number & 0x7FFF) * (value.number >> 15 != 0 ? kKib : kMib);
    append_size(characters, value.number, 1);
  }
}

void append_array_capacity(const Raw& raw, Draft& value, std::string& characters) {
  constexpr uint64_t kSeeExtended = 0x80000000;
  if (raw.extended) {
    append_size(characters, raw.number, 0);
  } else if (raw.number == kSeeExtended) {
    special(value, characters, "Unknown");
  } else {
    value.number = raw.number * kKib;
    append_size(characters, value.number, 1);
  }
}

void append_byte_size(Draft& value, std::string& characters) {
  if (value.number == UINT64_MAX) {
    special(value, characters, "Unknown");
  } else if (value.number == 0) {
    special(value, characters, "None");
  } else {
    append_size(characters, value.number, 0);
  }
}

// The number of a last KiB ends with its last byte.
void append_address(const Raw& raw, bool last, Draft& value, std::string& characters) {
  if (!raw.extended) {
    value.number = raw.number * kKib + (last ? kKib - 1 : 0);
  }
  characters += "0x";
  append_hex(characters, value.number, raw.extended ? 16 : 11);
}

}  // namespace

bool append_size_field(const Raw& raw, Draft& value, std::string& characters) {
  switch (static_cast<unsigned>(value.field->kind)) {
    case kSmbKindRomSize:
      append_rom_size(raw.extended, value, characters);
      return true;
    case kSmbKindCacheSize:
      append_cache_size(raw.extended, value, characters);
      return true;
    case kSmbKindMemorySize:
      append_memory_size(raw.extended, value, characters);
      return true;
    case kSmbKindArrayCapacity:
      append_array_capacity(raw, value, characters);
      return true;
    case kSmbKindByteSize:
      append_byte_size(value, characters);
      return true;
    case kSmbKindStartAddress:
    case kSmbKindEndAddress:
      append_address(raw, value.field->kind == kSmbKindEndAddress, value, characters);
      return true;
    default:
      return false;
  }
}
