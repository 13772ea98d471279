// SPDX-License-Identifier: Apache-2.0
#include "ortinv/text_format.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace {

// A key of the document and what people call it. in_table: whether it has a
// column where several objects are listed.
struct Field {
  const char* key;
  const char* label;
  bool in_table = true;
};

constexpr Field kPciFields[] = {
    {"address", "Address"},         {"location", "Location"},       {"name", "Name"},
    {"part_number", "Part number"}, {"linked_text", "Linked text"}, {"nic_port", "NIC port"}};
constexpr Field kDriveFields[] = {
    {"serial_number", "Serial number"}, {"location", "Location"}, {"text", "Text"}};
constexpr Field kHostFields[] = {{"product", "Product"},
                                 {"version", "Version"},
                                 {"full_version", "Full version"},
                                 {"short_version", "Short version"},
                                 {"major_version", "Major version"},
                                 {"build", "Build"},
                                 {"system_type", "System type"},
                                 {"system_subtype", "System subtype"},
                                 {"kernel", "Kernel"},
                                 {"uptime_seconds", "Uptime (s)"}};
constexpr Field kMemoryFields[] = {{"total_physical_mb", "Total physical (MB)"},
                                   {"free_physical_mb", "Free physical (MB)"},
                                   {"total_virtual_mb", "Total virtual (MB)"},
                                   {"free_virtual_mb", "Free virtual (MB)"}};
constexpr Field kSoftwareFields[] = {{"name", "Name"},
                                     {"version", "Version"},
                                     {"vendor", "Vendor"},
                                     {"summary", "Summary", false},
                                     {"description", "Description", false},
                                     {"release_date", "Released"},
                                     {"install_date", "Installed"},
                                     {"acceptance_level", "Acceptance"},
                                     {"kind", "Kind"},
                                     {"form", "Form"}};
constexpr Field kAddressFields[] = {{"ipv4", "IPv4 address"},
                                    {"ipv6", "IPv6 address"},
                                    {"ipv4_enabled", "IPv4 enabled"},
                                    {"ipv6_enabled", "IPv6 enabled"}};
constexpr Field kModeFields[] = {
    {"enabled", "Enabled"}, {"value", "Value"}, {"variable", "Variable"}};
constexpr Field kIntervalFields[] = {
    {"selector", "Selector"}, {"variable", "Variable"}, {"value", "Value"}};
constexpr Field kEntityMibFields[] = {{"file", "File"}, {"address", "Address"}};

std::string value_text(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  if (value.is_boolean()) {
    return value.get<bool>() ? "yes" : "no";
  }
  if (!value.is_string()) {
    return value.dump();
  }
  auto text = value.get<std::string>();
  std::replace_if(
      text.begin(), text.end(),
      [](char character) { return static_cast<uint8_t>(character) < ' ' || character == '\x7F'; },
      '.');
  return text;
}

void append_padded(std::string& out, const std::string& text, size_t width) {
  out += text;
  out.append(width > text.size() ? width - text.size() : 0, ' ');
}

std::string field_lines(const Json& object, std::span<const Field> fields) {
  size_t width = 0;
  for (const Field& field : fields) {
    width = std::max(width, std::string_view(field.label).size());
  }
  std::string out;
  for (const Field& field : fields) {
    out += "  ";
    append_padded(out, field.label, width + 2);
    out += value_text(object[field.key]) + "\n";
  }
  return out;
}

std::string table_lines(const Json& list, std::span<const Field> fields) {
  std::vector<std::vector<std::string>> rows(list.size() + 1);
  std::vector<size_t> widths;
  for (const Field& field : fields) {
    if (!field.in_table) {
      continue;
    }
    rows[0].emplace_back(field.label);
    for (size_t i = 0; i < list.size(); ++i) {
      rows[i + 1].push_back(value_text(list[i][field.key]));
    }
    size_t width = 0;
    for (const std::vector<std::string>& row : rows) {
      width = std::max(width, row.back().size());
    }
    widths.push_back(width);
  }
  std::string out;
  for (const std::vector<std::string>& row : rows) {
    std::string line;
    for (size_t column = 0; column < row.size(); ++column) {
      line += "  ";
      append_padded(line, row[column], widths[column]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out += line + "\n";
  }
  return out;
}

// A heading and what is under it, or nothing at all.
void append_section(std::string& out, const char* heading, const Json& content,
                    std::span<const Field> fields) {
  if (content.empty()) {
    return;
  }
  out += out.empty() ? "" : "\n";
  out += std::string(heading) + "\n";
  if (content.is_object()) {
    out += field_lines(content, fields);
  } else if (content.size() == 1) {
    out += field_lines(content[0], fields);
  } else {
    out += table_lines(content, fields);
  }
}

void append_changes(std::string& out, const Json& changes) {
  for (const Json& change : changes) {
    out += "Changed " + value_text(change["what"]) + " from " + value_text(change["from"]) +
           " to " + value_text(change["to"]) + ".\n";
  }
}

}  // namespace

std::string human_text(const Report& report) {
  const Json& document = report.document;
  const Json host = document.value("host", Json());
  const Json bmc = document.value("bmc", Json());
  std::string out;
  append_section(out, "PCI devices", document.value("pci", Json()), kPciFields);
  append_section(out, "Drives", document.value("drives", Json()), kDriveFields);
  append_section(out, "Host", host, kHostFields);
  if (host.is_object()) {
    append_section(out, "Memory", host["memory"], kMemoryFields);
  }
  append_section(out, "Software", document.value("software", Json()), kSoftwareFields);
  if (bmc.is_object()) {
    append_section(out, "BMC address", bmc.value("address", Json()), kAddressFields);
    append_section(out, "BMC mode", bmc.value("mode", Json()), kModeFields);
    append_section(out, "BMC intervals", bmc.value("intervals", Json()), kIntervalFields);
  }
  append_section(out, "Entity MIB registration", document.value("entity_mib", Json()),
                 kEntityMibFields);
  append_changes(out, document.value("changes", Json::array()));
  return out;
}
