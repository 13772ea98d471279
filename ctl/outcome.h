// SPDX-License-Identifier: Apache-2.0
// What came of a command other than check, before it is printed.
#ifndef TVUREV_CTL_OUTCOME_H_
#define TVUREV_CTL_OUTCOME_H_

#include <string>
#include <utility>
#include <vector>

// Exit statuses.
inline constexpr int kExitDone = 0;
inline constexpr int kExitNotDone = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitCannotTell = 3;

struct Fact {
  std::string about;  // a part of the daemon, a receiver, a file
  std::string name;   // what is said of it
  std::string value;
};

struct Outcome {
  explicit Outcome(std::string name) : command(std::move(name)) {}

  std::string command;
  int exit_status = kExitDone;
  std::vector<Fact> facts;
  std::string summary;  // the last line: one sentence

  void add(std::string about, std::string name, std::string value) {
    facts.push_back({std::move(about), std::move(name), std::move(value)});
  }
  // Ends it.
  Outcome& end(int status, std::string sentence) {
    exit_status = status;
    summary = std::move(sentence);
    return *this;
  }
};

#endif  // TVUREV_CTL_OUTCOME_H_
