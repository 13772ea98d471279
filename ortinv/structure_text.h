// SPDX-License-Identifier: Apache-2.0
// SMBIOS structures for people: a heading, and a line for each field.
#ifndef TVUREV_ORTINV_STRUCTURE_TEXT_H_
#define TVUREV_ORTINV_STRUCTURE_TEXT_H_

#include <ortinv/smbios_load.h>

#include <span>
#include <string>

// Return the structures as text that may go to a terminal: with their fields -
// those of types that nobody knows with their bytes and strings; with bytes and
// strings only; or one line each.
std::string structures_text(std::span<const SmbStructure> structures);
std::string structures_bytes(std::span<const SmbStructure> structures);
std::string structures_list(std::span<const SmbStructure> structures);

#endif  // TVUREV_ORTINV_STRUCTURE_TEXT_H_
