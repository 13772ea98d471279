// SPDX-License-Identifier: Apache-2.0
#include "ortinv/summary_screen.h"

#include <algorithm>
#include <initializer_list>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "ortinv/number.h"
#include "ortinv/terminal_text.h"

namespace {

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
    Row row;
    for (const char* key : keys) {
      row.push_back(text_of(object.value(key, Json())));
    }
    rows.push_back(std::move(row));
  }
  return aligned(rows);
}

bool is_used(const Json& slot) {
  const std::string usage = text_of(slot["usage"]);
  return usage == "In use" || usage == "Enabled";
}

// What the board calls its used slots and its devices, by their address.
std::map<std::string, std::string> designations(const Json& summary) {
  std::map<std::string, std::string> by_address;
  for (const char* key : {"slots", "onboard"}) {
    for (const Json& slot : summary[key]) {
      if (is_used(slot)) {
        by_address.emplace(text_of(slot["address"]), text_of(slot["designation"]));
      }
    }
  }
  return by_address;
}

// Without those of which there is but the address: slots that are empty.
std::vector<std::string> device_lines(const Json& summary) {
  std::map<std::string, std::string> designated = designations(summary);
  std::vector<Row> rows;
  for (const Json& device : summary["pci"]) {
    const std::string address = text_of(device["address"]);
    const std::string location = text_of(device["location"]);
    Row row = {address, location.empty() ? designated[address] : location, text_of(device["name"]),
               text_of(device["part_number"])};
    if (!row[1].empty() || !row[2].empty() || !row[3].empty()) {
      rows.push_back(std::move(row));
    }
  }
  std::vector<std::string> lines = aligned(rows);
  const Json& slots = summary["slots"];
  if (!slots.empty()) {
    const auto used = std::count_if(slots.begin(), slots.end(), is_used);
    lines.insert(lines.begin(),
                 std::to_string(used) + " of " + std::to_string(slots.size()) + " slots in use");
  }
  return lines;
}

std::vector<std::string> processor_lines(const Json& processors) {
  std::vector<Row> rows;
  for (const Json& processor : processors) {
    const std::string cores =
        processor["cores"].is_number() ? processor["cores"].dump() + " cores" : "";
    const bool is_there = text_of(processor["status"]) != "Unpopulated";
    rows.push_back({text_of(processor["socket"]),
                    is_there ? text_of(processor["model"]) : "not populated",
                    is_there ? cores : ""});
  }
  return aligned(rows);
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
  screen.add_all("PCI", device_lines(summary), "none in the table");
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

}  // namespace

std::string summary_screen(const Json& summary, const Request& request, const Report& report) {
  return table_screen(request, summary, report) +
         (request.is_about_dump() ? "" : host_screen(summary, report));
}
