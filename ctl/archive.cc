// SPDX-License-Identifier: Apache-2.0
#include "ctl/archive.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace {

constexpr size_t kBlock = 512;

// The fields of a header that are filled: POSIX ustar.
struct Field {
  size_t offset;
  size_t size;
};
constexpr Field kName = {0, 100};
constexpr Field kMode = {100, 8};
constexpr Field kUid = {108, 8};
constexpr Field kGid = {116, 8};
constexpr Field kSize = {124, 12};
constexpr Field kTime = {136, 12};
constexpr Field kChecksum = {148, 8};
constexpr size_t kType = 156;
constexpr Field kMagic = {257, 8};

using Header = std::array<char, kBlock>;

void put(Header& header, Field field, const std::string& text) {
  text.copy(header.data() + field.offset, field.size);
}

void put_octal(Header& header, Field field, unsigned long long value) {
  std::array<char, 24> digits = {};
  snprintf(digits.data(), digits.size(), "%0*llo", static_cast<int>(field.size) - 1, value);
  put(header, field, digits.data());
}

std::string header_of(const ArchivedFile& file, time_t time) {
  Header header = {};
  put(header, kName, file.name);
  put_octal(header, kMode, 0600);
  put_octal(header, kUid, 0);
  put_octal(header, kGid, 0);
  put_octal(header, kSize, file.text.size());
  put_octal(header, kTime, static_cast<unsigned long long>(time));
  put(header, kChecksum, "        ");
  header[kType] = '0';
  put(header, kMagic, std::string("ustar\00000", 8));
  unsigned sum = 0;
  for (const char c : header) {
    sum += static_cast<unsigned char>(c);
  }
  std::array<char, 8> checksum = {};
  snprintf(checksum.data(), checksum.size(), "%06o", sum);
  std::copy(checksum.begin(), checksum.end() - 1, header.begin() + kChecksum.offset);
  return {header.data(), header.size()};
}

std::string tar_of(const std::vector<ArchivedFile>& files, time_t time) {
  std::string tar;
  for (const ArchivedFile& file : files) {
    tar += header_of(file, time) + file.text;
    tar.resize((tar.size() + kBlock - 1) / kBlock * kBlock);
  }
  tar.resize(tar.size() + 2 * kBlock);
  return tar;
}

uint32_t crc_of(const std::string& bytes) {
  constexpr uint32_t kPolynomial = 0xEDB88320;
  uint32_t crc = UINT32_MAX;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1U) != 0 ? kPolynomial : 0);
    }
  }
  return ~crc;
}

void append_number(std::string& bytes, uint32_t value, int size) {
  for (int i = 0; i < size; ++i) {
    bytes += static_cast<char>((value >> (8 * i)) & 0xFF);
  }
}

// RFC 1952, with the stored blocks of RFC 1951.
std::string gzip_of(const std::string& bytes, time_t time) {
  constexpr size_t kBlockMax = UINT16_MAX;
  std::string packed("\x1f\x8b\x08\x00", 4);
  append_number(packed, static_cast<uint32_t>(time), 4);
  packed += std::string("\x00\xff", 2);
  for (size_t start = 0; start < bytes.size(); start += kBlockMax) {
    const size_t size = std::min(kBlockMax, bytes.size() - start);
    packed += start + size == bytes.size() ? '\x01' : '\x00';
    append_number(packed, static_cast<uint32_t>(size), 2);
    append_number(packed, static_cast<uint32_t>(~size & UINT16_MAX), 2);
    packed.append(bytes, start, size);
  }
  append_number(packed, crc_of(bytes), 4);
  append_number(packed, static_cast<uint32_t>(bytes.size()), 4);
  return packed;
}

}  // namespace

std::string make_archive(const std::vector<ArchivedFile>& files, time_t time) {
  return gzip_of(tar_of(files, time), time);
}
