// SPDX-License-Identifier: Apache-2.0
// Drive serial numbers as they are compared: without padding.
#ifndef TVUREV_SMBIOS_SERIAL_TRIM_H_
#define TVUREV_SMBIOS_SERIAL_TRIM_H_

#include <array>

// Holds a serial number and at least one zero.
using SerialText = std::array<char, 64>;

// Keeps what lies between the first and the last ASCII letter or digit, both
// included, up to the first of two blanks in a row; zeros follow. Nothing stays
// of a text without letters and digits.
void SmbTrimSerial(SerialText& serial);

// Returns a drive's serial as it is compared: trimmed; a longer one is cut to 63
// characters before.
SerialText trimmed_serial(const char* text);

#endif  // TVUREV_SMBIOS_SERIAL_TRIM_H_
