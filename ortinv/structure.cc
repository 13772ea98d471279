// SPDX-License-Identifier: Apache-2.0
#include "ortinv/structure.h"

#include <ortinv/smbios_types.h>

#include <algorithm>
#include <string_view>

DecodedStructure decode(const SmbStructure& structure) {
  SmbDecoded* decoded = nullptr;
  SmbDecode(&structure, &decoded);
  return DecodedStructure(decoded);
}

const char* structure_name(uint8_t type) {
  if (const SmbStandardType* standard = SmbFindStandardType(type); standard != nullptr) {
    return standard->name;
  }
  if (const SmbType* record = SmbFindType(type); record != nullptr) {
    return record->name;
  }
  return type < 128 ? "Reserved type" : "OEM-specific type";
}

bool is_known(const SmbStructure& structure) {
  return SmbFindStandardType(structure.type) != nullptr || SmbFindType(structure.type) != nullptr;
}

bool is_number(const SmbValue& value) {
  if (value.shape != kSmbShapeNumber || value.state != kSmbValueGiven) {
    return false;
  }
  return value.field->kind != kSmbKindEnumeration && value.field->kind != kSmbKindYesNo;
}

std::string hexadecimal_bytes(const SmbStructure& structure, const char* indentation) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr size_t kBytesInALine = 16;
  const bool in_lines = *indentation != '\0';
  const size_t length = std::min<size_t>(structure.length, structure.size);
  std::string out;
  for (size_t i = 0; i < length; ++i) {
    const uint8_t byte = structure.bytes[i];
    if (in_lines) {
      out += i % kBytesInALine == 0 ? (i == 0 ? "" : "\n") + std::string(indentation) : " ";
    }
    out += kDigits[byte >> 4U];
    out += kDigits[byte & 0xFU];
  }
  return in_lines ? out + "\n" : out;
}
