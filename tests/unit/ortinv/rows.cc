// SPDX-License-Identifier: Apache-2.0
// Prints the rows that the library publishes as JSON, for the check of what people
// read about them: the types with their fields, the key words, the selectors with
// their variables.
#include <ortinv/smbios_standard.h>
#include <ortinv/smbios_types.h>
#include <ortinv/variables.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <span>

int main() {
  using Json = nlohmann::ordered_json;
  constexpr const char* kKinds[] = {"text", "u8", "u16", "u32", "bytes", "port maps"};
  Json types = Json::array();
  for (uint32_t i = 0; i < SmbTypeCount(); ++i) {
    const SmbType& type = *SmbTypeAt(i);
    Json fields = Json::array();
    for (const SmbField& field : std::span(type.fields, type.field_count)) {
      fields.push_back(
          {{"key", field.key}, {"kind", kKinds[field.kind]}, {"count", field.size_or_count}});
    }
    types.push_back({{"type", type.type}, {"name", type.name}, {"fields", fields}});
  }
  Json standard = Json::array();
  for (uint32_t i = 0; i < SmbStandardTypeCount(); ++i) {
    const SmbStandardType& type = *SmbStandardTypeAt(i);
    Json keys = Json::array();
    for (const SmbStandardField& field : std::span(type.fields, type.field_count)) {
      keys.push_back(field.key);
    }
    standard.push_back({{"type", type.type}, {"name", type.name}, {"keys", keys}});
  }
  Json keywords = Json::array();
  for (uint32_t i = 0; SmbStringKeywordAt(i) != nullptr; ++i) {
    keywords.push_back(SmbStringKeywordAt(i)->keyword);
  }
  Json intervals = Json::array();
  for (uint32_t i = 0; ortinv_interval_selector(i) != -1; ++i) {
    const int selector = ortinv_interval_selector(i);
    intervals.push_back({{"selector", selector}, {"name", ortinv_interval_variable(selector)}});
  }
  const Json rows = {{"types", types},
                     {"standard", standard},
                     {"keywords", keywords},
                     {"intervals", intervals},
                     {"mode", {{"name", ortinv_mode_variable()}}}};
  puts(rows.dump(2).c_str());
}
