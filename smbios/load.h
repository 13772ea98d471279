// SPDX-License-Identifier: Apache-2.0
// What the ways of loading a table share.
#ifndef TVUREV_SMBIOS_LOAD_INTERNAL_H_
#define TVUREV_SMBIOS_LOAD_INTERNAL_H_

#include <span>
#include <string_view>

// Says why, cut to the field, and returns -1.
int refuse(std::span<char> reason, std::string_view what, std::string_view why = {});

// Whether no table is loaded; else says so.
bool may_load(std::span<char> reason);

#endif  // TVUREV_SMBIOS_LOAD_INTERNAL_H_
