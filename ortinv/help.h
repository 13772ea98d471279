// SPDX-License-Identifier: Apache-2.0
// The help and the words of the completion, made from the table of commands.
#ifndef TVUREV_ORTINV_HELP_H_
#define TVUREV_ORTINV_HELP_H_

#include <span>
#include <string>

#include "ortinv/commands.h"

// Returns the help of everything, of the commands behind a group's word, or of
// one command.
std::string help_text();
std::string help_text(const Group& group);
std::string help_text(const Command& command);

// Returns what may stand behind the words of an unfinished command line (without
// the program's name): one candidate a line, unsorted, not yet compared with what
// was begun. "<file>" stands for the name of any file.
std::string completion_text(std::span<const char* const> words);

#endif  // TVUREV_ORTINV_HELP_H_
