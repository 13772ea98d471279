// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/smbios_answers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "ortinv/oem_queries.h"
#include "ortinv/smbios_records.h"
#include "ortinv/smbios_table.h"
#include "ortinv/smbios_types.h"
#include "tests/fuzz/target.h"

namespace {

constexpr size_t kBlockSize = 65536;
constexpr size_t kReadable = 256;

// Of what there may be thousands of.
constexpr uint32_t kShown = 8;

// Tells a text to the host, having read it to its end.
void tell_text(const char* text, FakeHost& host) {
  require(text == nullptr || strlen(text) <= kBlockSize, "a text ends with the block");
  host.tell(text == nullptr ? "none" : text);
}

void require_good_record(const SmbType& type, const char* record) {
  for (const SmbField& field : std::span(type.fields, type.field_count)) {
    require(field.kind != kSmbFieldText ||
                strnlen(record + field.offset, field.size_or_count) < field.size_or_count,
            "a text of a record ends in its field");
  }
}

}  // namespace

StructureCounts walk_table(FakeHost& host) {
  StructureCounts counts = {};
  const uint8_t* structure = nullptr;
  while (SmBiosNextStructure(&structure) == 1) {
    const uint8_t type = *structure;
    const uint32_t earlier = counts[type]++;
    if (earlier > 1) {
      continue;  // finding walks from the start: two of a type are enough
    }
    const uint8_t* found = nullptr;
    require(SmBiosFindStructure(type, static_cast<uint16_t>(earlier), &found) == 1 &&
                found == structure,
            "what the walk meets is found");
    host.tell(std::string(reinterpret_cast<const char*>(structure), kReadable));
    for (const auto number : std::to_array<uint16_t>({0, 1, 2, 60})) {
      tell_text(SmBiosGetString(structure, number), host);
    }
  }
  return counts;
}

void ask_for_device(uint8_t bus, uint8_t device_function, FakeHost& host) {
  const auto device = static_cast<uint8_t>(device_function >> 3);
  const auto function = static_cast<uint8_t>(device_function & 7);
  char* const location = SmbGetPciLocation(0, bus, device, function);
  tell_text(location, host);
  free(location);
  tell_text(SmbGetPartNumber(0, bus, device, function), host);
  tell_text(SmbGetPciName(0, bus, device, function), host);
  tell_text(SmbGetPciLinkedString(0, bus, device, function), host);
  host.tell(std::to_string(SmbGetNicPortNum(0, bus, device_function)));
}

void ask_for_drive(const char* serial_number, FakeHost& host) {
  tell_text(SmbGetHdLoc(serial_number), host);
  tell_text(SmbGetHdString(serial_number), host);
}

void list_all(const StructureCounts& counts, FakeHost& host) {
  SmbPciAddress* addresses = nullptr;
  uint32_t count = 0;
  require(SmbListPciDevices(&addresses, &count) == 0, "devices are listed");
  require(count <= counts[9] + counts[41] + counts[203] + counts[233],
          "no more devices than structures are listed");
  for (const SmbPciAddress& address : std::span(addresses, count)) {
    require(address.device < 32 && address.function < 8, "a listed device has a PCI address");
    host.tell(std::to_string(address.bus) + "." + std::to_string(address.device));
  }
  free(addresses);
  SmbDriveInfo* drives = nullptr;
  require(SmbListDrives(&drives, &count) == 0, "drives are listed");
  require(count == counts[242], "every drive is listed");
  for (const SmbDriveInfo& drive : std::span(drives, count)) {
    require(strnlen(drive.serial, sizeof drive.serial) < sizeof drive.serial, "a serial ends");
    tell_text(drive.serial, host);
    tell_text(drive.location, host);
    tell_text(drive.text, host);
  }
  free(drives);
}

void decode_all(const StructureCounts& counts, FakeHost& host) {
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    const SmbType& type = *SmbTypeAt(index);
    void* records = nullptr;
    uint32_t count = 0;
    const int result = SmBiosGetRecords(type.type, &records, &count);
    require(count == counts[type.type] && result == (count == 0 ? -1 : 0),
            "every structure has its record");
    const auto* record = static_cast<const char*>(records);
    for (uint32_t left = count; left > 0; --left, record += type.record_size) {
      require_good_record(type, record);
    }
    const uint32_t shown = std::min(count, kShown);
    require(records == nullptr || SmbDumpRecords(type.type, records, shown, stdout) == 0,
            "records are dumped");
    host.tell(std::string(static_cast<const char*>(records), shown * size_t{type.record_size}));
    free(records);
  }
}

void clean_strings(uint16_t length, uint8_t number, FakeHost& host) {
  const uint8_t* structure = nullptr;
  for (uint32_t left = kShown; left > 0 && SmBiosNextStructure(&structure) == 1; --left) {
    // As it should be called, and with a length that no structure has.
    tell_text(SmBiosGetCleanString(structure, structure[1], number), host);
    const char* const text = SmBiosGetCleanString(structure, static_cast<int16_t>(length), number);
    for (const char* character = text; *character != '\0'; ++character) {
      require(*character >= ' ' && *character <= '~', "a cleaned text can be printed");
    }
    tell_text(text, host);
  }
}
