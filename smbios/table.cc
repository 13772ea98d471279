// SPDX-License-Identifier: Apache-2.0
#include "smbios/table.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

#include "log/log.h"
#include "ortinv/smbios_table.h"
#include "smbios/index.h"
#include "smbios/loaded_table.h"

namespace {

constexpr const char* kDevice = "/vmfs/devices/char/mem/smbios";
constexpr size_t kReadSize = 65536;

// Zeros behind what is read. They end every text, and let callers read any
// formatted area through the pointers they were given: 255 bytes at most.
constexpr size_t kMarginSize = 256;

// Entry point: searched at these steps; its own length, and the table's.
constexpr size_t kAnchorStep = 4;
constexpr size_t kEntryLengthOffset = 5;
constexpr size_t kTableLengthOffset = 22;

struct FreeBlock {
  void operator()(uint8_t* block) const { free(block); }
};
using Block = std::unique_ptr<uint8_t, FreeBlock>;

struct Table {
  bool initialised = false;
  int length = 0;  // as the entry point has it
  // The walk's bounds: never beyond what is read, whatever the entry point says.
  const uint8_t* start = nullptr;
  const uint8_t* end = nullptr;
  Block block;
  size_t size = 0;  // of the block, without the margin
  EntryPoint entry_point;
  pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
};

Table g_table;

// One read call, as the device gives everything at once. Null without data.
Block read_device(int device) {
  Block block(static_cast<uint8_t*>(calloc(kReadSize + kMarginSize, 1)));
  if (!block || read(device, block.get(), kReadSize) < 1) {
    return nullptr;
  }
  return block;
}

// Makes the block the module's table. False when it holds no entry point.
bool adopt(Block block) {
  // Bytes that the device did not give are zero: an anchor is never found there.
  const std::span<const uint8_t> bytes(block.get(), kReadSize);
  size_t anchor = 0;
  while (anchor < kReadSize && memcmp(&bytes[anchor], "_SM_", 4) != 0) {
    anchor += kAnchorStep;
  }
  if (anchor == kReadSize) {
    return false;
  }
  // The table follows the entry point in what the device returns; the address
  // in the entry point is one of physical memory.
  const size_t start = std::min(anchor + get_u8(bytes, anchor + kEntryLengthOffset), kReadSize);
  const uint16_t length = get_u16(bytes, anchor + kTableLengthOffset);
  g_table.length = length;
  g_table.start = block.get() + start;
  g_table.end = block.get() + std::min(start + length, kReadSize);
  g_table.block = std::move(block);
  g_table.size = kReadSize;
  g_table.entry_point = read_entry_point(bytes.subspan(anchor));
  return true;
}

void set_initialised() {
  g_table.initialised = true;
  pthread_mutex_init(&g_table.lock, nullptr);
}

}  // namespace

int SmBiosInit(void) {
  if (g_table.initialised) {
    return 0;
  }
  const int device = open(kDevice, O_RDONLY | O_SYNC);
  if (device < 0) {
    return -1;
  }
  Block block = read_device(device);
  close(device);
  if (!block || !adopt(std::move(block))) {
    return -1;
  }
  DebugLog("smbios: SmBiosInit: SmBiosTableLength is [%d]\n", g_table.length);
  set_initialised();
  return 0;
}

int SmBiosTerm(void) {
  if (!g_table.initialised) {
    return 0;
  }
  drop_index();
  g_table.block.reset();
  g_table.start = nullptr;
  g_table.end = nullptr;
  g_table.length = 0;
  g_table.size = 0;
  g_table.entry_point = {};
  g_table.initialised = false;
  return pthread_mutex_destroy(&g_table.lock);
}

int SmBiosNextStructure(const uint8_t** cursor) {
  if (cursor == nullptr) {
    return 0;
  }
  if (*cursor == nullptr) {
    *cursor = g_table.start;
  } else {
    // Two zeros end every structure, those of an empty string set included. The
    // margin has them for the last one, should it have none.
    const auto structure = block_from(*cursor);
    const size_t strings = std::min<size_t>(get_u8(structure, 1), structure.size());
    const auto end_of_strings = std::search_n(structure.begin() + static_cast<ptrdiff_t>(strings),
                                              structure.end(), 2, uint8_t{0});
    if (end_of_strings == structure.end()) {
      return 0;
    }
    *cursor += (end_of_strings - structure.begin()) + 2;
  }
  return *cursor < g_table.end ? 1 : 0;
}

std::span<uint8_t> writable_block_from(const uint8_t* position) {
  const std::less<const uint8_t*> before;
  uint8_t* const block = g_table.block.get();
  if (block == nullptr || before(position, block) ||
      !before(position, block + g_table.size + kMarginSize)) {
    return {};
  }
  return std::span(block, g_table.size + kMarginSize)
      .subspan(static_cast<size_t>(position - block));
}

std::span<const uint8_t> block_from(const uint8_t* position) {
  return writable_block_from(position);
}

bool load_table(const EntryPoint& entry_point, std::span<const uint8_t> table) {
  Block block(static_cast<uint8_t*>(calloc(table.size() + kMarginSize, 1)));
  if (!block) {
    return false;
  }
  std::copy(table.begin(), table.end(), block.get());
  g_table.length = static_cast<int>(table.size());
  g_table.start = block.get();
  g_table.end = block.get() + table.size();
  g_table.block = std::move(block);
  g_table.size = table.size();
  g_table.entry_point = entry_point;
  set_initialised();
  return true;
}

std::span<const uint8_t> table_bytes() {
  return {g_table.start, g_table.end};
}

const EntryPoint& table_entry_point() {
  return g_table.entry_point;
}

uint16_t table_version() {
  return static_cast<uint16_t>(g_table.entry_point.major << 8 | g_table.entry_point.minor);
}

bool table_initialised() {
  return g_table.initialised;
}

TableLock::TableLock() {
  pthread_mutex_lock(&g_table.lock);
}

TableLock::~TableLock() {
  pthread_mutex_unlock(&g_table.lock);
}
