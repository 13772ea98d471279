// SPDX-License-Identifier: Apache-2.0
// SMBIOS structures as JSON. A field that a structure is too short for is left
// out. What has a meaning of its own ("Unknown") or none is a text also where
// other values of the field are numbers.
#ifndef TVUREV_ORTINV_STRUCTURE_JSON_H_
#define TVUREV_ORTINV_STRUCTURE_JSON_H_

#include <ortinv/smbios_load.h>

#include <cstddef>
#include <optional>
#include <string>

#include "ortinv/report.h"

// Appends a structure as an object: indented as at this depth of a document, or
// on one line without a depth.
void append_structure_json(std::string& out, const SmbStructure& structure, Detail detail,
                           std::optional<size_t> depth);

#endif  // TVUREV_ORTINV_STRUCTURE_JSON_H_
