// SPDX-License-Identifier: Apache-2.0
// The essentials on one screen, for people.
#ifndef TVUREV_ORTINV_SUMMARY_SCREEN_H_
#define TVUREV_ORTINV_SUMMARY_SCREEN_H_

#include <string>

#include "ortinv/report.h"
#include "ortinv/request.h"

// Returns a line for each thing of the document's section "summary". What cannot
// be had says so in its place, with the report's problem of its source.
std::string summary_screen(const Json& summary, const Request& request, const Report& report);

#endif  // TVUREV_ORTINV_SUMMARY_SCREEN_H_
