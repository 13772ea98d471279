// SPDX-License-Identifier: Apache-2.0
// What docs/receivers.md tells operators to write, so that the tests use it as
// it stands there.
#ifndef TVUREV_TESTS_RECEIVERS_DOCUMENTED_H_
#define TVUREV_TESTS_RECEIVERS_DOCUMENTED_H_

#include <string>
#include <string_view>

// The first fenced block below the heading "### SECTION" that follows a line
// with this mark. Fails the test when there is none, with an empty text.
std::string documented(std::string_view section, std::string_view mark);

// Writes documented(section, "`PATH`") to that path; its folder is made.
void write_documented(std::string_view section, const std::string& path);

// Changes the lines "NAME = VALUE" of a file to those of a documented block.
// Fails the test when the file has no such line.
void change_documented(std::string_view section, const std::string& path);

#endif  // TVUREV_TESTS_RECEIVERS_DOCUMENTED_H_
