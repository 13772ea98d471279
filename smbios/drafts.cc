// SPDX-License-Identifier: Apache-2.0
#include "smbios/drafts.h"

#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr char kFirstPrintable = 0x20;
constexpr char kLastPrintable = 0x7E;
constexpr size_t kMostDigits = 20;

void append_digits(std::string& characters, uint64_t number, size_t digits, std::string_view set) {
  std::array<char, kMostDigits> made{};
  size_t first = made.size();
  for (; number != 0 || made.size() - first < digits; number >>= 4) {
    made[--first] = set[number & 0xF];
  }
  characters.append(&made[first], made.size() - first);
}

}  // namespace

void append_decimal(std::string& characters, uint64_t number) {
  std::array<char, kMostDigits> made{};
  const auto end = std::to_chars(made.data(), made.data() + made.size(), number).ptr;
  characters.append(made.data(), static_cast<size_t>(end - made.data()));
}

void append_hex(std::string& characters, uint64_t number, size_t digits) {
  append_digits(characters, number, digits, "0123456789ABCDEF");
}

void append_lower_hex(std::string& characters, uint64_t number, size_t digits) {
  append_digits(characters, number, digits, "0123456789abcdef");
}

void append_fraction(std::string& characters, int64_t number, unsigned digits) {
  if (number < 0) {
    characters.push_back('-');
  }
  const auto amount = static_cast<uint64_t>(number < 0 ? -number : number);
  uint64_t whole = 1;
  for (unsigned digit = 0; digit < digits; ++digit) {
    whole *= 10;
  }
  append_decimal(characters, amount / whole);
  characters.push_back('.');
  for (uint64_t place = whole / 10, rest = amount % whole; place != 0; place /= 10) {
    characters.push_back(static_cast<char>('0' + rest / place % 10));
  }
}

void append_printable(std::string& characters, std::string_view text) {
  const size_t start = characters.size();
  characters.append(text);
  for (size_t place = start; place < characters.size(); ++place) {
    if (characters[place] < kFirstPrintable || characters[place] > kLastPrintable) {
      characters[place] = '.';
    }
  }
}

void append_size(std::string& characters, uint64_t bytes, size_t smallest) {
  constexpr std::string_view kUnits[] = {" bytes", " kB", " MB", " GB", " TB", " PB", " EB"};
  size_t unit = smallest;
  bytes >>= 10 * smallest;
  while (bytes != 0 && bytes % 1024 == 0 && unit + 1 < std::size(kUnits)) {
    bytes /= 1024;
    ++unit;
  }
  append_decimal(characters, bytes);
  characters += kUnits[unit];
}

SmbDecoded* finish(const SmbStandardType* type, const Drafts& drafts) {
  const size_t values_size = drafts.values.size() * sizeof(SmbValue);
  const size_t items_size = drafts.items.size() * sizeof(const char*);
  // The parts in the order of their alignment, which is one for the first three.
  static_assert(sizeof(SmbDecoded) % alignof(SmbValue) == 0);
  static_assert(sizeof(SmbValue) % alignof(const char*) == 0);
  auto* block = static_cast<char*>(
      malloc(sizeof(SmbDecoded) + values_size + items_size + drafts.characters.size()));
  if (block == nullptr) {
    return nullptr;
  }
  auto* values = reinterpret_cast<SmbValue*>(block + sizeof(SmbDecoded));
  auto* items = reinterpret_cast<const char**>(block + sizeof(SmbDecoded) + values_size);
  char* characters = block + sizeof(SmbDecoded) + values_size + items_size;
  memcpy(characters, drafts.characters.data(), drafts.characters.size());
  for (size_t item = 0; item < drafts.items.size(); ++item) {
    items[item] = characters + drafts.items[item];
  }
  for (size_t place = 0; place < drafts.values.size(); ++place) {
    const Draft& draft = drafts.values[place];
    const SmbValueShape shape = SmbKindShape(draft.field->kind);
    const bool list = shape == kSmbShapeList;
    new (values + place) SmbValue{draft.field,
                                  shape,
                                  draft.state,
                                  draft.number,
                                  list ? "" : characters + draft.text,
                                  list ? items + draft.first_item : nullptr,
                                  static_cast<uint32_t>(draft.item_count)};
  }
  return new (block) SmbDecoded{type, values, static_cast<uint32_t>(drafts.values.size())};
}
