// SPDX-License-Identifier: Apache-2.0
// Reads one line of a package description file into a record. Internal to this
// folder.
#ifndef TVUREV_HOSTINFO_SOFTWARE_PARSE_H_
#define TVUREV_HOSTINFO_SOFTWARE_PARSE_H_

#include <string_view>

#include "ortinv/software_table.h"

// Each picks every element it knows out of a line, independently of the others.
// An element whose end is not on the line leaves the record as it was.
void parse_component_line(std::string_view line, SwInstalledRec& record);
void parse_bulletin_line(std::string_view line, SwInstalledRec& record);

#endif  // TVUREV_HOSTINFO_SOFTWARE_PARSE_H_
