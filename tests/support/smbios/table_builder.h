// SPDX-License-Identifier: Apache-2.0
// Builds SMBIOS tables from structures with named offsets, in the two layouts
// that are read: what the host's SMBIOS device returns, and a dump file for
// "dmidecode --from-dump". Written from the SMBIOS layouts alone; shares no code
// with the reader in smbios/.
//
//   SmbiosTable table;
//   table.add(SmbiosStructure(9, 0x0901, 17).string(4, "Slot 1").u16(13, 0).u8(15, 0x2F));
//   write_file(path, table.device_image());
#ifndef TVUREV_TESTS_SUPPORT_SMBIOS_TABLE_BUILDER_H_
#define TVUREV_TESTS_SUPPORT_SMBIOS_TABLE_BUILDER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class SmbiosStructure {
 public:
  // The formatted area is zero but for the header. It must hold the header.
  SmbiosStructure(uint8_t type, uint16_t handle, uint8_t formatted_length);

  // Set fields by their offset; an offset outside the formatted area throws.
  SmbiosStructure& u8(size_t offset, uint8_t value);
  SmbiosStructure& u16(size_t offset, uint16_t value);
  SmbiosStructure& bytes(size_t offset, const std::vector<uint8_t>& values);

  // Appends a string and stores its number in the field.
  SmbiosStructure& string(size_t offset, std::string_view text);

  // Appends a string that no field names.
  SmbiosStructure& string(std::string_view text);

  std::vector<uint8_t> encode() const;

 private:
  std::vector<uint8_t> formatted_;
  std::vector<std::string> strings_;
};

class SmbiosTable {
 public:
  SmbiosTable& add(const SmbiosStructure& structure);

  // Appends bytes as they are, for what no structure may look like.
  SmbiosTable& add_raw(const std::vector<uint8_t>& bytes);

  // The structures without an entry point.
  const std::vector<uint8_t>& structures() const { return structures_; }

  // What the device returns: entry_offset zeros, the entry point, the structures.
  std::vector<uint8_t> device_image(size_t entry_offset = 0) const;

  // The entry point at 0, the structures at 32, the address to match.
  std::vector<uint8_t> dmidecode_dump() const;

 private:
  std::vector<uint8_t> entry_point(uint32_t table_address) const;

  std::vector<uint8_t> structures_;
  size_t largest_ = 0;
  uint16_t count_ = 0;
};

// Replaces the file. False when it cannot be written.
bool write_file(const std::string& path, const std::vector<uint8_t>& content);

#endif  // TVUREV_TESTS_SUPPORT_SMBIOS_TABLE_BUILDER_H_
