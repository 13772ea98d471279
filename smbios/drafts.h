// SPDX-License-Identifier: Apache-2.0
// The values of one structure while they are made: texts one behind the other,
// which become one block for the caller at the end.
#ifndef TVUREV_SMBIOS_DRAFTS_H_
#define TVUREV_SMBIOS_DRAFTS_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ortinv/smbios_standard.h"

struct Draft {
  const SmbStandardField* field;
  SmbValueState state;
  uint64_t number;
  size_t text;  // where it begins among the characters
  size_t first_item;
  size_t item_count;
};

struct Drafts {
  std::vector<Draft> values;
  std::vector<size_t> items;  // where each begins among the characters
  std::string characters;     // each text with a zero behind it
};

// Begins a value of which the text is appended to the characters, up to end_text.
inline Draft& begin_value(Drafts& drafts, const SmbStandardField& field, uint64_t number) {
  drafts.values.push_back(
      {&field, kSmbValueGiven, number, drafts.characters.size(), drafts.items.size(), 0});
  return drafts.values.back();
}

// Begins an item of the last value.
inline void begin_item(Drafts& drafts) {
  drafts.items.push_back(drafts.characters.size());
  ++drafts.values.back().item_count;
}

inline void end_text(Drafts& drafts) {
  drafts.characters.push_back('\0');
}

// Append in digits; hexadecimal ones in upper case, as many at least.
void append_decimal(std::string& characters, uint64_t number);
void append_hex(std::string& characters, uint64_t number, size_t digits);
void append_lower_hex(std::string& characters, uint64_t number, size_t digits);

// Appends a number that counts 1 / 10^digits, with all of those digits.
void append_fraction(std::string& characters, int64_t number, unsigned digits);

// Appends a text from outside: what cannot be printed becomes ".".
void append_printable(std::string& characters, std::string_view text);

// Appends a size in the greatest unit that tells it exactly, and none below the
// smallest: 0 bytes, 1 kB, 2 MB and so on.
void append_size(std::string& characters, uint64_t bytes, size_t smallest);

// Returns one block with everything in it, from malloc; null without memory.
SmbDecoded* finish(const SmbStandardType* type, const Drafts& drafts);

#endif  // TVUREV_SMBIOS_DRAFTS_H_
