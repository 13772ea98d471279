// SPDX-License-Identifier: Apache-2.0
#include "ortinv/json_format.h"

#include <utility>

std::string json_text(Report& report) {
  Json document = {{"schema", "ortinv/1"}};
  for (auto& [key, value] : report.document.items()) {
    document[key] = std::move(value);
  }
  report.document = Json::object();
  document["missing"] = text_or_null(report.missing.c_str());
  Json& problems = document["problems"] = Json::array();
  for (const Problem& problem : report.problems) {
    problems.push_back({{"source", problem.source}, {"message", problem.message}});
  }
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
