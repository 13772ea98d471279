// SPDX-License-Identifier: Apache-2.0
// SMBIOS structures as JSON. A field that a structure is too short for is left
// out. What has a meaning of its own ("Unknown") or none is a text also where
// other values of the field are numbers.
#ifndef TVUREV_ORTINV_STRUCTURE_JSON_H_
#define TVUREV_ORTINV_STRUCTURE_JSON_H_

#include <ortinv/smbios_load.h>

#include <span>
#include <string>

enum class Detail { kList, kFields, kBytes };

// Returns the elements of the document's list "smbios", separated, as the
// document prints them; or one a line, each in an object of its own, for JSON
// Lines.
std::string structures_json(std::span<const SmbStructure> structures, Detail detail, bool lines);

#endif  // TVUREV_ORTINV_STRUCTURE_JSON_H_
