// SPDX-License-Identifier: Apache-2.0
#include "ctl/findings.h"

#include <algorithm>

namespace {

constexpr std::ptrdiff_t kListedOneByOne = 3;

// What comes from files and names is shown without control characters.
void append_shown(std::string& text, std::string_view word) {
  for (const char c : word) {
    const auto byte = static_cast<unsigned char>(c);
    text += byte < 0x20 || byte == 0x7F ? '?' : c;
  }
}

std::string filled(std::string_view pattern, std::initializer_list<std::string_view> words) {
  std::string text;
  const auto* word = words.begin();
  while (!pattern.empty()) {
    const size_t open = pattern.find('{');
    text += pattern.substr(0, open);
    if (open == std::string_view::npos) {
      break;
    }
    append_shown(text, word == words.end() ? std::string_view("?") : *word++);
    pattern.remove_prefix(std::min(pattern.find('}', open), pattern.size() - 1) + 1);
  }
  return text;
}

}  // namespace

void Findings::add(std::string_view id, std::initializer_list<std::string_view> words) {
  const Row& found = row(id);
  findings_.push_back({&found, found.severity, filled(found.text, words)});
}

void Findings::add_for_later(std::string_view id, std::initializer_list<std::string_view> words,
                             std::string_view why) {
  const Row& found = row(id);
  findings_.push_back(
      {&found, Severity::kWarn, filled(found.text, words) + " " + std::string(why)});
}

const Finding* Findings::first_failure(Costs costs) const {
  const auto found = std::ranges::find_if(findings_, [&](const Finding& finding) {
    return finding.severity == Severity::kFail && finding.row->costs == costs;
  });
  return found == findings_.end() ? nullptr : &*found;
}

const Finding* Findings::first_unknown() const {
  const auto found = std::ranges::find_if(findings_, [](const Finding& finding) {
    return finding.severity == Severity::kUnknown && finding.row->costs == Costs::kEverything;
  });
  return found == findings_.end() ? nullptr : &*found;
}

std::vector<Finding> Findings::condensed() const {
  std::vector<Finding> lines;
  for (const Finding& finding : findings_) {
    const auto is_like_it = [&](const Finding& other) { return other.row == finding.row; };
    const std::ptrdiff_t count = std::ranges::count_if(findings_, is_like_it);
    if (count <= kListedOneByOne) {
      lines.push_back(finding);
    } else if (std::ranges::none_of(lines, is_like_it)) {
      lines.push_back(finding);
      lines.back().text += " And " + std::to_string(count - 1) + " more of this kind.";
    }
  }
  return lines;
}

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::kOk:
      return "ok";
    case Severity::kWarn:
      return "warn";
    case Severity::kFail:
      return "FAIL";
    case Severity::kUnknown:
      return "?";
  }
  return "";
}
