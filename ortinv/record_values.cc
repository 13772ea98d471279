// SPDX-License-Identifier: Apache-2.0
#include "ortinv/record_values.h"

#include <ortinv/smbios_records.h>

#include <algorithm>
#include <cstring>

namespace {

// The lengths of structures that have a field: where a record has it.
struct Extent {
  uint8_t type;
  std::string_view key;  // "": all others of the type
  uint8_t least;
  uint8_t most = 255;
};

constexpr Extent kExtents[] = {
    {0, "vendor", 5},
    {0, "version", 6},
    {0, "address_segment", 8},
    {0, "release_date", 9},
    {0, "rom_size_kib", 10},
    {0, "characteristics", 18},
    {0, "extended_characteristics", 21},  // the record has none at 20
    {1, "uuid", 25},
    {1, "wake_up_type", 25},
    {1, "sku", 27},
    {1, "family", 27},
    {1, "", 8},
    {9, "designation", 5},
    {9, "slot_type", 6},
    {9, "data_bus_width", 7},
    {9, "current_usage", 8},
    {9, "slot_length", 9},
    {9, "slot_id", 11},
    {9, "characteristics", 13},
    {9, "", 17},
    {195, "", 5, 5},
    {204, "", 11},
    {222, "", 6},
};

bool has_field(const SmbStructure& structure, std::string_view key) {
  const auto* const found =
      std::find_if(std::begin(kExtents), std::end(kExtents), [&](const Extent& extent) {
        return extent.type == structure.type && (extent.key.empty() || extent.key == key);
      });
  return found != std::end(kExtents) && structure.length >= found->least &&
         structure.length <= found->most;
}

// The record's size wraps from 8 MiB on: then there is none to show.
bool wraps(const SmbStructure& structure, std::string_view key) {
  constexpr size_t kRomSize = 9;
  return structure.type == 0 && key == "rom_size_kib" && structure.size > kRomSize &&
         structure.bytes[kRomSize] > 0x7F;
}

void decode(void* record, const SmbStructure& structure) {
  switch (structure.type) {
    case 0:
      SmbDecodeBiosInfo(static_cast<SmbBiosInfoRec*>(record), structure.bytes, 0);
      break;
    case 1:
      SmbDecodeSystemInfo(static_cast<SmbSystemInfoRec*>(record), structure.bytes, 0);
      break;
    case 9:
      SmbDecodeSlot(static_cast<SmbSlotRec*>(record), structure.bytes, 0);
      break;
    case 195:
      SmbDecodeServerId(static_cast<SmbServerIdRec*>(record), structure.bytes, 0);
      break;
    case 204:
      SmbDecodeEnclosure(static_cast<SmbEnclosureRec*>(record), structure.bytes, 0);
      break;
    case 222:
      SmbDecodeGbxTable(static_cast<SmbGbxTableRec*>(record), structure.bytes, 0);
      break;
    default:
      break;
  }
}

size_t size_of(const SmbField& field, const SmbStructure& structure) {
  switch (field.kind) {
    case kSmbFieldText:
    case kSmbFieldBytes:
      return field.size_or_count;
    case kSmbFieldU8:
      return sizeof(uint8_t);
    case kSmbFieldU16:
      return sizeof(uint16_t);
    case kSmbFieldU32:
      return sizeof(uint32_t);
    case kSmbFieldPortMaps:
      break;
  }
  constexpr size_t kFirstEntry = 6;
  const size_t there = (structure.length - kFirstEntry) / sizeof(GbxConnectorEntry);
  return std::min<size_t>(there, field.size_or_count) * sizeof(GbxConnectorEntry);
}

}  // namespace

RecordValues record_values(const SmbStructure& structure) {
  RecordValues decoded;
  decoded.type = SmbFindType(structure.type);
  if (decoded.type == nullptr) {
    return decoded;
  }
  decoded.record.resize(decoded.type->record_size);
  decode(decoded.record.data(), structure);
  const std::span<const uint8_t> record = decoded.record;
  for (const SmbField& field : std::span(decoded.type->fields, decoded.type->field_count)) {
    if (has_field(structure, field.key) && !wraps(structure, field.key)) {
      decoded.values.push_back({&field, record.subspan(field.offset, size_of(field, structure))});
    }
  }
  return decoded;
}

uint32_t number_of(const RecordValue& value) {
  uint32_t number = 0;
  for (size_t i = 0; i < value.bytes.size() && i < sizeof number; ++i) {
    number |= static_cast<uint32_t>(value.bytes[i]) << 8 * i;
  }
  return number;
}

std::string_view text_of(const RecordValue& value) {
  const auto* text = reinterpret_cast<const char*>(value.bytes.data());
  return {text, strnlen(text, value.bytes.size())};
}
