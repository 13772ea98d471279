// SPDX-License-Identifier: Apache-2.0
#include "ortinv/json_format.h"

std::string json_text(const Report& report) {
  Json document = {{"schema", "ortinv/1"}};
  document.update(report.document);
  document["missing"] = text_or_null(report.missing.c_str());
  Json& problems = document["problems"] = Json::array();
  for (const Problem& problem : report.problems) {
    problems.push_back({{"source", problem.source}, {"message", problem.message}});
  }
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
