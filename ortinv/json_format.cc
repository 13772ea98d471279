// SPDX-License-Identifier: Apache-2.0
#include "ortinv/json_format.h"

#include <string_view>
#include <utility>

#include "ortinv/json_writer.h"

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

}  // namespace

std::string json_text(Report& report) {
  Json document = {{"schema", kSchema}, {"revision", kSchemaRevision}};
  for (auto& [key, value] : report.document.items()) {
    document[key] = std::move(value);
  }
  report.document = Json::object();
  add_outcome(document, report);
  std::string text = dump(document, 2) + "\n";
  // The structures are JSON already. Nothing else can look like their place: a
  // text holds no line end.
  constexpr std::string_view kPlace = "\n  \"smbios\": []";
  if (const size_t at = text.find(kPlace); !report.structures.empty() && at != std::string::npos) {
    text.insert(at + kPlace.size() - 1, report.structures + "\n  ");
  }
  return text;
}

std::string json_lines_text(const Report& report) {
  std::string lines;
  for (const auto& [section, value] : report.document.items()) {
    if (section == "smbios") {
      lines += report.structures;
    } else if (value.is_array()) {
      for (const Json& element : value) {
        lines += line(section, element);
      }
    } else {
      lines += line(section, value);
    }
  }
  Json end = {{"schema", kSchema}, {"section", "end"}, {"revision", kSchemaRevision}};
  add_outcome(end, report);
  return lines + dump(end, -1) + "\n";
}
