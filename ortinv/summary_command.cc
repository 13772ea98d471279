// SPDX-License-Identifier: Apache-2.0
#include "ortinv/summary_command.h"

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_standard.h>

#include <algorithm>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ortinv/bmc_commands.h"
#include "ortinv/device_commands.h"
#include "ortinv/host_commands.h"
#include "ortinv/library_array.h"
#include "ortinv/structure.h"
#include "ortinv/table_source.h"
#include "ortinv/terminal_text.h"

namespace {

enum Type : uint8_t { kBios = 0, kSystem = 1, kProcessor = 4, kMemoryDevice = 17 };

// The field as text; null when the structure does not have it, and for an empty
// one.
Json field_text(const SmbDecoded& decoded, std::string_view key) {
  for (const SmbValue& value : std::span(decoded.values, decoded.value_count)) {
    if (value.field->key == key) {
      const bool is_text_left_out = value.shape == kSmbShapeText && value.state != kSmbValueGiven;
      return is_text_left_out ? Json() : text_or_null(value.text);
    }
  }
  return {};
}

// A number for programs; null for a word.
Json field_number(const SmbDecoded& decoded, std::string_view key) {
  for (const SmbValue& value : std::span(decoded.values, decoded.value_count)) {
    if (value.field->key == key && is_number(value)) {
      return value.number;
    }
  }
  return {};
}

struct Essential {
  const char* key;    // in the summary
  const char* field;  // of the structure
};

Json essentials_of(const SmbDecoded& decoded, std::span<const Essential> essentials) {
  Json object = Json::object();
  for (const auto& [key, field] : essentials) {
    object[key] = field_text(decoded, field);
  }
  return object;
}

constexpr Essential kOfSystem[] = {{"manufacturer", "manufacturer"},
                                   {"product", "product_name"},
                                   {"serial_number", "serial_number"}};
constexpr Essential kOfBios[] = {
    {"vendor", "vendor"}, {"version", "version"}, {"release_date", "release_date"}};
constexpr Essential kOfProcessor[] = {{"socket", "socket_designation"},
                                      {"model", "version"},
                                      {"cores", "core_count"},
                                      {"status", "socket_status"}};
constexpr Essential kOfMemory[] = {{"slot", "device_locator"},
                                   {"bank", "bank_locator"},
                                   {"size", "size"},
                                   {"kind", "memory_type"},
                                   {"speed", "speed"},
                                   {"manufacturer", "manufacturer"},
                                   {"part_number", "part_number"},
                                   {"serial_number", "serial_number"}};

void add_structure(Json& summary, const SmbStructure& structure) {
  const DecodedStructure decoded = decode(structure);
  if (decoded == nullptr) {
    return;
  }
  switch (structure.type) {
    case kSystem:
      if (summary["system"].is_null()) {
        summary["system"] = essentials_of(*decoded, kOfSystem);
      }
      break;
    case kBios:
      if (summary["bios"].is_null()) {
        summary["bios"] = essentials_of(*decoded, kOfBios);
      }
      break;
    case kProcessor:
      summary["processors"].push_back(essentials_of(*decoded, kOfProcessor));
      break;
    case kMemoryDevice: {
      Json module = essentials_of(*decoded, kOfMemory);
      module["bytes"] = field_number(*decoded, "size");
      summary["memory"].push_back(std::move(module));
      break;
    }
    default:
      break;
  }
}

void add_table(const Request& request, Report& report) {
  Json& summary = report.document["summary"];
  summary["system"] = nullptr;
  summary["bios"] = nullptr;
  summary["processors"] = Json::array();
  summary["memory"] = Json::array();
  if (!open_table(request, report)) {
    return;
  }
  const LibraryArray<SmbStructure> all = list_of<SmbStructure>(SmbListStructures);
  for (const SmbStructure& structure : all.rows()) {
    if (structure.behind_end == 0) {
      add_structure(summary, structure);
    }
  }
}

// Moves what another command finds into the summary.
void add_section(void (*command)(const Request&, Report&), const Request& request,
                 const char* section, const char* key, Report& report) {
  Report part;
  part.timeout = report.timeout;
  command(request, part);
  for (const Problem& problem : part.problems) {
    report.add_problem(problem.source, problem.message, problem.timed_out);
  }
  report.document["summary"][key] = std::move(part.document[section]);
}

// --- the screen ---

class Screen {
 public:
  // One line of the summary; what has no label goes on with the one before.
  void add(std::string_view label, std::string_view text) {
    constexpr size_t kWidth = 10;
    out_ += label;
    out_.append(kWidth - label.size(), ' ');
    append_terminal_text(out_, text);
    out_ += '\n';
  }

  // One line for each, or what there is instead.
  void add_all(std::string_view label, const std::vector<std::string>& lines,
               std::string_view otherwise) {
    if (lines.empty()) {
      add(label, otherwise);
    }
    for (const std::string& line : lines) {
      add(&line == &lines.front() ? label : "", line.empty() ? "not told" : line);
    }
  }

  std::string take() { return std::move(out_); }

 private:
  std::string out_;
};

std::string text_of(const Json& value) {
  return value.is_string() ? value.get<std::string>() : std::string();
}

// The texts of an object, those that are there.
std::string joined(const Json& object, std::initializer_list<const char*> keys,
                   const char* separator = "  ") {
  std::string text;
  for (const char* key : keys) {
    const std::string part = text_of(object.value(key, Json()));
    text += part.empty() ? "" : (text.empty() ? "" : separator) + part;
  }
  return text;
}

using Row = std::vector<std::string>;

// The rows in aligned columns, without columns in which nothing stands.
std::vector<std::string> aligned(const std::vector<Row>& rows) {
  std::vector<std::string> lines(rows.size());
  for (size_t column = 0; !rows.empty() && column < rows.front().size(); ++column) {
    size_t width = 0;
    for (const Row& row : rows) {
      width = std::max(width, terminal_columns(terminal_text(row[column])));
    }
    for (size_t i = 0; i < rows.size() && width != 0; ++i) {
      const std::string text = terminal_text(rows[i][column]);
      lines[i] += text + std::string(width + 2 - terminal_columns(text), ' ');
    }
  }
  for (std::string& line : lines) {
    line.erase(line.find_last_not_of(' ') + 1);
  }
  return lines;
}

std::vector<std::string> lines_of(const Json& list, std::initializer_list<const char*> keys) {
  std::vector<Row> rows;
  for (const Json& object : list) {
    Row& row = rows.emplace_back();
    for (const char* key : keys) {
      row.push_back(text_of(object.value(key, Json())));
    }
  }
  return aligned(rows);
}

// Without those of which there is but the address: slots that are empty.
std::vector<std::string> device_lines(const Json& devices) {
  Json told = Json::array();
  for (const Json& device : devices) {
    if (!joined(device, {"location", "name", "part_number"}).empty()) {
      told.push_back(device);
    }
  }
  return lines_of(told, {"address", "location", "name", "part_number"});
}

std::vector<std::string> processor_lines(const Json& processors) {
  std::vector<Row> rows;
  for (const Json& processor : processors) {
    const std::string cores = text_of(processor["cores"]);
    const bool is_there = text_of(processor["status"]) != "Unpopulated";
    rows.push_back({text_of(processor["socket"]),
                    is_there ? text_of(processor["model"]) : "not populated",
                    is_there && !cores.empty() ? cores + " cores" : ""});
  }
  return aligned(rows);
}

// The total in the largest unit that has it whole.
std::string size_text(uint64_t bytes) {
  constexpr uint64_t kMegabyte = 1024 * 1024;
  constexpr uint64_t kGigabyte = 1024 * kMegabyte;
  return bytes % kGigabyte == 0 ? std::to_string(bytes / kGigabyte) + " GB"
                                : std::to_string(bytes / kMegabyte) + " MB";
}

std::vector<std::string> memory_lines(const Json& modules) {
  Json filled = Json::array();
  uint64_t bytes = 0;
  for (const Json& module : modules) {
    if (module["bytes"].is_number() || text_of(module["size"]) != "No Module Installed") {
      bytes += module["bytes"].is_number() ? module["bytes"].get<uint64_t>() : 0;
      filled.push_back(module);
    }
  }
  std::vector<std::string> lines = lines_of(
      filled, {"slot", "size", "kind", "speed", "manufacturer", "part_number", "serial_number"});
  if (!modules.empty()) {
    lines.insert(lines.begin(), size_text(bytes) + ", " + std::to_string(filled.size()) + " of " +
                                    std::to_string(modules.size()) + " slots filled");
  }
  return lines;
}

// The reason why a source gave nothing: its problem, or that it told nothing.
std::string reason(const Report& report, std::string_view source) {
  for (const Problem& problem : report.problems) {
    if (source.empty() ? problem.source.starts_with('/') : problem.source == source) {
      return "unknown: " + problem.source + ": " + problem.message;
    }
  }
  return "not told";
}

std::string table_screen(const Request& request, const Json& summary, const Report& report) {
  Screen screen;
  const std::string nothing = request.is_about_dump() && !report.problems.empty()
                                  ? reason(report, request.dump)
                                  : reason(report, "");
  if (summary["system"].is_null() && summary["bios"].is_null() && !report.problems.empty() &&
      nothing != "not told") {
    screen.add("Firmware", nothing);
    return screen.take();
  }
  const auto said = [](const std::string& text) { return text.empty() ? "not told" : text; };
  const Json none = Json::object();
  const Json& system = summary["system"].is_null() ? none : summary["system"];
  const Json& bios = summary["bios"].is_null() ? none : summary["bios"];
  screen.add("Product", said(joined(system, {"manufacturer", "product"}, " ")));
  screen.add("Serial", said(joined(system, {"serial_number"})));
  screen.add("BIOS", said(joined(bios, {"version", "release_date", "vendor"})));
  screen.add_all("CPUs", processor_lines(summary["processors"]), "not told");
  screen.add_all("Memory", memory_lines(summary["memory"]), "not told");
  screen.add_all("Drives", lines_of(summary["drives"], {"location", "serial_number", "text"}),
                 "none in the table");
  screen.add_all("PCI", device_lines(summary["pci"]), "none in the table");
  return screen.take();
}

std::string host_screen(const Json& summary, const Report& report) {
  Screen screen;
  const Json& bmc = summary["bmc_address"];
  const std::string address = bmc.is_null() ? "" : joined(bmc, {"ipv4", "ipv6"});
  screen.add("BMC", address.empty() ? reason(report, "BMC") : address);
  const std::string host = text_of(summary["host_version"]);
  screen.add("Host", host.empty() ? reason(report, "libvmkuser.so") : host);
  return screen.take();
}

void show(const Request& request, Report& report) {
  const Json summary = std::move(report.document["summary"]);
  report.document.erase("summary");
  report.text = table_screen(request, summary, report);
  if (!request.is_about_dump()) {
    report.text += host_screen(summary, report);
  }
  // The screen has said it.
  report.own_status = report.exit_status();
  report.problems.clear();
}

}  // namespace

void report_summary(const Request& request, Report& report) {
  add_table(request, report);
  add_section(report_all_drives, request, "drives", "drives", report);
  add_section(report_all_pci, request, "pci", "pci", report);
  if (!request.is_about_dump()) {
    add_section(report_bmc_address, request, "bmc", "bmc_address", report);
    Json& address = report.document["summary"]["bmc_address"];
    address = Json(address["address"]);
    add_section(report_host_version, request, "host", "host_version", report);
  }
  if (request.wants_text()) {
    show(request, report);
  }
}
