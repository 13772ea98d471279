// SPDX-License-Identifier: Apache-2.0
#include "ortinv/text_format.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "ortinv/structure_text.h"
#include "ortinv/terminal_text.h"

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
  return terminal_text(value.get_ref<const std::string&>());
}

void append_padded(std::string& out, const std::string& text, size_t width) {
  out += text;
  const size_t columns = terminal_columns(text);
  out.append(width > columns ? width - columns : 0, ' ');
}

// What the object holds under the key; null when it does not, or is none.
const Json& content_of(const Json& object, const char* key) {
  static const Json nothing;
  const auto found = object.is_object() ? object.find(key) : object.end();
  return found == object.end() ? nothing : *found;
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
    out += value_text(content_of(object, field.key)) + "\n";
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
      rows[i + 1].push_back(value_text(content_of(list[i], field.key)));
    }
    size_t width = 0;
    for (const std::vector<std::string>& row : rows) {
      width = std::max(width, terminal_columns(row.back()));
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

// The memory's figures; what cannot be told says what the host has printed.
Json memory_texts(const Json& memory) {
  Json shown = memory;
  for (const auto& [key, printed] : content_of(memory, "printed").items()) {
    shown[key] = "cannot be told: " + printed.get<std::string>();
  }
  return shown;
}

void append_changes(std::string& out, const Json& changes) {
  for (const Json& change : changes) {
    out += "Changed " + value_text(change["what"]) + " from " + value_text(change["from"]) +
           " to " + value_text(change["to"]) + ".\n";
  }
}

std::string sections_text(const Report& report) {
  const Json& document = report.document;
  const Json& host = content_of(document, "host");
  const Json& bmc = content_of(document, "bmc");
  std::string out;
  append_section(out, "PCI devices", content_of(document, "pci"), kPciFields);
  append_section(out, "Drives", content_of(document, "drives"), kDriveFields);
  append_section(out, "Host", host, kHostFields);
  append_section(out, "Memory", memory_texts(content_of(host, "memory")), kMemoryFields);
  append_section(out, "Software", content_of(document, "software"), kSoftwareFields);
  append_section(out, "BMC address", content_of(bmc, "address"), kAddressFields);
  append_section(out, "BMC mode", content_of(bmc, "mode"), kModeFields);
  append_section(out, "BMC intervals", content_of(bmc, "intervals"), kIntervalFields);
  append_section(out, "Entity MIB registration", content_of(document, "entity_mib"),
                 kEntityMibFields);
  append_changes(out, content_of(document, "changes"));
  return out;
}

}  // namespace

void print_text(const Report& report, Output& output) {
  output.text() += report.text;
  for (const SmbStructure& structure : report.structures) {
    append_structure_text(output.text(), structure, report.detail,
                          &structure == &report.structures.front());
    output.write_if_long();
  }
  const std::string sections = sections_text(report);
  const bool is_first = report.structures.empty() && report.text.empty();
  output.text() += is_first || sections.empty() ? "" : "\n";
  output.text() += sections;
}
