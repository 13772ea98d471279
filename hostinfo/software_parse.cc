// SPDX-License-Identifier: Apache-2.0
#include "hostinfo/software_parse.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>

namespace {

using std::string_view;

// A value picked out of a line, if it is there from its start to its end.
using Value = std::optional<string_view>;

bool holds(string_view line, string_view text) {
  return line.find(text) != string_view::npos;
}

// The text between a tag and its end tag.
Value element(string_view line, string_view tag, string_view end_tag) {
  const size_t start = line.find(tag);
  if (start == string_view::npos) {
    return {};
  }
  const string_view rest = line.substr(start + tag.size());
  const size_t end = rest.find(end_tag);
  if (end == string_view::npos) {
    return {};
  }
  return rest.substr(0, end);
}

// The text of a quoted attribute. The character after the "=" is taken for the
// opening quote, whatever it is: kept on purpose because the image database always
// quotes (docs/oddities.md: software-attribute-quote).
Value attribute(string_view line, string_view tag, string_view name) {
  const size_t start = line.find(name);
  if (!holds(line, tag) || start == string_view::npos) {
    return {};
  }
  const size_t after = start + name.size();
  if (after >= line.size()) {
    return {};
  }
  const string_view rest = line.substr(after + 1);
  const size_t end = rest.find('"');
  if (end == string_view::npos) {
    return {};
  }
  return rest.substr(0, end);
}

// Copies what fits before the field's last byte, which stays zero. What the
// field held behind the copied characters stays too: kept on purpose because
// callers compare records between hosts (docs/oddities.md: software-value-tail).
size_t copy_characters(std::span<char> field, string_view value) {
  const size_t length = std::min(value.size(), field.size() - 1);
  memcpy(field.data(), value.data(), length);
  return length;
}

void store(std::span<char> field, Value value) {
  if (value) {
    copy_characters(field, *value);
  }
}

void store_terminated(std::span<char> field, Value value) {
  if (value) {
    field[copy_characters(field, *value)] = '\0';
  }
}

// What the two forms have in common.
void parse_common_elements(string_view line, SwInstalledRec& record) {
  store(record.vendor, element(line, "<vendor>", "</vendor>"));
  store(record.summary, element(line, "<summary>", "</summary>"));
  store(record.description, element(line, "<description>", "</description>"));
}

}  // namespace

void parse_component_line(string_view line, SwInstalledRec& record) {
  store_terminated(record.name, attribute(line, "<componentNameSpec", "name="));
  store_terminated(record.version, attribute(line, "<componentVersionSpec", "version="));
  parse_common_elements(line, record);
  store(record.releaseDate, element(line, "<releaseDate>", "</releaseDate>"));
}

void parse_bulletin_line(string_view line, SwInstalledRec& record) {
  store_terminated(record.name, element(line, "<name>", "</name>"));
  store_terminated(record.version, element(line, "<version>", "</version>"));
  parse_common_elements(line, record);
  store(record.releaseDate, element(line, "<release-date>", "</release-date>"));
  store(record.installDate, element(line, "<installdate>", "</installdate>"));
  store(record.acceptanceLevel, element(line, "<acceptance-level>", "</acceptance-level>"));
  if (holds(line, "<tag>module")) {
    store_terminated(record.kind, "module");
  }
  if (holds(line, "<tag>driver")) {
    store_terminated(record.kind, "driver");
  }
}
