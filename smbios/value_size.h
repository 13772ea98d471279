// SPDX-License-Identifier: Apache-2.0
// Sizes and addresses of memory as values: numbers in bytes, texts in the unit
// that tells them exactly.
#ifndef TVUREV_SMBIOS_VALUE_SIZE_H_
#define TVUREV_SMBIOS_VALUE_SIZE_H_

#include "smbios/drafts.h"

// A field's number: as it stands, or from where it is extended to.
struct Raw {
  uint64_t number;
  bool extended;
};

// Appends a text that says of the value what no number could.
inline void special(Draft& value, std::string& characters, std::string_view text) {
  value.state = kSmbValueSpecial;
  characters += text;
}

// Appends the text of a size or an address and puts its number in bytes. False,
// with nothing done, when the field's kind is neither.
bool append_size_field(const Raw& raw, Draft& value, std::string& characters);

#endif  // TVUREV_SMBIOS_VALUE_SIZE_H_
