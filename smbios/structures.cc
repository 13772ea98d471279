// SPDX-License-Identifier: Apache-2.0
#include "smbios/structures.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "smbios/loaded_table.h"
#include "smbios/table.h"

namespace {

uint32_t count_strings(std::span<const uint8_t> set) {
  uint32_t count = 0;
  while (!set.empty() && set.front() != 0) {
    const auto end = std::ranges::find(set, uint8_t{0});
    ++count;
    set = set.subspan(static_cast<size_t>(end - set.begin()));
    set = set.subspan(set.empty() ? 0 : 1);
  }
  return count;
}

// Where two zeros in a row begin; the set's size without them.
size_t end_of_strings(std::span<const uint8_t> set) {
  size_t end = 0;
  while (end + 1 < set.size()) {
    const void* zero = memchr(&set[end], 0, set.size() - end);
    if (zero == nullptr) {
      break;
    }
    end = static_cast<size_t>(static_cast<const uint8_t*>(zero) - set.data());
    if (end + 1 < set.size() && set[end + 1] == 0) {
      return end;
    }
    ++end;
  }
  return set.size();
}

uint32_t count_structures() {
  StructureWalk walk{table_bytes()};
  SmbStructure structure{};
  uint32_t count = 0;
  while (next_structure(walk, structure)) {
    ++count;
  }
  return count;
}

}  // namespace

bool next_structure(StructureWalk& walk, SmbStructure& structure) {
  const auto rest = walk.table.subspan(std::min(walk.position, walk.table.size()));
  const size_t length = get_u8(rest, 1);
  if (rest.size() < kStructureHeaderSize || length < kStructureHeaderSize) {
    return false;
  }
  const auto set = rest.subspan(std::min(length, rest.size()));
  const size_t end = end_of_strings(set);
  const bool cut = end == set.size();
  if (cut && walk.behind_end) {
    return false;
  }
  const size_t size = cut ? rest.size() : rest.size() - set.size() + end + 2;
  structure.bytes = rest.data();
  structure.offset = static_cast<uint32_t>(walk.position);
  structure.size = static_cast<uint32_t>(size);
  structure.type = rest[0];
  structure.length = static_cast<uint8_t>(length);
  structure.handle = get_u16(rest, 2);
  structure.string_count = count_strings(set.first(size - (rest.size() - set.size())));
  structure.behind_end = walk.behind_end ? 1 : 0;
  structure.cut = cut ? 1 : 0;
  walk.position += size;
  walk.behind_end = walk.behind_end || structure.type == kEndOfTable;
  return true;
}

int SmbListStructures(SmbStructure** structures, uint32_t* count) {
  if (structures == nullptr || count == nullptr) {
    return -1;
  }
  *structures = nullptr;
  *count = 0;
  const uint32_t total = table_initialised() ? count_structures() : 0;
  if (total == 0) {
    return table_initialised() ? 0 : -1;
  }
  auto* list = static_cast<SmbStructure*>(calloc(total, sizeof(SmbStructure)));
  if (list == nullptr) {
    return -1;
  }
  StructureWalk walk{table_bytes()};
  while (*count < total && next_structure(walk, list[*count])) {
    ++*count;
  }
  *structures = list;
  return 0;
}

const char* SmbStructureString(const SmbStructure* structure, uint32_t number) {
  if (structure == nullptr || number == 0 || number > structure->string_count) {
    return nullptr;
  }
  // The block's margin ends the last string of a table that is cut off.
  const auto* text = reinterpret_cast<const char*>(structure->bytes) + structure->length;
  for (uint32_t earlier = 1; earlier < number; ++earlier) {
    while (*text != '\0') {
      ++text;
    }
    ++text;
  }
  return text;
}
