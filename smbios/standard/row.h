// SPDX-License-Identifier: Apache-2.0
// What the tables of this folder are written with: one call a row, which names
// what the row says and leaves the rest zero. "since" is the least formatted length
// of a structure that has the field.
#ifndef TVUREV_SMBIOS_STANDARD_ROW_H_
#define TVUREV_SMBIOS_STANDARD_ROW_H_

#include <cstddef>
#include <cstdint>

#include "ortinv/smbios_standard.h"

namespace standard {

constexpr SmbStandardField field(SmbValueKind kind, const char* key, const char* name,
                                 uint8_t offset, uint8_t width, uint8_t since,
                                 const char* unit = nullptr) {
  SmbStandardField made{};
  made.kind = kind;
  made.key = key;
  made.name = name;
  made.offset = offset;
  made.width = width;
  made.since = since;
  made.unit = unit;
  return made;
}

constexpr SmbStandardField text(const char* key, const char* name, uint8_t offset, uint8_t since) {
  return field(kSmbKindText, key, name, offset, 1, since);
}

constexpr SmbStandardField number(const char* key, const char* name, uint8_t offset, uint8_t width,
                                  uint8_t since, const char* unit = nullptr) {
  return field(kSmbKindNumber, key, name, offset, width, since, unit);
}

constexpr SmbStandardField hex(const char* key, const char* name, uint8_t offset, uint8_t width,
                               uint8_t since) {
  return field(kSmbKindHex, key, name, offset, width, since);
}

constexpr SmbStandardField handle(const char* key, const char* name, uint8_t offset,
                                  uint8_t since) {
  return field(kSmbKindHandle, key, name, offset, 2, since);
}

// The row with words for its values, or for the values that are no quantity.
template <size_t Count>
constexpr SmbStandardField with_words(SmbStandardField made, const SmbWord (&words)[Count]) {
  made.words = words;
  made.word_count = Count;
  return made;
}

template <size_t Count>
constexpr SmbStandardField enumeration(const char* key, const char* name, uint8_t offset,
                                       uint8_t since, const SmbWord (&words)[Count]) {
  return with_words(field(kSmbKindEnumeration, key, name, offset, 1, since), words);
}

template <size_t Count>
constexpr SmbStandardField bits(const char* key, const char* name, uint8_t offset, uint8_t width,
                                uint8_t since, const SmbWord (&words)[Count]) {
  return with_words(field(kSmbKindBits, key, name, offset, width, since), words);
}

// The row of a field that is only these bits of its bytes.
constexpr SmbStandardField part(SmbStandardField made, uint8_t first_bit, uint8_t bit_count) {
  made.first_bit = first_bit;
  made.bit_count = bit_count;
  return made;
}

// The row of a field whose value stands elsewhere when it is the mark here.
constexpr SmbStandardField extended(SmbStandardField made, uint32_t mark, uint8_t offset,
                                    uint8_t width) {
  made.extended_mark = mark;
  made.extended = offset;
  made.extended_width = width;
  return made;
}

// The row of a field behind the list of its type.
constexpr SmbStandardField behind_list(SmbStandardField made) {
  made.behind_list = 1;
  return made;
}

template <size_t Count>
constexpr SmbStandardType type(uint8_t number, const char* name,
                               const SmbStandardField (&fields)[Count]) {
  return {number, name, fields, Count};
}

// Values that many fields share.
inline constexpr SmbWord kUnknownZero[] = {{0, "Unknown"}};
inline constexpr SmbWord kUnknown8000[] = {{0x8000, "Unknown"}};
inline constexpr SmbWord kUnknownFFFF[] = {{0xFFFF, "Unknown"}};
inline constexpr SmbWord kHandleWords[] = {{0xFFFF, "Not Provided"}};
inline constexpr SmbWord kErrorHandleWords[] = {{0xFFFE, "Not Provided"}, {0xFFFF, "No Error"}};

// Status of probes and cooling devices, and of the chassis' parts.
inline constexpr SmbWord kProbeStatus[] = {{1, "Other"},    {2, "Unknown"},
                                           {3, "OK"},       {4, "Non-critical"},
                                           {5, "Critical"}, {6, "Non-recoverable"}};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_ROW_H_
