// SPDX-License-Identifier: Apache-2.0
#include "ortinv/structure_text.h"

#include <ortinv/smbios_records.h>
#include <ortinv/smbios_standard.h>

#include <array>
#include <cstdio>
#include <string_view>

#include "ortinv/record_values.h"
#include "ortinv/structure.h"
#include "ortinv/terminal_text.h"

namespace {

void append_heading(std::string& out, const SmbStructure& structure) {
  std::array<char, 80> line = {};
  snprintf(line.data(), line.size(), "Handle 0x%04X, type %u, %u bytes", structure.handle,
           structure.type, structure.length);
  out += line.data();
  out += structure.behind_end != 0 ? ", behind the end of the table" : "";
  out += structure.cut != 0 ? ", cut off by the end of the table" : "";
  out += '\n';
  out += structure_name(structure.type);
  out += '\n';
}

void append_line(std::string& out, std::string_view name, std::string_view value) {
  out += '\t';
  out += name;
  out += value.empty() ? ":" : ": ";
  append_terminal_text(out, value);
  out += '\n';
}

void append_item(std::string& out, std::string_view item) {
  out += "\t\t";
  append_terminal_text(out, item);
  out += '\n';
}

void append_value(std::string& out, const SmbValue& value) {
  if (value.shape != kSmbShapeList) {
    append_line(out, value.field->name, value.text);
    return;
  }
  append_line(out, value.field->name, value.item_count == 0 ? "None" : "");
  for (const char* item : std::span(value.items, value.item_count)) {
    append_item(out, item);
  }
}

// "bay_number" as "Bay number".
std::string label_of(const char* key) {
  std::string label = key;
  label[0] = static_cast<char>(label[0] - 'a' + 'A');
  for (char& character : label) {
    character = character == '_' ? ' ' : character;
  }
  return label;
}

// Which port of which mezzanine connects where: "mezzanine 1 port 2, offset 3".
std::string port_text(uint8_t connection, uint8_t bay) {
  constexpr unsigned kNotConnected = 0;
  constexpr unsigned kEmbedded = 15;
  const unsigned mezzanine = connection >> 4U;
  if (mezzanine == kNotConnected) {
    return "not connected";
  }
  const std::string device = mezzanine == kEmbedded ? std::string("embedded device")
                                                    : "mezzanine " + std::to_string(mezzanine);
  return device + ", port " + std::to_string(connection & 3U) + ", offset " +
         std::to_string(bay & 0x1FU) + ((bay & 0x80U) != 0 ? ", double-wide bay" : "");
}

void append_port_maps(std::string& out, std::span<const uint8_t> ports) {
  for (size_t i = 0; i + 1 < ports.size(); i += sizeof(GbxPortMap)) {
    const size_t port = i / sizeof(GbxPortMap);
    append_item(out, "entry " + std::to_string(port / kGbxPortMaps + 1) + ", bay " +
                         std::to_string(port % kGbxPortMaps + 1) + ": " +
                         port_text(ports[i], ports[i + 1]));
  }
}

void append_record_value(std::string& out, const RecordValue& value) {
  const std::string label = label_of(value.field->key);
  if (value.field->kind == kSmbFieldText) {
    append_line(out, label, text_of(value));
  } else if (value.field->kind == kSmbFieldPortMaps) {
    append_line(out, label, value.bytes.empty() ? "None" : "");
    append_port_maps(out, value.bytes);
  } else {
    append_line(out, label, std::to_string(number_of(value)));
  }
}

void append_strings(std::string& out, const SmbStructure& structure) {
  if (structure.string_count != 0) {
    append_line(out, "Strings", "");
  }
  for (uint32_t number = 1; number <= structure.string_count; ++number) {
    const char* text = SmbStructureString(&structure, number);
    append_item(out, text == nullptr ? "" : text);
  }
}

void append_bytes(std::string& out, const SmbStructure& structure) {
  append_line(out, "Header and Data", "");
  out += hexadecimal_bytes(structure, "\t\t");
  append_strings(out, structure);
}

void append_fields(std::string& out, const SmbStructure& structure) {
  const DecodedStructure decoded = decode(structure);
  if (decoded != nullptr && decoded->type != nullptr) {
    for (const SmbValue& value : std::span(decoded->values, decoded->value_count)) {
      append_value(out, value);
    }
  } else if (SmbFindType(structure.type) != nullptr) {
    const RecordValues record = record_values(structure);
    for (const RecordValue& value : record.values) {
      append_record_value(out, value);
    }
  } else {
    append_bytes(out, structure);
  }
}

// The text that tells a structure from others of its type: its first one.
std::string distinction(const SmbStructure& structure) {
  const DecodedStructure decoded = decode(structure);
  if (decoded != nullptr) {
    for (const SmbValue& value : std::span(decoded->values, decoded->value_count)) {
      if (value.shape == kSmbShapeText && value.state == kSmbValueGiven) {
        return value.text;
      }
    }
  }
  return "";
}

void append_list_line(std::string& out, const SmbStructure& structure) {
  std::array<char, 40> numbers = {};
  snprintf(numbers.data(), numbers.size(), "0x%04X  %4u  %6u  ", structure.handle, structure.type,
           structure.length);
  const std::string what = distinction(structure);
  out += numbers.data();
  out += structure_name(structure.type);
  out += what.empty() ? "" : ": ";
  append_terminal_text(out, what);
  out += structure.behind_end != 0 ? " (behind the end of the table)" : "";
  out += '\n';
}

}  // namespace

void append_structure_text(std::string& out, const SmbStructure& structure, Detail detail,
                           bool is_first) {
  if (detail == Detail::kList) {
    out += is_first ? "Handle  Type  Length  Name\n" : "";
    append_list_line(out, structure);
    return;
  }
  out += is_first ? "" : "\n";
  append_heading(out, structure);
  if (detail == Detail::kBytes) {
    append_bytes(out, structure);
  } else {
    append_fields(out, structure);
  }
}
