// SPDX-License-Identifier: Apache-2.0
// The text behind a value's get_printable(). Not part of SNMP++.
#ifndef SNMP_PP_PRINTED_TEXT_H_
#define SNMP_PP_PRINTED_TEXT_H_

#include <memory>
#include <string>
#include <utility>

namespace Snmp_pp {

// Keeps the text that an object gave out last. Copying an object neither copies
// its text nor touches that of the object copied to; one that never printed
// holds nothing.
class PrintedText {
 public:
  PrintedText() = default;
  PrintedText(const PrintedText&) noexcept {}
  PrintedText& operator=(const PrintedText&) noexcept { return *this; }
  ~PrintedText() = default;

  // Returns the text, which stays until the next call.
  const char* keep(std::string text) {
    text_ = std::make_unique<std::string>(std::move(text));
    return text_->c_str();
  }

 private:
  std::unique_ptr<std::string> text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_PRINTED_TEXT_H_
