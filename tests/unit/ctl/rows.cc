// SPDX-License-Identifier: Apache-2.0
// Prints the table of findings, a row a line, its fields separated by tabs, for the
// tests of what is written about it.
#include <cstdio>

#include "ctl/findings.h"

int main() {
  for (const Row& found : rows()) {
    for (const std::string_view field :
         {found.id, name_of(found.severity), found.text, found.remedy}) {
      printf("%.*s\t", static_cast<int>(field.size()), field.data());
    }
    printf("%.*s\n", static_cast<int>(found.page.size()), found.page.data());
  }
  return 0;
}
