// SPDX-License-Identifier: Apache-2.0
// Tables from memory.
#include "ortinv/smbios_load.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <span>

#include "base/text.h"
#include "smbios/displaced_table.h"
#include "smbios/load.h"
#include "smbios/loaded_table.h"
#include "smbios/structures.h"
#include "smbios/table.h"

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t kDumpTableOffset = 32;  // where dumps have it
constexpr size_t kAnchorStep = 4;

Bytes as_bytes(const void* bytes, size_t size) {
  return {static_cast<const uint8_t*>(bytes), bytes == nullptr ? 0 : size};
}

// Whether the bytes are a table that nothing is wrong with: its structures go
// on to an end-of-table structure, or to as many as are announced.
bool is_sound(Bytes table, const EntryPoint& entry_point) {
  StructureWalk walk{table};
  SmbStructure structure{};
  uint32_t count = 0;
  while (next_structure(walk, structure) && structure.cut == 0) {
    ++count;
    if (structure.type == kEndOfTable || count == entry_point.count) {
      return true;
    }
  }
  return false;
}

// Whether the bytes begin with a structure. Behind it anything may be broken.
bool begins_a_table(Bytes table) {
  StructureWalk walk{table};
  SmbStructure structure{};
  return next_structure(walk, structure) && structure.cut == 0;
}

Bytes table_at(Bytes dump, uint64_t offset, const EntryPoint& entry_point) {
  if (offset >= dump.size()) {
    return {};
  }
  const Bytes rest = dump.subspan(static_cast<size_t>(offset));
  return rest.first(std::min<size_t>(rest.size(), entry_point.length));
}

// The table in a dump: at the places where one may be, or wherever one lies that
// is as announced; empty without one.
Bytes find_table(Bytes dump, size_t anchor, const EntryPoint& entry_point) {
  const size_t behind = anchor + entry_point.size;
  const uint64_t places[] = {entry_point.address, behind, kDumpTableOffset};
  for (const uint64_t place : places) {
    const Bytes table = place < behind ? Bytes() : table_at(dump, place, entry_point);
    if (is_sound(table, entry_point)) {
      return table;
    }
  }
  if (const Bytes table = find_displaced_table(dump.subspan(behind), entry_point); !table.empty()) {
    return table;
  }
  // What is damaged is shown, but only where it is said to be.
  const Bytes table = table_at(dump, entry_point.address, entry_point);
  return entry_point.address >= behind && begins_a_table(table) ? table : Bytes();
}

std::optional<size_t> find_anchor(Bytes dump) {
  for (size_t offset = 0; offset < dump.size(); offset += kAnchorStep) {
    if (read_entry_point(dump.subspan(offset)).kind != kSmbEntryPointNone) {
      return offset;
    }
  }
  return std::nullopt;
}

int load(const EntryPoint& entry_point, Bytes table, std::span<char> reason) {
  if (table.size() > SMB_TABLE_LIMIT) {
    return refuse(reason, "The table is larger than 1 MiB");
  }
  if (!load_table(entry_point, table)) {
    return refuse(reason, "There is no memory for the table");
  }
  copy_text(reason, "");
  return 0;
}

int load_dump(Bytes dump, std::span<char> reason) {
  const auto anchor = find_anchor(dump);
  if (!anchor) {
    return refuse(reason, "There is no SMBIOS entry point (_SM_, _SM3_ or _DMI_)");
  }
  const Bytes entry_bytes = dump.subspan(*anchor);
  if (const char* defect = entry_point_defect(entry_bytes); defect != nullptr) {
    return refuse(reason, "The entry point is damaged: ", defect);
  }
  const EntryPoint entry_point = read_entry_point(entry_bytes);
  const Bytes table = find_table(dump, *anchor, entry_point);
  if (table.empty() && entry_point.length != 0) {
    return refuse(reason, "The table is not where the entry point says, nor elsewhere in the dump");
  }
  return load(entry_point, table, reason);
}

int load_pair(Bytes entry_bytes, Bytes table, std::span<char> reason) {
  if (const char* defect = entry_point_defect(entry_bytes); defect != nullptr) {
    return refuse(reason, "The entry point is damaged: ", defect);
  }
  const EntryPoint entry_point = read_entry_point(entry_bytes);
  table = table.first(std::min<size_t>(table.size(), entry_point.length));
  if (!table.empty() && !begins_a_table(table)) {
    return refuse(reason, "The table does not begin with a structure");
  }
  return load(entry_point, table, reason);
}

}  // namespace

int refuse(std::span<char> reason, std::string_view what, std::string_view why) {
  const size_t used = copy_text(reason, what);
  copy_text(reason.subspan(used), why);
  return -1;
}

bool may_load(std::span<char> reason) {
  if (table_initialised()) {
    refuse(reason, "A table is loaded already");
    return false;
  }
  return true;
}

int SmBiosLoadDump(const void* bytes, size_t size, char* reason, size_t reason_size) {
  const std::span<char> reason_field(reason, reason == nullptr ? 0 : reason_size);
  return may_load(reason_field) ? load_dump(as_bytes(bytes, size), reason_field) : -1;
}

int SmBiosLoadTable(const void* entry_point, size_t entry_point_size, const void* table,
                    size_t table_size, char* reason, size_t reason_size) {
  const std::span<char> reason_field(reason, reason == nullptr ? 0 : reason_size);
  return may_load(reason_field) ? load_pair(as_bytes(entry_point, entry_point_size),
                                            as_bytes(table, table_size), reason_field)
                                : -1;
}
