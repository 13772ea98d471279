// SPDX-License-Identifier: Apache-2.0
#include "ortinv/smbios_commands.h"

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_standard.h>
#include <ortinv/smbios_types.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "ortinv/choices.h"
#include "ortinv/library_array.h"
#include "ortinv/number.h"
#include "ortinv/structure.h"
#include "ortinv/table_source.h"
#include "ortinv/terminal_text.h"

namespace {

constexpr uint32_t kLargestHandle = 0xFFFF;

constexpr std::array kTypeKeywords = {"bios",   "system", "baseboard", "chassis", "processor",
                                      "memory", "cache",  "connector", "slot"};

using Types = std::bitset<256>;

// Key words may be written in capital letters too, as for dmidecode.
std::string in_lower_case(std::string_view word) {
  std::string lower(word);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
  });
  return lower;
}

// Adds the types that a number or a key word stands for; false when it is none.
bool add_types(std::string_view word, Types& types) {
  if (const auto number = decimal_or_hexadecimal(word, 255); number.has_value()) {
    types.set(*number);
    return true;
  }
  uint32_t count = 0;
  const uint8_t* first = SmbKeywordTypes(in_lower_case(word).c_str(), &count);
  for (const uint8_t type : std::span(first, count)) {
    types.set(type);
  }
  return count != 0;
}

// Reads numbers and key words, joined by commas or line ends; none when one is
// neither.
std::optional<Types> parse_types(std::string_view text) {
  Types types;
  while (true) {
    const size_t comma = text.find_first_of(",\n");
    if (!add_types(text.substr(0, comma), types)) {
      return {};
    }
    if (comma == std::string_view::npos) {
      return types;
    }
    text.remove_prefix(comma + 1);
  }
}

const SmbStringKeyword* find_keyword(std::string_view word) {
  const std::string wanted = in_lower_case(word);
  for (uint32_t i = 0; SmbStringKeywordAt(i) != nullptr; ++i) {
    if (wanted == SmbStringKeywordAt(i)->keyword) {
      return SmbStringKeywordAt(i);
    }
  }
  return nullptr;
}

using Structures = std::vector<SmbStructure>;

Structures wanted_structures(const Request& request) {
  const LibraryArray<SmbStructure> all = list_of<SmbStructure>(SmbListStructures);
  const std::optional<Types> types =
      request.types.empty() ? std::nullopt : parse_types(request.types);
  const std::optional<uint32_t> handle = decimal_or_hexadecimal(request.handle, kLargestHandle);
  Structures wanted;
  for (const SmbStructure& structure : all.rows()) {
    if ((!types.has_value() || types->test(structure.type)) &&
        handle.value_or(structure.handle) == structure.handle) {
      wanted.push_back(structure);
    }
  }
  return wanted;
}

std::string missing_text(const Request& request) {
  std::string text = "no SMBIOS structure";
  std::string types = request.types;
  std::replace(types.begin(), types.end(), '\n', ',');
  text += types.empty() ? "" : " of type " + types;
  text += request.handle.empty() ? "" : " with handle " + request.handle;
  return text + (request.types.empty() && request.handle.empty() ? " in the table" : "");
}

Detail detail_of(const Request& request) {
  if (request.list) {
    return Detail::kList;
  }
  return request.raw ? Detail::kBytes : Detail::kFields;
}

// The key word's field of every structure of its type that has it.
Words texts_of(const SmbStringKeyword& keyword) {
  Words texts;
  const LibraryArray<SmbStructure> all = list_of<SmbStructure>(SmbListStructures);
  for (const SmbStructure& structure : all.rows()) {
    const DecodedStructure decoded =
        structure.type == keyword.type ? decode(structure) : DecodedStructure();
    for (const SmbValue& value : decoded == nullptr
                                     ? std::span<const SmbValue>()
                                     : std::span(decoded->values, decoded->value_count)) {
      if (std::string_view(value.field->key) == keyword.key) {
        texts.emplace_back(value.text);
      }
    }
  }
  return texts;
}

void report_keyword(const Request& request, Report& report) {
  const SmbStringKeyword& keyword = *find_keyword(request.keyword);
  const Words texts = texts_of(keyword);
  if (texts.empty()) {
    report.missing = std::string("the SMBIOS table has no ") + keyword.keyword;
  }
  if (!request.wants_text()) {
    report.document["strings"] = {{"keyword", keyword.keyword}, {"values", texts}};
    return;
  }
  for (const std::string& text : texts) {
    append_terminal_text(report.text, text);
    report.text += '\n';
  }
}

void report_structures(const Request& request, Report& report) {
  report.document["smbios"] = Json::array();
  if (!open_table(request, report)) {
    return;
  }
  report.structures = wanted_structures(request);
  report.detail = detail_of(request);
  if (report.structures.empty()) {
    report.missing = missing_text(request);
  }
}

}  // namespace

std::string mistake_of_types(const std::string& value) {
  return parse_types(value) ? ""
                            : "\"" + value + "\" is neither a number from 0 to 255 nor one of " +
                                  choice_text({kTypeKeywords.begin(), kTypeKeywords.end()});
}

std::string mistake_of_handle(const std::string& value) {
  return decimal_or_hexadecimal(value, kLargestHandle)
             ? ""
             : "\"" + value + "\" is not a handle such as 0x1A or 26";
}

std::string mistake_of_keyword(const std::string& value) {
  return find_keyword(value) != nullptr
             ? ""
             : "\"" + value + "\" is not one of the key words that \"ortinv smbios --help\" lists";
}

void report_smbios(const Request& request, Report& report) {
  if (request.keyword.empty()) {
    report_structures(request, report);
  } else if (open_table(request, report)) {
    report_keyword(request, report);
  }
}

Words type_choices() {
  Words words = {kTypeKeywords.begin(), kTypeKeywords.end()};
  Types known;
  for (uint32_t i = 0; SmbStandardTypeAt(i) != nullptr; ++i) {
    known.set(SmbStandardTypeAt(i)->type);
  }
  for (uint32_t i = 0; SmbTypeAt(i) != nullptr; ++i) {
    known.set(SmbTypeAt(i)->type);
  }
  for (size_t type = 0; type < known.size(); ++type) {
    if (known.test(type)) {
      words.push_back(std::to_string(type));
    }
  }
  return words;
}

Words keyword_choices() {
  Words words;
  for (uint32_t i = 0; SmbStringKeywordAt(i) != nullptr; ++i) {
    words.emplace_back(SmbStringKeywordAt(i)->keyword);
  }
  return words;
}
