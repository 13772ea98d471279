// SPDX-License-Identifier: Apache-2.0
#include "ortinv/structure_json.h"

#include <ortinv/smbios_records.h>
#include <ortinv/smbios_standard.h>

#include "ortinv/json_writer.h"
#include "ortinv/record_values.h"
#include "ortinv/structure.h"

namespace {

struct Style {
  bool pretty;
  size_t depth;
};

void append_texts(std::string& out, std::span<const char* const> texts, Style style) {
  JsonScope list(out, "[]", style.depth, style.pretty);
  for (const char* text : texts) {
    list.item();
    append_json_text(out, text);
  }
  list.close();
}

void append_signed(std::string& out, const SmbValue& value) {
  const auto number = static_cast<int64_t>(value.number);
  out += number < 0 ? "-" : "";
  append_json_number(out, number < 0 ? -static_cast<uint64_t>(number) : value.number);
}

void append_value(std::string& out, const SmbValue& value, Style style) {
  if (value.shape == kSmbShapeList) {
    append_texts(out, {value.items, value.item_count}, style);
  } else if (is_number(value)) {
    append_signed(out, value);
  } else {
    append_json_text(out, value.text);
  }
}

void append_numbers(std::string& out, std::span<const uint8_t> numbers, Style style) {
  JsonScope list(out, "[]", style.depth, style.pretty);
  for (const uint8_t number : numbers) {
    list.item();
    append_json_number(out, number);
  }
  list.close();
}

void append_ports(std::string& out, std::span<const uint8_t> ports, Style style) {
  JsonScope list(out, "[]", style.depth, style.pretty);
  for (; ports.size() >= sizeof(GbxPortMap); ports = ports.subspan(sizeof(GbxPortMap))) {
    list.item();
    JsonScope port(out, "{}", style.depth + 1, style.pretty);
    port.member("connection");
    append_json_number(out, ports[0]);
    port.member("bay");
    append_json_number(out, ports[1]);
    port.close();
  }
  list.close();
}

void append_port_maps(std::string& out, std::span<const uint8_t> entries, Style style) {
  constexpr size_t kSize = sizeof(GbxConnectorEntry);
  JsonScope list(out, "[]", style.depth, style.pretty);
  for (; entries.size() >= kSize; entries = entries.subspan(kSize)) {
    list.item();
    append_ports(out, entries.first(kSize), {style.pretty, style.depth + 1});
  }
  list.close();
}

void append_record_value(std::string& out, const RecordValue& value, Style style) {
  switch (value.field->kind) {
    case kSmbFieldText:
      append_json_text(out, text_of(value));
      break;
    case kSmbFieldBytes:
      append_numbers(out, value.bytes, style);
      break;
    case kSmbFieldPortMaps:
      append_port_maps(out, value.bytes, style);
      break;
    case kSmbFieldU8:
    case kSmbFieldU16:
    case kSmbFieldU32:
      append_json_number(out, number_of(value));
      break;
  }
}

void append_header(JsonScope& object, std::string& out, const SmbStructure& structure) {
  object.member("type");
  append_json_number(out, structure.type);
  object.member("name");
  append_json_text(out, structure_name(structure.type));
  object.member("handle");
  append_json_number(out, structure.handle);
  object.member("length");
  append_json_number(out, structure.length);
  if (structure.behind_end != 0) {
    object.member("behind_end");
    out += "true";
  }
  if (structure.cut != 0) {
    object.member("cut");
    out += "true";
  }
}

void append_strings(std::string& out, const SmbStructure& structure, Style style) {
  JsonScope list(out, "[]", style.depth, style.pretty);
  for (uint32_t number = 1; number <= structure.string_count; ++number) {
    const char* text = SmbStructureString(&structure, number);
    list.item();
    append_json_text(out, text == nullptr ? "" : text);
  }
  list.close();
}

void append_fields(JsonScope& object, std::string& out, const SmbStructure& structure,
                   Style style) {
  const DecodedStructure decoded = decode(structure);
  if (decoded == nullptr || decoded->type == nullptr) {
    return;
  }
  object.member("fields");
  JsonScope fields(out, "{}", style.depth, style.pretty);
  for (const SmbValue& value : std::span(decoded->values, decoded->value_count)) {
    fields.member(value.field->key);
    append_value(out, value, {style.pretty, style.depth + 1});
  }
  fields.close();
}

}  // namespace

void append_structure_json(std::string& out, const SmbStructure& structure, Detail detail,
                           std::optional<size_t> depth) {
  const Style style = {depth.has_value(), depth.value_or(0)};
  const Style inner = {style.pretty, style.depth + 1};
  JsonScope object(out, "{}", style.depth, style.pretty);
  append_header(object, out, structure);
  if (detail != Detail::kList) {
    object.member("strings");
    append_strings(out, structure, inner);
  }
  if (detail == Detail::kBytes || (detail == Detail::kFields && !is_known(structure))) {
    object.member("bytes");
    append_json_text(out, hexadecimal_bytes(structure, ""));
  }
  if (detail == Detail::kFields) {
    append_fields(object, out, structure, inner);
    const RecordValues record = record_values(structure);
    for (const RecordValue& value : record.values) {
      object.member(value.field->key);
      append_record_value(out, value, inner);
    }
  }
  object.close();
}
