// SPDX-License-Identifier: Apache-2.0
#include "ctl/masking.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace {

constexpr std::string_view kTargets = "<targets>";
constexpr std::string_view kTargetsEnd = "</targets>";
constexpr std::string_view kBlanks = " \t\r\n";
// Parts of the names of elements whose content is secret.
constexpr std::array<std::string_view, 6> kSecretElements = {"communit", "user", "v3",
                                                             "pass",     "key",  "secret"};
// A shorter secret would mask half the file.
constexpr size_t kShortestReplaced = 4;

// What was masked so far, to be found in other places.
using Secrets = std::vector<std::string>;

void mask(std::string_view secret, std::string& masked, Secrets& secrets) {
  if (secret.find_first_not_of(kBlanks) == std::string_view::npos) {
    masked += secret;
    return;
  }
  masked += kMask;
  for (size_t start = 0; start < secret.size();) {
    const size_t end = std::min(secret.find_first_of(" \t\r\n,;", start), secret.size());
    if (end - start >= kShortestReplaced) {
      secrets.emplace_back(secret.substr(start, end - start));
    }
    start = end + 1;
  }
}

// One entry between the targets tags: all but its first word.
void mask_entry(std::string_view entry, std::string& masked, Secrets& secrets) {
  const size_t first = std::min(entry.find_first_not_of(kBlanks), entry.size());
  const size_t blank = std::min(entry.find_first_of(kBlanks, first), entry.size());
  masked += entry.substr(0, std::min(blank + 1, entry.size()));
  mask(entry.substr(std::min(blank + 1, entry.size())), masked, secrets);
}

void mask_targets(std::string_view targets, std::string& masked, Secrets& secrets) {
  while (true) {
    const size_t end = std::min(targets.find(';'), targets.size());
    mask_entry(targets.substr(0, end), masked, secrets);
    if (end == targets.size()) {
      return;
    }
    masked += ';';
    targets.remove_prefix(end + 1);
  }
}

// Text outside of tags: what follows "@PORT ".
void mask_text(std::string_view text, std::string& masked, Secrets& secrets) {
  for (size_t at = text.find('@'); at != std::string_view::npos; at = text.find('@')) {
    const size_t blank = std::min(text.find_first_of(" \t", at), text.size());
    const size_t end = std::min(text.find_first_of(";\r\n", at), text.size());
    if (blank < end) {
      masked += text.substr(0, blank + 1);
      mask(text.substr(blank + 1, end - blank - 1), masked, secrets);
    } else {
      masked += text.substr(0, end);
    }
    text.remove_prefix(end);
  }
  masked += text;
}

bool is_secret(std::string_view tag) {
  return !tag.starts_with("</") && std::ranges::any_of(kSecretElements, [&](std::string_view part) {
    return tag.find(part) != std::string_view::npos;
  });
}

// Everything but the targets.
void mask_elements(std::string_view text, std::string& masked, Secrets& secrets) {
  bool secret = false;
  while (!text.empty()) {
    const size_t tag = std::min(text.find('<'), text.size());
    if (secret) {
      mask(text.substr(0, tag), masked, secrets);
    } else {
      mask_text(text.substr(0, tag), masked, secrets);
    }
    text.remove_prefix(tag);
    const size_t end = std::min(text.find('>'), text.size());
    const std::string_view name = text.substr(0, std::min(end + 1, text.size()));
    secret = is_secret(name);
    mask_text(name, masked, secrets);
    text.remove_prefix(name.size());
  }
}

void replace_all(std::string& text, std::string_view secret) {
  for (size_t at = text.find(secret); at != std::string::npos;
       at = text.find(secret, at + kMask.size())) {
    text.replace(at, secret.size(), kMask);
  }
}

std::string mask_all(std::string_view text, Secrets& secrets) {
  std::string masked;
  for (size_t start = text.find(kTargets); start != std::string_view::npos;
       start = text.find(kTargets)) {
    start += kTargets.size();
    mask_elements(text.substr(0, start), masked, secrets);
    const size_t end = std::min(text.find(kTargetsEnd, start), text.size());
    mask_targets(text.substr(start, end - start), masked, secrets);
    text.remove_prefix(end);
  }
  mask_elements(text, masked, secrets);
  return masked;
}

std::string without(const Secrets& secrets, std::string text) {
  for (const std::string& secret : secrets) {
    replace_all(text, secret);
  }
  return text;
}

}  // namespace

std::string masked_settings(std::string_view text) {
  Secrets secrets;
  std::string masked = mask_all(text, secrets);
  return without(secrets, std::move(masked));
}

std::string masked_by(std::string_view settings, std::string text) {
  Secrets secrets;
  mask_all(settings, secrets);
  return without(secrets, std::move(text));
}
