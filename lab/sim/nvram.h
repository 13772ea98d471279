// SPDX-License-Identifier: Apache-2.0
// The BMC's non-volatile variables in a file: one "NAME=HEX" a line, "#" for
// comments, sorted by name when written.
#ifndef TVUREV_LAB_SIM_NVRAM_H_
#define TVUREV_LAB_SIM_NVRAM_H_

#include <string>

#include "lab/sim/packets.h"

// Reads a file into *variables, which it empties first. A file that does not
// exist holds no variables. Returns an empty text, or "file:line: what is
// wrong".
std::string load_nvram(const std::string& path, Variables* variables);

// Writes a new file and puts it in the place of the old one, so that the file
// is whole at any time. Returns an empty text, or what went wrong.
std::string save_nvram(const std::string& path, const Variables& variables);

#endif  // TVUREV_LAB_SIM_NVRAM_H_
