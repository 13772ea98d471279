// SPDX-License-Identifier: Apache-2.0
#include "tests/support/smbios/table_builder.h"

#include <algorithm>
#include <fstream>
#include <numeric>

namespace {

constexpr size_t kEntryPointSize = 31;
constexpr size_t kIntermediatePart = 16;  // of the entry point, with its own checksum
constexpr uint32_t kDumpTableAddress = 32;

void append(std::vector<uint8_t>& bytes, const std::vector<uint8_t>& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

void store(std::vector<uint8_t>& bytes, size_t offset, uint32_t value, size_t width) {
  for (size_t byte = 0; byte < width; ++byte) {
    bytes.at(offset + byte) = static_cast<uint8_t>(value >> (8 * byte));
  }
}

void store_text(std::vector<uint8_t>& bytes, size_t offset, std::string_view text) {
  for (size_t byte = 0; byte < text.size(); ++byte) {
    bytes.at(offset + byte) = static_cast<uint8_t>(text[byte]);
  }
}

// The byte that makes the bytes from first on add up to 0.
uint8_t checksum(const std::vector<uint8_t>& bytes, size_t first) {
  const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(first);
  return static_cast<uint8_t>(-std::accumulate(begin, bytes.end(), 0));
}

}  // namespace

SmbiosStructure::SmbiosStructure(uint8_t type, uint16_t handle, uint8_t formatted_length)
    : formatted_(formatted_length) {
  u8(0, type).u8(1, formatted_length).u16(2, handle);
}

SmbiosStructure& SmbiosStructure::u8(size_t offset, uint8_t value) {
  store(formatted_, offset, value, 1);
  return *this;
}

SmbiosStructure& SmbiosStructure::u16(size_t offset, uint16_t value) {
  store(formatted_, offset, value, 2);
  return *this;
}

SmbiosStructure& SmbiosStructure::bytes(size_t offset, const std::vector<uint8_t>& values) {
  for (size_t index = 0; index < values.size(); ++index) {
    u8(offset + index, values[index]);
  }
  return *this;
}

SmbiosStructure& SmbiosStructure::string(size_t offset, std::string_view text) {
  string(text);
  return u8(offset, static_cast<uint8_t>(strings_.size()));
}

SmbiosStructure& SmbiosStructure::string(std::string_view text) {
  strings_.emplace_back(text);
  return *this;
}

std::vector<uint8_t> SmbiosStructure::encode() const {
  std::vector<uint8_t> bytes = formatted_;
  for (const std::string& text : strings_) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
  }
  append(bytes, strings_.empty() ? std::vector<uint8_t>{0, 0} : std::vector<uint8_t>{0});
  return bytes;
}

SmbiosTable& SmbiosTable::add(const SmbiosStructure& structure) {
  return add_raw(structure.encode());
}

SmbiosTable& SmbiosTable::add_raw(const std::vector<uint8_t>& bytes) {
  append(structures_, bytes);
  largest_ = std::max(largest_, bytes.size());
  ++count_;
  return *this;
}

std::vector<uint8_t> SmbiosTable::device_image(size_t entry_offset) const {
  std::vector<uint8_t> image(entry_offset);
  append(image, entry_point(static_cast<uint32_t>(entry_offset + kEntryPointSize)));
  append(image, structures_);
  return image;
}

std::vector<uint8_t> SmbiosTable::dmidecode_dump() const {
  std::vector<uint8_t> dump = entry_point(kDumpTableAddress);
  dump.resize(kDumpTableAddress);
  append(dump, structures_);
  return dump;
}

std::vector<uint8_t> SmbiosTable::entry_point(uint32_t table_address) const {
  std::vector<uint8_t> entry(kEntryPointSize);
  store_text(entry, 0, "_SM_");
  store(entry, 5, kEntryPointSize, 1);
  store(entry, 6, 2, 1);  // SMBIOS 2.7
  store(entry, 7, 7, 1);
  store(entry, 8, static_cast<uint32_t>(largest_), 2);
  store_text(entry, kIntermediatePart, "_DMI_");
  store(entry, 22, static_cast<uint32_t>(structures_.size()), 2);
  store(entry, 24, table_address, 4);
  store(entry, 28, count_, 2);
  store(entry, 30, 0x27, 1);
  store(entry, 21, checksum(entry, kIntermediatePart), 1);
  store(entry, 4, checksum(entry, 0), 1);
  return entry;
}

bool write_file(const std::string& path, const std::vector<uint8_t>& content) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  for (const uint8_t byte : content) {
    file.put(static_cast<char>(byte));
  }
  file.close();
  return !file.fail();
}
