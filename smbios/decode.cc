// SPDX-License-Identifier: Apache-2.0
// Reads one structure by the rows of its type.
#include <algorithm>
#include <cstring>
#include <new>
#include <span>

#include "smbios/drafts.h"
#include "smbios/loaded_table.h"
#include "smbios/structure_view.h"
#include "smbios/table.h"
#include "smbios/value_text.h"

namespace {

// As bits: asked for each field.
constexpr uint64_t kTextKinds = [] {
  uint64_t kinds = 0;
  for (const SmbValueKind kind :
       {kSmbKindText, kSmbKindBytes, kSmbKindUuid, kSmbKindRevision, kSmbKindPackedRevision,
        kSmbKindPackedDate, kSmbKindPciAddress, kSmbKindVendorId, kSmbKindTpmFirmware}) {
    kinds |= uint64_t{1} << kind;
  }
  return kinds;
}();
static_assert(kSmbKindProtocolRecords < 64);

std::string_view as_text(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void read_texts(StructureView& structure) {
  auto rest = as_text(structure.strings);
  while (!rest.empty() && rest.front() != '\0' &&
         structure.text_count + 1 < structure.texts.size()) {
    const size_t length = std::min(rest.find('\0'), rest.size());
    structure.texts[++structure.text_count] = rest.substr(0, length);
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
}

// Whether the structure still lies in the table as it is described.
bool view(const SmbStructure& described, StructureView& structure) {
  const auto bytes = block_from(described.bytes);
  if (bytes.size() < described.size || described.size < kStructureHeaderSize) {
    return false;
  }
  const size_t length = std::min<size_t>(described.length, described.size);
  structure.fields = bytes.first(length);
  structure.strings = bytes.subspan(length, described.size - length);
  structure.version = table_version();
  return true;
}

void decode_fields(const SmbStandardType& type, StructureView& structure, Drafts& drafts) {
  for (const SmbStandardField& field : std::span(type.fields, type.field_count)) {
    const size_t moved = field.behind_list != 0 ? structure.list_size : 0;
    if (length_of(structure) < field.since + moved) {
      continue;
    }
    if (SmbKindShape(field.kind) == kSmbShapeList) {
      decode_list(structure, field, field.offset + moved, drafts);
    } else {
      decode_single(structure, field, field.offset + moved, drafts);
    }
  }
}

}  // namespace

SmbValueShape SmbKindShape(SmbValueKind kind) {
  if (kind == kSmbKindBits || kind >= kSmbKindStrings) {
    return kSmbShapeList;
  }
  return (kTextKinds >> kind & 1) != 0 ? kSmbShapeText : kSmbShapeNumber;
}

int SmbDecode(const SmbStructure* structure, SmbDecoded** decoded) {
  if (decoded == nullptr) {
    return -1;
  }
  *decoded = nullptr;
  StructureView viewed;
  if (structure == nullptr || !view(*structure, viewed)) {
    return -1;
  }
  constexpr size_t kUsualValues = 48;
  constexpr size_t kUsualCharacters = 1024;
  try {
    Drafts drafts;
    const SmbStandardType* type = SmbFindStandardType(structure->type);
    if (type != nullptr && type->field_count != 0) {
      drafts.values.reserve(kUsualValues);
      drafts.characters.reserve(kUsualCharacters);
      read_texts(viewed);
      decode_fields(*type, viewed, drafts);
    }
    *decoded = finish(type, drafts);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  return *decoded == nullptr ? -1 : 0;
}
