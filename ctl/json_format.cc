// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "ctl/format.h"

namespace {

using Json = nlohmann::ordered_json;

// Bytes of files that are no UTF-8 come out as U+FFFD.
std::string printed(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string json_of(const CheckReport& report) {
  Json json = Json::object();
  json["verdict"] = report.verdict;
  json["reached"] = report.reached ? Json(*report.reached) : Json();
  json["receivers"] = report.receivers;
  json["findings"] = Json::array();
  for (const Finding& finding : report.findings) {
    json["findings"].push_back({{"id", finding.row->id},
                                {"severity", name_of(finding.severity)},
                                {"text", finding.text},
                                {"remedy", finding.row->remedy},
                                {"page", "operations.md#" + std::string(finding.row->page)}});
  }
  return printed(json);
}

std::string json_of(const Outcome& outcome) {
  Json json = Json::object();
  json["command"] = outcome.command;
  json["exit"] = outcome.exit_status;
  json["summary"] = outcome.summary;
  json["facts"] = Json::array();
  for (const Fact& fact : outcome.facts) {
    json["facts"].push_back({{"about", fact.about}, {"name", fact.name}, {"value", fact.value}});
  }
  return printed(json);
}
