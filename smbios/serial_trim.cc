// SPDX-License-Identifier: Apache-2.0
#include "smbios/serial_trim.h"

#include <algorithm>
#include <string_view>

#include "base/text.h"

namespace {

constexpr std::string_view kLettersAndDigits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

}  // namespace

void SmbTrimSerial(SerialText& serial) {
  const std::string_view text(serial.data());
  const size_t first = std::min(text.find_first_of(kLettersAndDigits), text.size());
  const size_t end = text.find_last_of(kLettersAndDigits) + 1;  // 0 without any
  std::string_view kept = text.substr(first, end - std::min(first, end));
  kept = kept.substr(0, kept.find("  "));
  SerialText trimmed = {};
  kept.copy(trimmed.data(), trimmed.size() - 1);
  serial = trimmed;
}

SerialText trimmed_serial(const char* text) {
  SerialText serial = {};
  copy_text(serial, text);
  SmbTrimSerial(serial);
  return serial;
}
