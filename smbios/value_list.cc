// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <span>

#include "smbios/value_text.h"

namespace {

// Where the items of a list are, and how many are really there.
struct Items {
  size_t first;
  size_t size;
  size_t count;
};

Items items_at(const StructureView& structure, size_t first, size_t size, size_t announced) {
  const size_t length = length_of(structure);
  const size_t room = size == 0 || first >= length ? 0 : (length - first) / size;
  return {first, size, std::min(room, announced)};
}

void add_bits(const SmbStandardField& field, uint64_t set, Drafts& drafts) {
  for (const SmbWord& word : std::span(field.words, field.word_count)) {
    if ((set >> word.value & 1) != 0) {
      begin_item(drafts);
      drafts.characters += word.text;
      end_text(drafts);
    }
  }
}

void add_strings(const StructureView& structure, uint64_t announced, Drafts& drafts) {
  const size_t count = std::min<size_t>(announced, structure.text_count);
  for (size_t number = 1; number <= count; ++number) {
    begin_item(drafts);
    append_printable(drafts.characters, structure.texts[number]);
    end_text(drafts);
  }
}

void add_handles(const StructureView& structure, const Items& items, Drafts& drafts) {
  for (size_t item = 0; item < items.count; ++item) {
    begin_item(drafts);
    drafts.characters += "0x";
    append_hex(drafts.characters, number_at(structure, items.first + item * items.size, 2), 4);
    end_text(drafts);
  }
}

// A type of structure, or of board; and how many there may be.
void append_element(const StructureView& structure, size_t offset, std::string& characters) {
  constexpr uint8_t kBaseboard = 2;
  constexpr std::string_view kBoardType = "board_type";
  const uint64_t kind = number_at(structure, offset, 1);
  const auto kind_of = static_cast<uint32_t>(kind & 0x7F);
  const SmbStandardType* const type = SmbFindStandardType(kind >= 0x80 ? kind_of : kBaseboard);
  if (kind >= 0x80 && type != nullptr) {
    characters += type->name;
  } else if (kind >= 0x80) {
    characters += "Type ";
    append_decimal(characters, kind_of);
  } else {
    const auto* field =
        std::find_if(type->fields, type->fields + type->field_count,
                     [&](const SmbStandardField& row) { return row.key == kBoardType; });
    append_word(characters, *field, kind_of);
  }
  const uint64_t least = number_at(structure, offset + 1, 1);
  const uint64_t most = number_at(structure, offset + 2, 1);
  characters += " (";
  append_decimal(characters, least);
  if (most != least) {
    characters += '-';
    append_decimal(characters, most);
  }
  characters += ')';
}

void add_elements(const StructureView& structure, const Items& items, Drafts& drafts) {
  constexpr size_t kElementSize = 3;
  for (size_t item = 0; items.size >= kElementSize && item < items.count; ++item) {
    begin_item(drafts);
    append_element(structure, items.first + item * items.size, drafts.characters);
    end_text(drafts);
  }
}

void add_peers(const StructureView& structure, const Items& items, Drafts& drafts) {
  for (size_t item = 0; item < items.count; ++item) {
    const size_t offset = items.first + item * items.size;
    begin_item(drafts);
    append_pci_address(drafts.characters, structure, offset);
    drafts.characters += " (Width ";
    append_decimal(drafts.characters, number_at(structure, offset + 4, 1));
    drafts.characters += ')';
    end_text(drafts);
  }
}

void add_devices(const StructureView& structure, const SmbStandardField& field, const Items& items,
                 Drafts& drafts) {
  for (size_t item = 0; item < items.count; ++item) {
    const size_t offset = items.first + item * items.size;
    const uint64_t kind = number_at(structure, offset, 1);
    const uint64_t text = number_at(structure, offset + 1, 1);
    begin_item(drafts);
    append_word(drafts.characters, field, kind & 0x7F);
    drafts.characters += kind >= 0x80 ? ", Enabled" : ", Disabled";
    if (text != 0 && text <= structure.text_count) {
      drafts.characters += ", ";
      append_printable(drafts.characters, structure.texts[text]);
    }
    end_text(drafts);
  }
}

void append_bytes(const StructureView& structure, const Items& items, std::string& characters) {
  for (size_t item = 0; item < items.count; ++item) {
    if (item != 0) {
      characters += ' ';
    }
    append_hex(characters, number_at(structure, items.first + item, 1), 2);
  }
}

void add_data(const StructureView& structure, const Items& items, Drafts& drafts) {
  if (items.count != 0) {
    begin_item(drafts);
    append_bytes(structure, items, drafts.characters);
    end_text(drafts);
  }
}

// Each: its type, the number of its bytes, and those.
void add_protocols(const StructureView& structure, const SmbStandardField& field, size_t first,
                   uint64_t announced, Drafts& drafts) {
  size_t offset = first;
  for (uint64_t record = 0; record < announced && offset + 2 <= length_of(structure); ++record) {
    const size_t size = number_at(structure, offset + 1, 1);
    begin_item(drafts);
    append_word(drafts.characters, field, number_at(structure, offset, 1));
    drafts.characters += ": ";
    append_bytes(structure, items_at(structure, offset + 2, 1, size), drafts.characters);
    end_text(drafts);
    offset += 2 + size;
  }
}

}  // namespace

void decode_list(StructureView& structure, const SmbStandardField& field, size_t offset,
                 Drafts& drafts) {
  constexpr size_t kElementSizeBehind = 1;
  constexpr size_t kPeerSize = 5;
  constexpr size_t kDeviceSize = 2;
  const uint64_t number = number_at(structure, offset, field.width);
  const size_t first = offset + field.width;
  begin_value(drafts, field, number);
  switch (static_cast<unsigned>(field.kind)) {
    case kSmbKindBits:
      return add_bits(field, number, drafts);
    case kSmbKindStrings:
      return add_strings(structure, number, drafts);
    case kSmbKindHandles:
      return add_handles(structure, items_at(structure, first, 2, number), drafts);
    case kSmbKindElements: {
      const size_t size = number_at(structure, first, 1);
      structure.list_size = number * size;
      return add_elements(structure, items_at(structure, first + kElementSizeBehind, size, number),
                          drafts);
    }
    case kSmbKindSlotPeers:
      structure.list_size = number * kPeerSize;
      return add_peers(structure, items_at(structure, first, kPeerSize, number), drafts);
    case kSmbKindDevices:
      return add_devices(structure, field,
                         items_at(structure, first, kDeviceSize, length_of(structure)), drafts);
    case kSmbKindInterfaceData:
      structure.list_size = number;
      return add_data(structure, items_at(structure, first, 1, number), drafts);
    case kSmbKindSpecificData:
      return add_data(structure, items_at(structure, first + 1, 1, number), drafts);
    default:
      return add_protocols(structure, field, first, number, drafts);
  }
}
