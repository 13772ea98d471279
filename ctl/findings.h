// SPDX-License-Identifier: Apache-2.0
// What tvurevctl can find on the road of a trap: one row a finding. The text of
// "check", its JSON, the manual page and the tests are made from these rows or held
// to them.
#ifndef TVUREV_CTL_FINDINGS_H_
#define TVUREV_CTL_FINDINGS_H_

#include <cstddef>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

enum class Severity {
  kOk,
  kWarn,     // the trap arrives, but something is wrong
  kFail,     // the trap does not arrive, at one receiver or at all
  kUnknown,  // could not be looked at
};

// What a failure costs.
enum class Costs {
  kNothing,
  kReceiver,   // this receiver's trap
  kEverything  // every trap
};

struct Row {
  std::string_view id;
  Severity severity;
  Costs costs;
  std::string_view text;    // "{word}" stands for what was found
  std::string_view remedy;  // empty where nothing is to be done
  std::string_view page;    // the heading of docs/operations.md that tells more
};

// The rows, in the order of the road.
std::span<const Row> rows();

// The row of this name. A name without a row ends the program: it is a mistake in
// it.
const Row& row(std::string_view id);

struct Finding {
  const Row* row;
  Severity severity;  // the row's, or less
  std::string text;
};

// The findings of one run, in their order.
class Findings {
 public:
  // Adds a finding, the words filled into its text in order.
  void add(std::string_view id, std::initializer_list<std::string_view> words = {});
  // The same for what is wrong now but does no harm to a daemon that runs: a
  // warning, with a sentence that says why.
  void add_for_later(std::string_view id, std::initializer_list<std::string_view> words,
                     std::string_view why);

  const std::vector<Finding>& all() const { return findings_; }
  // The first that costs so much; null without one.
  const Finding* first_failure(Costs costs) const;
  // The first that leaves the verdict open.
  const Finding* first_unknown() const;

  // One line for what is there more than three times, with its count.
  std::vector<Finding> condensed() const;

 private:
  std::vector<Finding> findings_;
};

// "ok", "warn", "FAIL" and "?", as they stand in text and in JSON.
std::string_view name_of(Severity severity);

#endif  // TVUREV_CTL_FINDINGS_H_
