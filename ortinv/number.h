// SPDX-License-Identifier: Apache-2.0
// Numbers as people type them, and sizes as they read them. A number that could
// be read in two ways ("010") is none: it must not do something else than what was
// meant.
#ifndef TVUREV_ORTINV_NUMBER_H_
#define TVUREV_ORTINV_NUMBER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Reads decimal digits and nothing else, up to a maximum; none for anything
// else, leading zeros included.
std::optional<uint32_t> decimal_number(std::string_view text, uint32_t maximum);

// The same, and "0x" with hexadecimal digits.
std::optional<uint32_t> decimal_or_hexadecimal(std::string_view text, uint32_t maximum);

// Returns a size in gigabytes, or in megabytes where it is no whole number of those.
std::string size_text(uint64_t bytes);

#endif  // TVUREV_ORTINV_NUMBER_H_
