// SPDX-License-Identifier: Apache-2.0
// The standard's types by number, from the tables of smbios/standard/, and what
// the build checks of their rows.
#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>

#include "smbios/standard/management.h"
#include "smbios/standard/memory.h"
#include "smbios/standard/oem.h"
#include "smbios/standard/platform.h"
#include "smbios/standard/power_and_cooling.h"
#include "smbios/standard/processor.h"
#include "smbios/standard/slots_and_ports.h"

namespace {

using Types = std::span<const SmbStandardType>;

constexpr Types kTopics[] = {
    standard::kPlatformTypes,    standard::kProcessorTypeRows,    standard::kMemoryTypeRows,
    standard::kSlotAndPortTypes, standard::kPowerAndCoolingTypes, standard::kManagementTypes,
    standard::kOemTypes,
};

constexpr size_t kTypeCount = [] {
  size_t count = 0;
  for (const Types topic : kTopics) {
    count += topic.size();
  }
  return count;
}();

// Ascending by type.
constexpr auto kTypes = [] {
  std::array<const SmbStandardType*, kTypeCount> types{};
  size_t count = 0;
  for (const Types topic : kTopics) {
    for (const SmbStandardType& type : topic) {
      types[count++] = &type;
    }
  }
  std::ranges::sort(types, {}, &SmbStandardType::type);
  return types;
}();

constexpr auto kByNumber = [] {
  std::array<const SmbStandardType*, 256> types{};
  for (const SmbStandardType* type : kTypes) {
    types[type->type] = type;
  }
  return types;
}();

constexpr bool ends_within(const SmbStandardField& field) {
  return field.offset >= 4 && field.since >= field.offset + field.width && field.width <= 16;
}

constexpr bool words_ascend(const SmbStandardField& field) {
  const std::span words(field.words, field.word_count);
  return std::ranges::adjacent_find(words, std::ranges::greater_equal{}, &SmbWord::value) ==
         words.end();
}

constexpr bool key_is_unique(const SmbStandardType& type, const SmbStandardField& field) {
  return std::ranges::count_if(std::span(type.fields, type.field_count),
                               [&](const SmbStandardField& other) {
                                 return std::string_view(other.key) == field.key;
                               }) == 1;
}

constexpr bool all_rows_are_sound() {
  return std::ranges::all_of(kTypes, [](const SmbStandardType* type) {
    return std::ranges::all_of(std::span(type->fields, type->field_count),
                               [&](const SmbStandardField& field) {
                                 return ends_within(field) && key_is_unique(*type, field);
                               });
  });
}
static_assert(all_rows_are_sound());

constexpr bool all_words_ascend() {
  return std::ranges::all_of(kTypes, [](const SmbStandardType* type) {
    return std::ranges::all_of(std::span(type->fields, type->field_count), words_ascend);
  });
}
static_assert(all_words_ascend(), "they are searched by halves");

}  // namespace

uint32_t SmbStandardTypeCount(void) {
  return kTypes.size();
}

const SmbStandardType* SmbStandardTypeAt(uint32_t index) {
  return index < kTypes.size() ? kTypes[index] : nullptr;
}

const SmbStandardType* SmbFindStandardType(uint32_t type) {
  return type < kByNumber.size() ? kByNumber[type] : nullptr;
}
