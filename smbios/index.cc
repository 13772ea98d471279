// SPDX-License-Identifier: Apache-2.0
#include "smbios/index.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

#include "ortinv/smbios_load.h"
#include "ortinv/smbios_table.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"

namespace {

namespace correlation = layout::correlation;

// A key is what is looked for, its value, and the place among equals: sorted,
// the first of them in table order comes first.
constexpr unsigned kPlaceBits = 22;
constexpr unsigned kValueBits = 36;
constexpr uint64_t kNoStructureHasIt = uint64_t{1} << (kValueBits - 1);
constexpr size_t kLeastStructure = 3;  // that gives entries: its type and two zeros
constexpr size_t kMostEntries = 4;     // of one structure
static_assert(SMB_TABLE_LIMIT / kLeastStructure * kMostEntries < 1U << kPlaceBits);

struct Entry {
  uint64_t key;
  const uint8_t* structure;
};

struct Freer {
  void operator()(Entry* entries) const { free(entries); }
};

struct Index {
  std::unique_ptr<Entry, Freer> entries;
  size_t count = 0;
  size_t sorted = 0;
};

std::atomic<const Index*> g_index;

uint64_t value_at(const uint8_t* structure, size_t segment, size_t bus, size_t device_function) {
  return address_value(word_at(structure, segment), byte_at(structure, bus),
                       byte_at(structure, device_function));
}

// Calls add(By, value) for all that one structure answers to by itself.
template <typename Add>
void describe(const uint8_t* structure, Add add) {
  switch (byte_at(structure, 0)) {
    case layout::slot::kType:
      add(By::kSlotBus, bus_value(word_at(structure, layout::slot::kSegment),
                                  byte_at(structure, layout::slot::kBus)));
      break;
    case layout::onboard::kType:
      add(By::kOnboardAddress, value_at(structure, layout::onboard::kSegment, layout::onboard::kBus,
                                        layout::onboard::kDeviceFunction));
      break;
    case correlation::kType:
      add(By::kCorrelation, 0);
      if (formatted_length(structure) < correlation::kLengthWithPartNumber) {
        add(By::kShortCorrelation, 0);
      }
      add(By::kCorrelationDevice, word_at(structure, correlation::kDeviceHandle));
      add(By::kCorrelationAddress, value_at(structure, correlation::kSegment, correlation::kBus,
                                            correlation::kDeviceFunction));
      break;
    case layout::nic::kType:
      add(By::kNicAddress, value_at(structure, layout::nic::kSegment, layout::nic::kBus,
                                    layout::nic::kDeviceFunction));
      break;
    case layout::linked_text::kType:
      add(By::kLinkedCorrelation, word_at(structure, layout::linked_text::kCorrelationHandle));
      break;
    default:
      break;
  }
}

template <typename Use>
void for_each_structure(Use use) {
  const uint8_t* structure = nullptr;
  while (SmBiosNextStructure(&structure) == 1) {
    use(structure);
  }
}

uint64_t first_key(By by, uint64_t value) {
  return (static_cast<uint64_t>(by) << kValueBits | value) << kPlaceBits;
}

const uint8_t* find(const Index& index, By by, uint64_t value) {
  const std::span sorted(index.entries.get(), index.sorted);
  const uint64_t key = first_key(by, value);
  const auto found = std::ranges::lower_bound(sorted, key, {}, &Entry::key);
  return found != sorted.end() && found->key >> kPlaceBits == key >> kPlaceBits ? found->structure
                                                                                : nullptr;
}

void append(Index& index, By by, uint64_t value, const uint8_t* structure) {
  index.entries.get()[index.count] = {first_key(by, value) | index.count, structure};
  ++index.count;
}

void sort(Index& index) {
  std::ranges::sort(std::span(index.entries.get(), index.count), {}, &Entry::key);
  index.sorted = index.count;
}

size_t most_entries() {
  size_t most = 1;
  for_each_structure([&](const uint8_t* structure) {
    describe(structure, [&](By by, uint64_t) { most += by == By::kCorrelation ? 2 : 1; });
  });
  return most;
}

std::unique_ptr<Index> make_index() {
  std::unique_ptr<Index> index(new (std::nothrow) Index);
  if (!index) {
    return nullptr;
  }
  index->entries.reset(static_cast<Entry*>(calloc(most_entries(), sizeof(Entry))));
  if (!index->entries) {
    return nullptr;
  }
  for_each_structure([&](const uint8_t* structure) {
    describe(structure, [&](By by, uint64_t value) { append(*index, by, value, structure); });
  });
  sort(*index);
  // What is linked to a device is found through its correlations.
  for_each_structure([&](const uint8_t* structure) {
    if (byte_at(structure, 0) != correlation::kType) {
      return;
    }
    const uint8_t* linked = find(*index, By::kLinkedCorrelation, handle_of(structure));
    if (linked != nullptr) {
      append(*index, By::kLinkedDevice, word_at(structure, correlation::kDeviceHandle), linked);
    }
  });
  sort(*index);
  return index;
}

// Null without a table, or without memory.
const Index* index_of_table() {
  const Index* kept = g_index.load(std::memory_order_acquire);
  if (kept != nullptr || !table_initialised()) {
    return kept;
  }
  std::unique_ptr<const Index> made = make_index();
  if (made && g_index.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel)) {
    return made.release();
  }
  return kept;
}

// As first_by, one structure after the other.
const uint8_t* walk_to(By by, uint64_t value) {
  const uint8_t* found = nullptr;
  for_each_structure([&](const uint8_t* structure) {
    if (found != nullptr) {
      return;
    }
    describe(structure, [&](By has_by, uint64_t has_value) {
      if (by == By::kLinkedDevice && has_by == By::kCorrelationDevice && has_value == value) {
        found = walk_to(By::kLinkedCorrelation, handle_of(structure));
      } else if (by == has_by && value == has_value) {
        found = structure;
      }
    });
  });
  return found;
}

}  // namespace

uint64_t bus_value(uint32_t segment, uint32_t bus) {
  return segment > UINT16_MAX || bus > UINT8_MAX ? kNoStructureHasIt
                                                 : uint64_t{segment} << 8U | bus;
}

uint64_t address_value(uint32_t segment, uint32_t bus, uint8_t device_function) {
  const uint64_t bus_only = bus_value(segment, bus);
  return bus_only == kNoStructureHasIt ? bus_only : bus_only << 8U | device_function;
}

const uint8_t* first_by(By by, uint64_t value) {
  const Index* index = index_of_table();
  return index == nullptr ? walk_to(by, value) : find(*index, by, value);
}

void drop_index() {
  delete g_index.exchange(nullptr, std::memory_order_acq_rel);
}
