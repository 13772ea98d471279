// SPDX-License-Identifier: Apache-2.0
#include "ortinv/diff_command.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

#include "ortinv/inventory_diff.h"
#include "ortinv/number.h"
#include "ortinv/terminal_text.h"

namespace {

constexpr int kSame = 0;
constexpr int kDifferent = 1;

// Null, after adding a problem, when the file is no document of ours.
Json read_document(const std::string& path, Report& report) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    report.add_problem(path, strerror(errno));
    return {};
  }
  // Comparing goes as deep as a document, and ours are not deep.
  constexpr int kDeepest = 16;
  bool is_too_deep = false;
  const auto watch = [&](int depth, Json::parse_event_t, Json&) {
    is_too_deep = is_too_deep || depth > kDeepest;
    return depth <= kDeepest;
  };
  Json document = Json::parse(file, watch, false);
  const bool has_schema = !is_too_deep && document.is_object() && document.contains("schema") &&
                          document["schema"].is_string();
  if (!has_schema) {
    report.add_problem(path, "is no document of \"ortinv --json\"");
    return {};
  }
  if (document["schema"] != "ortinv/1") {
    report.add_problem(path, "has schema " + document["schema"].get<std::string>() +
                                 ", which this release does not know");
    return {};
  }
  return document;
}

std::string value_text(const Json& value) {
  if (value.is_null()) {
    return "-";
  }
  return terminal_text(value.is_string()
                           ? value.get<std::string>()
                           : value.dump(-1, ' ', false, Json::error_handler_t::replace));
}

bool is_some_text(const Json& value) {
  return value.is_string() && !value.get_ref<const std::string&>().empty();
}

// What an element says of itself: a structure what people know it by, everything
// else its texts.
std::string short_text(const Json& element) {
  constexpr std::array kKnownBy = {"size", "manufacturer", "product_name", "part_number",
                                   "serial_number"};
  const bool has_fields = element.contains("fields") && element["fields"].is_object();
  std::string text;
  for (const auto& [key, value] : (has_fields ? element["fields"] : element).items()) {
    const bool is_size = has_fields && key == "size" && value.is_number_unsigned();
    const bool is_known =
        !has_fields || std::find(kKnownBy.begin(), kKnownBy.end(), key) != kKnownBy.end();
    if (is_known && key != "name" && (is_size || is_some_text(value))) {
      text += (text.empty() ? " (" : ", ") + key + " " +
              (is_size ? size_text(value.get<uint64_t>()) : value_text(value));
    }
  }
  return text.empty() ? "" : text + ")";
}

std::string line_of(const Difference& difference) {
  const std::string item = difference.item.empty() ? "" : ": " + terminal_text(difference.item);
  const std::string place = terminal_text(difference.section) + item;
  if (!difference.field.empty()) {
    return "changed  " + place + ": " + terminal_text(difference.field) + ": " +
           value_text(difference.before) + " -> " + value_text(difference.after) + "\n";
  }
  if (difference.item.empty() || (!difference.before.is_null() && !difference.after.is_null())) {
    return "changed  " + place + "\n";
  }
  const bool is_new = difference.before.is_null();
  return (is_new ? "added    " : "removed  ") + place +
         short_text(is_new ? difference.after : difference.before) + "\n";
}

Json json_of(const Difference& difference) {
  const bool is_whole = difference.field.empty();
  const char* change = !is_whole || difference.before.is_null() == difference.after.is_null()
                           ? "changed"
                           : (difference.before.is_null() ? "added" : "removed");
  return {{"change", change},
          {"section", difference.section},
          {"item", text_or_null(difference.item.c_str())},
          {"field", text_or_null(difference.field.c_str())},
          {"before", difference.before},
          {"after", difference.after}};
}

}  // namespace

void report_diff(const Request& request, Report& report) {
  const Json before = read_document(request.before, report);
  const Json after = read_document(request.after, report);
  if (!report.problems.empty()) {
    report.own_status = kExitUsage;
    return;
  }
  Comparison comparison = compare_inventories(before, after);
  if (!comparison.has_compared) {
    report.add_problem(request.after,
                       "has nothing that can be compared with what " + request.before + " has");
    report.own_status = kExitUsage;
    return;
  }
  report.warnings = std::move(comparison.remarks);
  report.own_status = comparison.differences.empty() ? kSame : kDifferent;
  if (request.wants_text()) {
    for (const Difference& difference : comparison.differences) {
      report.text += line_of(difference);
    }
    report.text += comparison.differences.empty() ? "no differences\n" : "";
    return;
  }
  Json& differences = report.document["diff"] = Json::array();
  for (const Difference& difference : comparison.differences) {
    differences.push_back(json_of(difference));
  }
}
