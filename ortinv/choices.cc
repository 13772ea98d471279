// SPDX-License-Identifier: Apache-2.0
#include "ortinv/choices.h"

std::string choice_text(const Words& choices) {
  std::string text;
  for (size_t i = 0; i < choices.size(); ++i) {
    text += i == 0 ? "" : (i + 1 == choices.size() ? " or " : ", ");
    text += choices[i];
  }
  return text;
}
