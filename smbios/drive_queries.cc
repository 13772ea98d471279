// SPDX-License-Identifier: Apache-2.0
// What the table knows about a drive, by its serial number.
#include <cstring>
#include <string>

#include "log/log.h"
#include "ortinv/oem_queries.h"
#include "smbios/oem_layout.h"
#include "smbios/serial_trim.h"
#include "smbios/table.h"

namespace {

namespace drive = layout::drive;

// An empty beginning matches every drive that has a serial number.
bool begins_with(const SerialText& serial, const char* beginning) {
  return strncmp(serial.data(), beginning, strlen(beginning)) == 0;
}

// Whether a drive has the serial, with a line about each step.
bool matches_loudly(const uint8_t* structure, const char* serial_number) {
  const char* text = string_at(structure, drive::kSerial);
  if (*text == '\0') {
    // The number of the missing string, as text.
    DebugLog("smbios: %s fail, serial_str=%s\n", "SmbGetHdLoc",
             std::to_string(byte_at(structure, drive::kSerial)).c_str());
    return false;
  }
  const SerialText serial = trimmed_serial(text);
  DebugLog("smbios: %s strncmp, tmpSerial=%s, SerialNo=%s\n", "SmbGetHdLoc", serial.data(),
           serial_number);
  if (!begins_with(serial, serial_number)) {
    DebugLog("smbios: %s strncmp fail, tmpSerial=%s, SerialNo=%s\n", "SmbGetHdLoc", serial.data(),
             serial_number);
    return false;
  }
  return true;
}

}  // namespace

const char* SmbGetHdLoc(const char* serial_number) {
  if (serial_number == nullptr) {
    return nullptr;
  }
  const uint8_t* found = find_of_type(drive::kType, [&](const uint8_t* candidate) {
    return matches_loudly(candidate, serial_number);
  });
  return found == nullptr ? nullptr : string_at(found, drive::kLocation);
}

const char* SmbGetHdString(const char* serial_number) {
  if (serial_number == nullptr) {
    return nullptr;
  }
  const uint8_t* found = find_of_type(drive::kType, [&](const uint8_t* candidate) {
    const char* text = string_at(candidate, drive::kSerial);
    return formatted_length(candidate) < drive::kLengthWithText ||
           (*text != '\0' && begins_with(trimmed_serial(text), serial_number));
  });
  if (found == nullptr || formatted_length(found) < drive::kLengthWithText) {
    return nullptr;
  }
  return string_at(found, drive::kText);
}
