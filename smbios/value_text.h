// SPDX-License-Identifier: Apache-2.0
// Fields as values: those with one text (value_text.cc) and lists (value_list.cc).
#ifndef TVUREV_SMBIOS_VALUE_TEXT_H_
#define TVUREV_SMBIOS_VALUE_TEXT_H_

#include "smbios/drafts.h"
#include "smbios/structure_view.h"

// Returns the word for a value, null without one.
const char* word_for(const SmbStandardField& field, uint64_t value);

// Appends the word, or that there is none.
void append_word(std::string& characters, const SmbStandardField& field, uint64_t value);

void append_pci_address(std::string& characters, const StructureView& structure, size_t offset);

// Append one field's value, which the structure is long enough for, at offset.
void decode_single(const StructureView& structure, const SmbStandardField& field, size_t offset,
                   Drafts& drafts);
void decode_list(StructureView& structure, const SmbStandardField& field, size_t offset,
                 Drafts& drafts);

#endif  // TVUREV_SMBIOS_VALUE_TEXT_H_
