// SPDX-License-Identifier: Apache-2.0
// Words for types and for single texts, those that dmidecode takes.
#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "ortinv/smbios_standard.h"

namespace {

struct Keyword {
  std::string_view word;
  std::span<const uint8_t> types;
};

constexpr uint8_t kBios[] = {0, 13};
constexpr uint8_t kSystem[] = {1, 12, 15, 23, 32};
constexpr uint8_t kBaseboard[] = {2, 10, 41};
constexpr uint8_t kChassis[] = {3};
constexpr uint8_t kProcessor[] = {4};
constexpr uint8_t kMemory[] = {5, 6, 16, 17};
constexpr uint8_t kCache[] = {7};
constexpr uint8_t kConnector[] = {8};
constexpr uint8_t kSlot[] = {9};

constexpr Keyword kKeywords[] = {
    {"bios", kBios},       {"system", kSystem},       {"baseboard", kBaseboard},
    {"chassis", kChassis}, {"processor", kProcessor}, {"memory", kMemory},
    {"cache", kCache},     {"connector", kConnector}, {"slot", kSlot},
};

constexpr SmbStringKeyword kStrings[] = {
    {"bios-vendor", 0, "vendor"},
    {"bios-version", 0, "version"},
    {"bios-release-date", 0, "release_date"},
    {"bios-revision", 0, "bios_release"},
    {"firmware-revision", 0, "firmware_release"},
    {"system-manufacturer", 1, "manufacturer"},
    {"system-product-name", 1, "product_name"},
    {"system-version", 1, "version"},
    {"system-serial-number", 1, "serial_number"},
    {"system-uuid", 1, "uuid"},
    {"system-sku-number", 1, "sku_number"},
    {"system-family", 1, "family"},
    {"baseboard-manufacturer", 2, "manufacturer"},
    {"baseboard-product-name", 2, "product_name"},
    {"baseboard-version", 2, "version"},
    {"baseboard-serial-number", 2, "serial_number"},
    {"baseboard-asset-tag", 2, "asset_tag"},
    {"chassis-manufacturer", 3, "manufacturer"},
    {"chassis-type", 3, "chassis_type"},
    {"chassis-version", 3, "version"},
    {"chassis-serial-number", 3, "serial_number"},
    {"chassis-asset-tag", 3, "asset_tag"},
    {"processor-family", 4, "family"},
    {"processor-manufacturer", 4, "manufacturer"},
    {"processor-version", 4, "version"},
    {"processor-frequency", 4, "current_speed"},
};

}  // namespace

const uint8_t* SmbKeywordTypes(const char* keyword, uint32_t* count) {
  const auto* found = keyword == nullptr ? std::end(kKeywords)
                                         : std::ranges::find(kKeywords, keyword, &Keyword::word);
  const bool known = found != std::end(kKeywords);
  if (count != nullptr) {
    *count = known ? static_cast<uint32_t>(found->types.size()) : 0;
  }
  return known ? found->types.data() : nullptr;
}

const SmbStringKeyword* SmbStringKeywordAt(uint32_t index) {
  return index < std::size(kStrings) ? &kStrings[index] : nullptr;
}
