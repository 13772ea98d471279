// What the table knows about a drive, by its serial number.
#include <cstring>
#include <string>

#include "base/text.h"
#include "log/log.h"
#include "ortinv/oem_queries.h"
#include "smbios/serial_trim.h"
#include "smbios/table.h"

namespace {

constexpr uint8_t kDrive = 242;
constexpr size_t kSerialOffset = 39;
constexpr size_t kTextOffset = 40;
constexpr size_t kLocationOffset = 42;
constexpr uint8_t kDriveWithText = 42;

// The drive's serial as it is compared; a longer one is cut to 63 characters.
SerialText trimmed_serial(const char* text) {
  SerialText serial = {};
  copy_text(serial, text);
  SmbTrimSerial(serial);
  return serial;
}

// An empty beginning matches every drive that has a serial number.
bool begins_with(const SerialText& serial, const char* beginning) {
  return strncmp(serial.data(), beginning, strlen(beginning)) == 0;
}

// Whether a drive has the serial, with a line about each step.
bool matches_loudly(const uint8_t* drive, const char* serial_number) {
  const char* text = string_at(drive, kSerialOffset);
  if (*text == '\0') {
    // The number of the missing string, as text.
    DebugLog("smbios: %s fail, serial_str=%s\n", "SmbGetHdLoc",
             std::to_string(byte_at(drive, kSerialOffset)).c_str());
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
  const uint8_t* drive = find_of_type(
      kDrive, [&](const uint8_t* candidate) { return matches_loudly(candidate, serial_number); });
  return drive == nullptr ? nullptr : string_at(drive, kLocationOffset);
}

const char* SmbGetHdString(const char* serial_number) {
  if (serial_number == nullptr) {
    return nullptr;
  }
  const uint8_t* drive = find_of_type(kDrive, [&](const uint8_t* candidate) {
    const char* text = string_at(candidate, kSerialOffset);
    return formatted_length(candidate) < kDriveWithText ||
           (*text != '\0' && begins_with(trimmed_serial(text), serial_number));
  });
  if (drive == nullptr || formatted_length(drive) < kDriveWithText) {
    return nullptr;
  }
  return string_at(drive, kTextOffset);
}
