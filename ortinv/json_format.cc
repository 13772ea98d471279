// SPDX-License-Identifier: Apache-2.0
#include "ortinv/json_format.h"

#include <optional>
#include <string_view>
#include <utility>

#include "ortinv/json_writer.h"
#include "ortinv/structure_json.h"

namespace {

std::string dump(const Json& json, int indentation) {
  return without_control_characters(
      json.dump(indentation, ' ', false, Json::error_handler_t::replace));
}

void add_outcome(Json& object, const Report& report) {
  object["missing"] = text_or_null(report.missing.c_str());
  Json& problems = object["problems"] = Json::array();
  for (const Problem& problem : report.problems) {
    problems.push_back({{"source", problem.source},
                        {"message", problem.message},
                        {"timed_out", problem.timed_out}});
  }
  object["warnings"] = report.warnings;
}

std::string line(const std::string& section, const Json& value) {
  return dump({{"schema", kSchema}, {"section", section}, {"value", value}}, -1) + "\n";
}

void print_structures(const Report& report, Output& output) {
  constexpr size_t kDepth = 2;
  for (const SmbStructure& structure : report.structures) {
    output.text() += &structure == &report.structures.front() ? "\n    " : ",\n    ";
    append_structure_json(output.text(), structure, report.detail, kDepth);
    output.write_if_long();
  }
  output.text() += report.structures.empty() ? "" : "\n  ";
}

void print_structure_lines(const Report& report, Output& output) {
  for (const SmbStructure& structure : report.structures) {
    output.text() += R"({"schema":"ortinv/1","section":"smbios","value":)";
    append_structure_json(output.text(), structure, report.detail, std::nullopt);
    output.text() += "}\n";
    output.write_if_long();
  }
}

}  // namespace

void print_json(Report& report, Output& output) {
  Json document = {{"schema", kSchema}, {"revision", kSchemaRevision}};
  for (auto& [key, value] : report.document.items()) {
    document[key] = std::move(value);
  }
  report.document = Json::object();
  add_outcome(document, report);
  const std::string text = dump(document, 2) + "\n";
  // Where the structures go. Nothing else can look like their place: a text holds
  // no line end.
  constexpr std::string_view kPlace = "\n  \"smbios\": [";
  const size_t at = text.find(kPlace);
  const size_t place = at == std::string::npos ? text.size() : at + kPlace.size();
  output.text().append(text, 0, place);
  print_structures(report, output);
  output.text().append(text, place);
}

void print_json_lines(const Report& report, Output& output) {
  for (const auto& [section, value] : report.document.items()) {
    if (section == "smbios") {
      print_structure_lines(report, output);
    } else if (value.is_array()) {
      for (const Json& element : value) {
        output.text() += line(section, element);
        output.write_if_long();
      }
    } else {
      output.text() += line(section, value);
    }
  }
  Json end = {{"schema", kSchema}, {"section", "end"}, {"revision", kSchemaRevision}};
  add_outcome(end, report);
  output.text() += dump(end, -1) + "\n";
}
