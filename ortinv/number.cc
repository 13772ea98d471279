// SPDX-License-Identifier: Apache-2.0
#include "ortinv/number.h"

#include <charconv>

namespace {

std::optional<uint32_t> number(std::string_view digits, int base, uint32_t maximum) {
  uint32_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
  if (digits.empty() || error != std::errc() || stop != end || value > maximum) {
    return {};
  }
  return value;
}

}  // namespace

std::optional<uint32_t> decimal_number(std::string_view text, uint32_t maximum) {
  const bool leads_with_zero = text.size() > 1 && text[0] == '0';
  return leads_with_zero ? std::nullopt : number(text, 10, maximum);
}

std::optional<uint32_t> decimal_or_hexadecimal(std::string_view text, uint32_t maximum) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    return number(text.substr(2), 16, maximum);
  }
  return decimal_number(text, maximum);
}

std::string size_text(uint64_t bytes) {
  constexpr uint64_t kMegabyte = uint64_t{1024} * 1024;
  constexpr uint64_t kGigabyte = 1024 * kMegabyte;
  return bytes % kGigabyte == 0 ? std::to_string(bytes / kGigabyte) + " GB"
                                : std::to_string(bytes / kMegabyte) + " MB";
}
