// The words after an event's name: plain words in order, and "key=value" in any
// order. Used by the scenario parser only.
#ifndef TVUREV_LAB_SIM_OPTIONS_H_
#define TVUREV_LAB_SIM_OPTIONS_H_

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/events.h"

class Options {
 public:
  explicit Options(std::span<const std::string> words) : left_(words.begin(), words.end()) {}

  // Takes the first word left; an error when there is none.
  std::string take_word();

  // Takes the value of the first "key=..." word, if there is one.
  std::optional<std::string> take(std::string_view key);
  std::optional<std::string> peek(std::string_view key) const;

  // Takes a value that must be a number up to most (signed: within 32 bits).
  std::optional<uint64_t> take_number(std::string_view key, uint64_t most);
  std::optional<int64_t> take_signed(std::string_view key);

  // Takes every word left.
  std::vector<std::string> take_rest();

  // Every word left is an error.
  void finish();

  // Remembers the first error.
  void fail(const std::string& error);
  const std::string& error() const { return error_; }

 private:
  std::vector<std::string> left_;
  std::string error_;
};

// Takes the packet fields: pktsize, seqno, cmdno, svc, errcode, idx, more,
// resplen, size.
FieldChanges take_fields(Options* options);

// Takes generation, firmware, date, ipv4, ipv6-options and ipv6.
IdentityEvent take_identity(Options* options);

#endif  // TVUREV_LAB_SIM_OPTIONS_H_
