// SPDX-License-Identifier: Apache-2.0
#include "smbios/displaced_table.h"

#include <algorithm>
#include <new>
#include <vector>

#include "smbios/structures.h"
#include "smbios/table.h"

namespace {

using Bytes = std::span<const uint8_t>;

// Structures from one place on: to the end of an end-of-table structure.
struct Chain {
  uint32_t count = 0;  // 0: they do not go on to one
  uint32_t end = 0;
};

// For each place where the next two zeros in a row end; 0 behind the last.
std::vector<uint32_t> ends_of_strings(Bytes bytes) {
  std::vector<uint32_t> ends(bytes.size());
  for (size_t place = bytes.size(); place-- > 0;) {
    const bool both_zero = place + 1 < bytes.size() && bytes[place] == 0 && bytes[place + 1] == 0;
    const uint32_t later = place + 1 < bytes.size() ? ends[place + 1] : 0;
    ends[place] = both_zero ? static_cast<uint32_t>(place + 2) : later;
  }
  return ends;
}

// From the back, so that the chain of what follows is known.
std::vector<Chain> chains_of(Bytes bytes) {
  const std::vector<uint32_t> ends = ends_of_strings(bytes);
  std::vector<Chain> chains(bytes.size() + 1);
  for (size_t place = bytes.size(); place-- > 0;) {
    const size_t length = place + 1 < bytes.size() ? bytes[place + 1] : 0;
    const size_t strings = place + length;
    const uint32_t end =
        length < kStructureHeaderSize || strings >= bytes.size() ? 0 : ends[strings];
    if (end != 0 && bytes[place] == kEndOfTable) {
      chains[place] = {1, end};
    } else if (end != 0 && chains[end].count != 0) {
      chains[place] = {chains[end].count + 1, chains[end].end};
    }
  }
  return chains;
}

}  // namespace

Bytes find_displaced_table(Bytes bytes, const EntryPoint& entry_point) {
  constexpr size_t kMost = SMB_TABLE_LIMIT + 65536;
  bytes = bytes.first(std::min(bytes.size(), kMost));
  try {
    const std::vector<Chain> chains = chains_of(bytes);
    for (size_t place = 0; place < bytes.size(); ++place) {
      const Chain& chain = chains[place];
      const bool has_count = entry_point.count == 0 || chain.count == entry_point.count;
      if (chain.count != 0 && has_count && chain.end - place == entry_point.length) {
        return bytes.subspan(place, entry_point.length);
      }
    }
  } catch (const std::bad_alloc&) {
    return {};
  }
  return {};
}
