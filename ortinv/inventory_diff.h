// SPDX-License-Identifier: Apache-2.0
// What two inventory documents have not in common. A list's elements are matched
// by what names their place - a bay, a slot, a socket, an address - so that a drive
// that was swapped is one change, and handles may be numbered anew.
#ifndef TVUREV_ORTINV_INVENTORY_DIFF_H_
#define TVUREV_ORTINV_INVENTORY_DIFF_H_

#include <string>
#include <vector>

#include "ortinv/report.h"

struct Difference {
  std::string section;  // "drives"
  std::string item;     // "Bay 1"; "" where the section is no list
  std::string field;    // "serial_number"; "" when the whole item came or went
  Json before;          // null: not there, or an empty socket
  Json after;
};

struct Comparison {
  std::vector<Difference> differences;
  // What could not be compared, one line each.
  std::vector<std::string> remarks;
  bool has_compared = false;  // anything at all
};

// Compares the sections that both have. What moves all the time - uptime, free
// memory - is left out, and what one of them could not read, or was saved with
// other details. A drive's structure is left out where both have the drives.
Comparison compare_inventories(const Json& before, const Json& after);

#endif  // TVUREV_ORTINV_INVENTORY_DIFF_H_
