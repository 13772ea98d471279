// SPDX-License-Identifier: Apache-2.0
// Shows a dump as the library decodes it, or the library's rows, in lines of
// fields between tabs, for compare_test.py.
//
//   show_decoded DUMP    P  status text
//                        S  handle  type  length  behind the end  name
//                        V  key  name  kind  shape  state  number  text
//                        I  item of the last value
//                        T  string of the last structure
//   show_decoded         R  type  key  name  kind  offset  width  since  bits  words...
//                        K  key word of a text  type  key
//                        G  key word of types   types...
#include <cstdio>
#include <cstdlib>
#include <span>

#include "ortinv/smbios_load.h"
#include "ortinv/smbios_standard.h"
#include "ortinv/smbios_table.h"

namespace {

void show_rows() {
  for (uint32_t index = 0; index < SmbStandardTypeCount(); ++index) {
    const SmbStandardType& type = *SmbStandardTypeAt(index);
    for (const SmbStandardField& field : std::span(type.fields, type.field_count)) {
      printf("R\t%d\t%s\t%s\t%d\t%d\t%d\t%d\t%d", type.type, field.key, field.name,
             static_cast<int>(field.kind), field.offset, field.width, field.since, field.bit_count);
      for (const SmbWord& word : std::span(field.words, field.word_count)) {
        printf("\t%u=%s", word.value, word.text);
      }
      printf("\n");
    }
  }
}

void show_value(const SmbValue& value) {
  printf("V\t%s\t%s\t%d\t%d\t%d\t%llu\t%s\n", value.field->key, value.field->name,
         static_cast<int>(value.field->kind), static_cast<int>(value.shape),
         static_cast<int>(value.state), static_cast<unsigned long long>(value.number), value.text);
  for (const char* item : std::span(value.items, value.item_count)) {
    printf("I\t%s\n", item);
  }
}

void show_keywords() {
  const SmbStringKeyword* keyword = nullptr;
  for (uint32_t index = 0; (keyword = SmbStringKeywordAt(index)) != nullptr; ++index) {
    printf("K\t%s\t%d\t%s\n", keyword->keyword, keyword->type, keyword->key);
  }
  for (const char* word : {"bios", "system", "baseboard", "chassis", "processor", "memory", "cache",
                           "connector", "slot"}) {
    uint32_t count = 0;
    const uint8_t* types = SmbKeywordTypes(word, &count);
    printf("G\t%s", word);
    for (const uint8_t type : std::span(types, count)) {
      printf("\t%d", type);
    }
    printf("\n");
  }
}

bool show(const SmbStructure& structure) {
  SmbDecoded* decoded = nullptr;
  if (SmbDecode(&structure, &decoded) != 0) {
    return false;
  }
  printf("S\t%d\t%d\t%d\t%d\t%s\n", structure.handle, structure.type, structure.length,
         structure.behind_end, decoded->type == nullptr ? "" : decoded->type->name);
  for (const SmbValue& value : std::span(decoded->values, decoded->value_count)) {
    show_value(value);
  }
  free(decoded);
  return true;
}

bool show_table() {
  SmbTableStatus status{};
  SmbStructure* structures = nullptr;
  uint32_t count = 0;
  if (SmbGetTableStatus(&status) != 0 || SmbListStructures(&structures, &count) != 0) {
    return false;
  }
  printf("P\t%s\n", status.text);
  bool shown = true;
  for (const SmbStructure& structure : std::span(structures, count)) {
    shown = show(structure) && shown;
  }
  free(structures);
  return shown;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 1) {
    show_rows();
    show_keywords();
    return 0;
  }
  char reason[SMB_REASON_SIZE];
  if (SmBiosLoadFile(argv[1], reason, sizeof reason) != 0) {
    fprintf(stderr, "%s\n", reason);
    return 1;
  }
  const bool shown = show_table();
  SmBiosTerm();
  return shown ? 0 : 1;
}
