// SPDX-License-Identifier: Apache-2.0
#include "ortinv/text_cut.h"

namespace {

// Not isalnum(): a locale must not decide what a letter is.
bool is_alnum(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z');
}

void cut_where(char* text, int length, bool (*ends_text)(char)) {
  if (text == nullptr) {
    return;
  }
  for (int i = 0; i < length && text[i] != '\0'; ++i) {
    if (ends_text(text[i])) {
      text[i] = '\0';
      return;
    }
  }
}

}  // namespace

void CutAtNonAlnum(char* text, int length) {
  cut_where(text, length, [](char character) { return !is_alnum(character); });
}

void CutAtParen(char* text, int length) {
  cut_where(text, length, [](char character) { return character == '('; });
}
