// SPDX-License-Identifier: Apache-2.0
// Tells whether the sources that the library reads are there at all. The library
// folds a missing source into an empty answer; people want to know which it is.
#ifndef TVUREV_ORTINV_SOURCES_H_
#define TVUREV_ORTINV_SOURCES_H_

#include <string>

#include "ortinv/report.h"

// Returns whether a directory can be listed; adds the problem when not.
bool check_directory(const std::string& path, const std::string& advice, Report& report);

// Returns whether a command is found on PATH; adds the problem when not.
bool check_command(const std::string& name, Report& report);

// The reason why a file cannot be opened for reading, or "" when it can.
std::string why_unreadable(const std::string& path);

#endif  // TVUREV_ORTINV_SOURCES_H_
