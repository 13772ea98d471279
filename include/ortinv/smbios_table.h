/* Read access to the host's SMBIOS structure table: the raw walk, the strings,
 * and arrays of decoded records (<ortinv/smbios_records.h>).
 *
 * The table is read once from "/vmfs/devices/char/mem/smbios" into a private
 * 65536-byte block. Structures and texts are pointers into that block; they
 * stay valid until SmBiosTerm and are never freed by the caller. Multi-byte
 * fields are little-endian and may lie at odd addresses.
 *
 * A structure is a run of bytes: type at 0, formatted length at 1 (header
 * included), handle (16 bits) at 2, then the fields of its type, then its
 * strings. Bytes 0 to 255 from the start of any structure that the walk returns
 * may be read, whatever its formatted length: past the block's end they are
 * zero. Nothing in a malformed table leads a call outside the block.
 *
 * Only SmBiosGetRecords takes a lock. The walk, the strings and the queries may
 * run in parallel with each other, but not with SmBiosGetRecords or
 * SmBiosGetCleanString, which change texts in place. SmBiosInit and SmBiosTerm
 * must not run in parallel with anything here.
 */
#ifndef ORTINV_SMBIOS_TABLE_H_
#define ORTINV_SMBIOS_TABLE_H_

#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads the table. Returns 0, also when it was read before (the device is then
 * not opened again); -1 without a device, data, memory or a 32-bit entry point
 * ("_SM_" at a multiple of 4; a 64-bit "_SM3_" alone is not enough). Logs the
 * table's length on success and nothing on a failure. */
ORTINV_API int SmBiosInit(void);

/* Releases the table and with it every structure and text handed out. Returns 0
 * when nothing was initialised, else the result of destroying the lock. */
ORTINV_API int SmBiosTerm(void);

/* Moves *cursor to the next structure, from null to the first one. Returns 1, or
 * 0 at the end of the table: *cursor is then unspecified. Structures of type 127
 * (end of table) are walked like any other. */
ORTINV_API int SmBiosNextStructure(const uint8_t** cursor);

/* Sets *structure to the structure of this type that has index others of its
 * type before it, and returns 1; returns 0 when there is none. Walks from the
 * start of the table on every call. */
ORTINV_API int SmBiosFindStructure(uint8_t type, uint16_t index, const uint8_t** structure);

/* Returns the structure's string of this number, counted from 1; "" for 0. The
 * end of the string set is not checked: a greater number yields what lies
 * behind the set, and "" once that is behind the block. */
ORTINV_API const char* SmBiosGetString(const uint8_t* structure, uint16_t number);

/* Returns the string of this number for printing, or "Undefined" when the number
 * is 0, the set has no such string, or the formatted length is shorter than a
 * structure's header. Bytes outside 0x20..0x7E are replaced with "." in the
 * table itself, for all later readers, kept on purpose: they see the text that
 * the records have (docs/oddities.md: smbios-cleaned-in-place).
 *   formatted_length  where the string set begins, usually structure[1]. */
ORTINV_API const char* SmBiosGetCleanString(const uint8_t* structure, int formatted_length,
                                            uint8_t number);

/* Sets *records to a new array of all structures of this type in table order,
 * decoded, and *count (which may be null) to their number. The caller releases
 * the array with one free.
 *   type  one that SmbFindType (<ortinv/smbios_types.h>) knows; the record of each
 *         is in <ortinv/smbios_records.h>.
 * Returns 0; or -1, with a null array and a count of 0, when not initialised,
 * without structures of the type, for any other type, and without memory. */
ORTINV_API int SmBiosGetRecords(uint32_t type, void** records, uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SMBIOS_TABLE_H_ */
