// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "ctl/format.h"

namespace {

constexpr size_t kSeverityWidth = 6;

const char* colour_of(Severity severity) {
  switch (severity) {
    case Severity::kOk:
      return "\x1b[32m";
    case Severity::kWarn:
    case Severity::kUnknown:
      return "\x1b[33m";
    case Severity::kFail:
      return "\x1b[1;31m";
  }
  return "";
}

std::string padded(std::string text, size_t width) {
  text.resize(std::max(text.size() + 1, width), ' ');
  return text;
}

}  // namespace

std::string text_of(const CheckReport& report, bool colour) {
  std::string text;
  for (const Finding& finding : report.findings) {
    const std::string severity = padded(std::string(name_of(finding.severity)), kSeverityWidth);
    text += colour ? colour_of(finding.severity) + severity + "\x1b[0m" : severity;
    text += finding.text;
    if (finding.severity != Severity::kOk) {
      text += finding.row->remedy.empty() ? "" : " " + std::string(finding.row->remedy);
      text += " [" + std::string(finding.row->id) + "]";
    }
    text += "\n";
  }
  return text + report.verdict + "\n";
}

std::string text_of(const Outcome& outcome) {
  size_t about = 0;
  size_t name = 0;
  for (const Fact& fact : outcome.facts) {
    about = std::max(about, fact.about.size() + 2);
    name = std::max(name, std::min<size_t>(fact.name.size() + 2, 20));
  }
  std::string text;
  const bool only_summary = outcome.command == "report";
  for (const Fact& fact : outcome.facts) {
    if (!only_summary) {
      std::string line = padded(fact.about, about) + padded(fact.name, name) + fact.value;
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
  }
  return text + outcome.summary + "\n";
}
