// SPDX-License-Identifier: Apache-2.0
// Writes JSON piece by piece into a text, for lists that are too long to be kept
// as a document first. Always valid UTF-8; control characters of any kind are
// escaped.
#ifndef TVUREV_ORTINV_JSON_WRITER_H_
#define TVUREV_ORTINV_JSON_WRITER_H_

#include <cstdint>
#include <string>
#include <string_view>

// Appends a text in quotes. A byte that is no UTF-8 becomes U+FFFD.
void append_json_text(std::string& out, std::string_view text);

void append_json_number(std::string& out, uint64_t number);

// Escapes what a document's own printer lets through: U+007F to U+009F.
std::string without_control_characters(std::string json);

// An object or list that is being written: its members, separated and, when it is
// pretty, each on a line of its own.
class JsonScope {
 public:
  // brackets are "{}" or "[]"; depth is that of the scope's own lines.
  JsonScope(std::string& out, const char* brackets, size_t depth, bool pretty);

  // Begins a member: of an object, with its key, which needs no escapes; of a list.
  void member(std::string_view key);
  void item();

  // Ends it.
  void close();

 private:
  void separate();

  std::string& out_;
  const char* brackets_;
  size_t depth_;
  bool pretty_;
  bool empty_ = true;
};

#endif  // TVUREV_ORTINV_JSON_WRITER_H_
