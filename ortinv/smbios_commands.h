// SPDX-License-Identifier: Apache-2.0
// The structures of the SMBIOS table: all, or those that are asked for.
#ifndef TVUREV_ORTINV_SMBIOS_COMMANDS_H_
#define TVUREV_ORTINV_SMBIOS_COMMANDS_H_

#include <string>

#include "ortinv/report.h"
#include "ortinv/request.h"

// What is wrong with the options' values, or "".
std::string mistake_of_types(const std::string& value);
std::string mistake_of_handle(const std::string& value);
std::string mistake_of_keyword(const std::string& value);

// Adds the structures that the request asks for, as text or JSON, or the text that
// its key word stands for.
void report_smbios(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_SMBIOS_COMMANDS_H_
