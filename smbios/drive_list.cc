// SPDX-License-Identifier: Apache-2.0
// Every drive that the table knows.
#include <cstdlib>

#include "base/text.h"
#include "ortinv/oem_queries.h"
#include "smbios/oem_layout.h"
#include "smbios/serial_trim.h"
#include "smbios/table.h"

namespace {

namespace drive = layout::drive;

// Null when the structure is shorter than length or the text is missing.
const char* text_from_length(const uint8_t* structure, uint8_t length, size_t offset) {
  if (formatted_length(structure) < length) {
    return nullptr;
  }
  const char* text = string_at(structure, offset);
  return *text == '\0' ? nullptr : text;
}

void describe(SmbDriveInfo& info, const uint8_t* structure) {
  const char* serial = text_from_length(structure, drive::kLengthWithSerial, drive::kSerial);
  if (serial != nullptr) {
    copy_text(info.serial, trimmed_serial(serial).data());
  }
  info.location = text_from_length(structure, drive::kLengthWithLocation, drive::kLocation);
  info.text = text_from_length(structure, drive::kLengthWithText, drive::kText);
  info.handle = handle_of(structure);
}

}  // namespace

int SmbListDrives(SmbDriveInfo** drives, uint32_t* count) {
  if (drives == nullptr || count == nullptr) {
    return -1;
  }
  *drives = nullptr;
  *count = 0;
  if (!table_initialised()) {
    return -1;
  }
  const uint32_t found = count_of_type(drive::kType);
  if (found == 0) {
    return 0;
  }
  auto* list = static_cast<SmbDriveInfo*>(calloc(found, sizeof(SmbDriveInfo)));
  if (list == nullptr) {
    return -1;
  }
  const uint8_t* structure = nullptr;
  for (uint32_t index = 0; index < found; ++index) {
    structure = next_of_type(drive::kType, structure);
    describe(list[index], structure);
  }
  *drives = list;
  *count = found;
  return 0;
}
