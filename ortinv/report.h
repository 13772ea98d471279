// SPDX-License-Identifier: Apache-2.0
// What one run of ortinv has found out, before it is printed: the sections of
// the output document (ortinv.schema.json), and what kept it from finding
// out more. The commands fill it in, a formatter prints it.
#ifndef TVUREV_ORTINV_REPORT_H_
#define TVUREV_ORTINV_REPORT_H_

#include <ortinv/smbios_load.h>

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Keeps the order in which keys were added. Adding a key moves the others: no
// reference into a document may be kept meanwhile.
using Json = nlohmann::ordered_json;

// Exit statuses.
inline constexpr int kExitFound = 0;
inline constexpr int kExitNotFound = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNoSource = 3;
inline constexpr int kExitTimeout = 4;

// A source that is not there or does not work.
struct Problem {
  std::string source;   // a path, a command, or the BMC
  std::string message;  // what is wrong with it and what to do, one line
  bool timed_out = false;

  bool operator==(const Problem&) const = default;
};

// How much of a structure is shown: a line, its fields, or its bytes.
enum class Detail { kList, kFields, kBytes };

struct Report {
  Json document = Json::object();
  std::vector<Problem> problems;
  // What was asked for by name or number and is not there, one line; empty when
  // everything was found.
  std::string missing;
  // What is odd about what was found, one line each.
  std::vector<std::string> warnings;
  // What the command says itself, for people: comes before the sections.
  std::string text;
  // The elements of the section "smbios", which the document has empty: with
  // thousands of them it would cost more than everything else.
  std::vector<SmbStructure> structures;
  Detail detail = Detail::kFields;
  // The command's own answer, where it is not whether something was found.
  std::optional<int> own_status;
  // How long a source may take to answer, in seconds; 0: for ever.
  uint32_t timeout = 0;

  // Each once.
  void add_problem(std::string source, std::string message, bool timed_out = false) {
    Problem problem = {std::move(source), std::move(message), timed_out};
    if (std::find(problems.begin(), problems.end(), problem) == problems.end()) {
      problems.push_back(std::move(problem));
    }
  }

  // Notes a change of something outside, unless it was the same before; either
  // value may be null.
  void add_change(const std::string& what, Json from, Json to) {
    if (from != to) {
      document["changes"].push_back(
          {{"what", what}, {"from", std::move(from)}, {"to", std::move(to)}});
    }
  }

  int exit_status() const {
    if (own_status.has_value()) {
      return *own_status;
    }
    if (!problems.empty()) {
      const bool timed_out = std::any_of(problems.begin(), problems.end(),
                                         [](const Problem& one) { return one.timed_out; });
      return timed_out ? kExitTimeout : kExitNoSource;
    }
    return missing.empty() ? kExitFound : kExitNotFound;
  }
};

// A text of the library, or null for none.
inline Json text_or_null(const char* text) {
  return text == nullptr || *text == '\0' ? Json() : Json(text);
}

#endif  // TVUREV_ORTINV_REPORT_H_
