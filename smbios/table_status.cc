// SPDX-License-Identifier: Apache-2.0
// What a table is worth: what its entry point said and what was found.
#include <algorithm>
#include <array>
#include <bitset>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "base/text.h"
#include "smbios/loaded_table.h"
#include "smbios/structures.h"
#include "smbios/table.h"

namespace {

constexpr uint16_t kEndOfTableSince = 0x0202;

// What the walk met.
struct Findings {
  size_t end = 0;  // where it stopped
  uint32_t count = 0;
  uint32_t behind_end = 0;
  bool cut = false;
  bool has_end = false;
  uint32_t shared_handle = 0x10000;  // the first one; none above 16 bits
};

Findings walk_table() {
  Findings found;
  StructureWalk walk{table_bytes()};
  SmbStructure structure{};
  std::bitset<65536> handles;
  while (next_structure(walk, structure)) {
    ++found.count;
    found.behind_end += structure.behind_end;
    found.cut = found.cut || structure.cut != 0;
    found.has_end = found.has_end || structure.type == kEndOfTable;
    if (handles.test(structure.handle) && found.shared_handle > 0xFFFF) {
      found.shared_handle = structure.handle;
    }
    handles.set(structure.handle);
  }
  found.end = walk.position;
  return found;
}

// The problems' texts, joined. One that does not fit any more is left out.
[[gnu::format(printf, 3, 4)]] void add_problem(SmbTableStatus& status, SmbTableProblem problem,
                                               const char* format, ...) {
  status.problems |= static_cast<uint32_t>(problem);
  std::array<char, sizeof status.text> text{};
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  const size_t used = strlen(status.text);
  const std::string_view separator = used == 0 ? "" : "; ";
  if (used + separator.size() + strlen(text.data()) < sizeof status.text) {
    const auto rest = std::span(status.text).subspan(used);
    copy_text(rest.subspan(copy_text(rest, separator)), text.data());
  }
}

void add_length_problems(SmbTableStatus& status, const Findings& found) {
  const bool exact = status.entry_point != kSmbEntryPoint64;
  if (exact ? status.length < status.announced_length : !found.has_end && !found.cut) {
    add_problem(status, kSmbTableEndsEarly,
                "the table ends early: %u bytes are announced, %u are there",
                status.announced_length, status.length);
  }
  const auto rest = table_bytes().subspan(std::min<size_t>(found.end, status.length));
  if (!found.has_end && std::ranges::any_of(rest, [](uint8_t byte) { return byte != 0; })) {
    add_problem(status, kSmbTableEndsEarly, "no structure can begin at offset %u, %u bytes follow",
                static_cast<unsigned>(found.end), static_cast<unsigned>(rest.size()));
  }
  if (found.cut) {
    add_problem(status, kSmbTableOverlaps, "the last structure runs over the table's end");
  }
}

void add_problems(SmbTableStatus& status, const Findings& found) {
  add_length_problems(status, found);
  if (status.announced_count != 0 && status.announced_count != found.count) {
    add_problem(status, kSmbTableWrongCount, "%u structures are announced, %u are there",
                status.announced_count, found.count);
  }
  if (found.behind_end != 0) {
    add_problem(status, kSmbTableBehindEnd, "%u structures lie behind the end-of-table structure",
                found.behind_end);
  }
  if (!found.has_end && table_version() >= kEndOfTableSince) {
    add_problem(status, kSmbTableNoEnd, "there is no end-of-table structure");
  }
  if (found.shared_handle <= 0xFFFF) {
    add_problem(status, kSmbTableSharedHandle, "handle 0x%04X is that of several structures",
                found.shared_handle);
  }
}

}  // namespace

int SmbGetTableStatus(SmbTableStatus* status) {
  if (status == nullptr) {
    return -1;
  }
  *status = {};
  if (!table_initialised()) {
    return -1;
  }
  const EntryPoint& entry_point = table_entry_point();
  const Findings found = walk_table();
  status->entry_point = entry_point.kind;
  status->major = entry_point.major;
  status->minor = entry_point.minor;
  status->revision = entry_point.revision;
  status->address = entry_point.address;
  status->announced_length = entry_point.length;
  status->length = static_cast<uint32_t>(table_bytes().size());
  status->announced_count = entry_point.count;
  status->count = found.count;
  add_problems(*status, found);
  return 0;
}
