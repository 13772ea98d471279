// SPDX-License-Identifier: Apache-2.0
// The text of a system's UUID.
#ifndef TVUREV_SMBIOS_UUID_TEXT_H_
#define TVUREV_SMBIOS_UUID_TEXT_H_

#include <array>
#include <cstdint>
#include <span>

// Holds 36 characters and the terminating zero.
using UuidText = std::array<char, 37>;

// Formats 16 bytes as five groups of lower-case hexadecimal digits. The first
// three groups are taken as little-endian numbers, or as big-endian ones when
// the third looks like a version-1 UUID stored that way round.
UuidText uuid_text(std::span<const uint8_t> uuid);

#endif  // TVUREV_SMBIOS_UUID_TEXT_H_
