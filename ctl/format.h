// SPDX-License-Identifier: Apache-2.0
// What was found out, as text for people and as JSON (docs/tvurevctl.schema.json).
#ifndef TVUREV_CTL_FORMAT_H_
#define TVUREV_CTL_FORMAT_H_

#include <string>

#include "ctl/check.h"
#include "ctl/outcome.h"

// One finding a line, and the verdict as the last one.
std::string text_of(const CheckReport& report, bool colour);
std::string text_of(const Outcome& outcome);

// With a line end.
std::string json_of(const CheckReport& report);
std::string json_of(const Outcome& outcome);

#endif  // TVUREV_CTL_FORMAT_H_
