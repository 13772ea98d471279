// SPDX-License-Identifier: Apache-2.0
// What text and JSON both say of a structure.
#ifndef TVUREV_ORTINV_STRUCTURE_H_
#define TVUREV_ORTINV_STRUCTURE_H_

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_standard.h>

#include <cstdint>
#include <memory>
#include <string>

#include "ortinv/library_array.h"

// A structure as its type's row reads it; null without memory.
using DecodedStructure = std::unique_ptr<SmbDecoded, Freer>;
DecodedStructure decode(const SmbStructure& structure);

// Returns the name of a type: the standard's, the library's, or what is known of
// it by its number.
const char* structure_name(uint8_t type);

// Returns whether there is more to show of a structure than bytes and strings.
bool is_known(const SmbStructure& structure);

// Returns whether a value is a number for programs too: neither a word nor one
// with a meaning of its own.
bool is_number(const SmbValue& value);

// Returns the bytes of a structure's formatted area, as far as they are there, in
// hexadecimal: 16 a line with this indentation, or all in one piece for "".
std::string hexadecimal_bytes(const SmbStructure& structure, const char* indentation);

#endif  // TVUREV_ORTINV_STRUCTURE_H_
