/* SPDX-License-Identifier: Apache-2.0 */
/* The structure types that have records: for each its number, its name, and what
 * lies where in a record. Whoever shows records - as JSON, as a schema, as a
 * list to choose from - makes that from these rows.
 *
 * The rows and everything in them are constant, live as long as the library and
 * are never freed. All calls may be made from any thread and need no SmBiosInit.
 * Records are those of SmBiosGetRecords (<ortinv/smbios_table.h>), their layouts
 * in <ortinv/smbios_records.h>.
 */
#ifndef ORTINV_SMBIOS_TYPES_H_
#define ORTINV_SMBIOS_TYPES_H_

#include <ortinv/export.h>
/* NOLINTBEGIN(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>
#include <stdio.h>
/* NOLINTEND(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* What a field holds, in the record. Numbers are in the machine's byte order and
 * may lie at odd addresses. */
enum SmbFieldKind {
  kSmbFieldText, /* characters with a terminating zero */
  kSmbFieldU8,
  kSmbFieldU16,
  kSmbFieldU32,
  kSmbFieldBytes,   /* a list of u8 */
  kSmbFieldPortMaps /* a list of struct GbxConnectorEntry: kGbxPortMaps GbxPortMap each */
};

struct SmbField {
  const char* key; /* lower case, words joined by "_", unique in its type */
  enum SmbFieldKind kind;
  uint16_t offset;        /* in the record, in bytes */
  uint16_t size_or_count; /* text: bytes of the field; lists: elements; numbers: 1 */
};

/* Every record begins with a struct SmbRecordHeader, which no field covers. */
struct SmbType {
  uint8_t type;
  const char* name;     /* "System slot" */
  uint32_t record_size; /* the stride of SmBiosGetRecords' array, in bytes */
  const struct SmbField* fields;
  uint32_t field_count;
};

/* Returns how many types have records. */
ORTINV_API uint32_t SmbTypeCount(void);

/* Returns a row by its place, ascending by type; null from SmbTypeCount on. */
ORTINV_API const struct SmbType* SmbTypeAt(uint32_t index);

/* Returns the row of a type; null for one without records, and above 255. */
ORTINV_API const struct SmbType* SmbFindType(uint32_t type);

/* Prints what the type's own dump (SmbDumpSlots, ...) prints for count records, to
 * the stream; types 0 and 1, whose dumps take one record, print the first.
 * Returns 0, also when the stream has failed (see ferror); -1, with nothing
 * printed, for a type without records and for null records or a null stream. */
ORTINV_API int SmbDumpRecords(uint32_t type, const void* records, uint32_t count, FILE* stream);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SMBIOS_TYPES_H_ */
