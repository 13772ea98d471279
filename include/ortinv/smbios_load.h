/* SPDX-License-Identifier: Apache-2.0 */
/* Any SMBIOS table, not only the host's: from memory, from a file, from a folder;
 * what its entry point said; and its structures one by one, with what is wrong
 * with the table.
 *
 * A loaded table takes the place of the one that SmBiosInit reads: the walk, the
 * records and the queries answer from it, SmBiosInit then returns 0 without
 * opening the device, and SmBiosTerm releases it. There is one table at a time.
 *
 * Unlike SmBiosInit, the calls here check: anchors, lengths and checksums of the
 * entry point, and that a table lies where it is said to lie.
 *
 * The loading calls must not run in parallel with anything that uses the table.
 * SmbListStructures and SmbGetTableStatus may run in parallel with whatever only
 * reads it. */
#ifndef ORTINV_SMBIOS_LOAD_H_
#define ORTINV_SMBIOS_LOAD_H_

#include <ortinv/export.h>
/* NOLINTBEGIN(modernize-deprecated-headers): also read by C compilers */
#include <stddef.h>
#include <stdint.h>
/* NOLINTEND(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* A table of more bytes is refused. */
#define SMB_TABLE_LIMIT 1048576

/* Every reason fits a text of this size, in bytes. */
#define SMB_REASON_SIZE 256

/* Loads a dump: an entry point (_SM_, _SM3_, or _DMI_ alone) at its start or at a
 * multiple of 4, and the table in the same bytes: at the entry point's address;
 * when it is not there, behind the entry point or at offset 32; else wherever one
 * of exactly the announced length lies. So it reads what "dmidecode --dump-bin"
 * writes and what the host's SMBIOS device returns. The bytes are copied.
 *   reason  null, or where a refusal is said in one line for people, without a
 *           line end and always terminated; "" on success.
 * Returns 0; or -1 when a table is loaded already, without memory, and when the
 * bytes are no dump. The reason "The table is not where ..." is given rather
 * than structures made of something else. */
ORTINV_API int SmBiosLoadDump(const void* bytes, size_t size, char* reason, size_t reason_size);

/* As SmBiosLoadDump, with the entry point and the table each by itself, as Linux
 * shows them. The address in the entry point is not looked at. */
ORTINV_API int SmBiosLoadTable(const void* entry_point, size_t entry_point_size, const void* table,
                               size_t table_size, char* reason, size_t reason_size);

/* As SmBiosLoadDump, from a file. The path may also be that of a folder with the
 * files "smbios_entry_point" and "DMI" in it, as /sys/firmware/dmi/tables, or of
 * that file "DMI"; and that of a device or a pipe, which is read to its end, to
 * a little more than SMB_TABLE_LIMIT bytes at most.
 * Returns -1 also when something cannot be read: the reason names it. */
ORTINV_API int SmBiosLoadFile(const char* path, char* reason, size_t reason_size);

/* One structure of the loaded table. Its bytes, of which size may be read, live
 * until SmBiosTerm. */
struct SmbStructure {
  const uint8_t* bytes;
  uint32_t offset;       /* from the table's start */
  uint32_t size;         /* formatted area, strings and the zeros behind them */
  uint32_t string_count; /* strings in its set */
  uint16_t handle;
  uint8_t type;
  uint8_t length;     /* of the formatted area, 4 or more */
  uint8_t behind_end; /* 1: it lies behind a structure of type 127 */
  uint8_t cut;        /* 1: it runs over the table's end; what is there is shown */
};

/* Sets *structures to a new array of all structures in table order and *count to
 * their number; the caller releases the array with one free. The table ends at
 * its length, and where no structure can begin any more. Without structures the
 * array is null. Returns 0; or -1, with a null array, without a table or memory. */
ORTINV_API int SmbListStructures(struct SmbStructure** structures, uint32_t* count);

/* Returns a string of a structure by its number, from 1 on: its bytes as they lie
 * in the table, terminated; null for 0, behind the set and for null. */
ORTINV_API const char* SmbStructureString(const struct SmbStructure* structure, uint32_t number);

/* Which entry point the table was found by. */
enum SmbEntryPointKind {
  kSmbEntryPointNone,
  kSmbEntryPoint32,    /* _SM_ */
  kSmbEntryPoint64,    /* _SM3_ */
  kSmbEntryPointLegacy /* _DMI_ alone */
};

/* What is wrong with a table, as bits. */
enum SmbTableProblem {
  kSmbTableEndsEarly = 1,    /* fewer bytes than announced, or no structure where one should be */
  kSmbTableOverlaps = 2,     /* the last structure runs over the table's end */
  kSmbTableWrongCount = 4,   /* not as many structures as announced */
  kSmbTableBehindEnd = 8,    /* structures behind the end-of-table structure */
  kSmbTableNoEnd = 16,       /* no end-of-table structure */
  kSmbTableSharedHandle = 32 /* two structures with one handle */
};

struct SmbTableStatus {
  enum SmbEntryPointKind entry_point;
  uint8_t major; /* of the SMBIOS version */
  uint8_t minor;
  uint8_t revision;           /* 64-bit entry points; else 0 */
  uint64_t address;           /* of the table, as the entry point has it */
  uint32_t announced_length;  /* in bytes; of a 64-bit entry point the most it may be */
  uint32_t length;            /* in bytes, that were there */
  uint32_t announced_count;   /* of structures; 0 where the entry point says nothing */
  uint32_t count;             /* of structures, that were there */
  uint32_t problems;          /* of SmbTableProblem; 0: sound */
  char text[SMB_REASON_SIZE]; /* the problems in one line for people; "" when sound */
};

/* Fills the status of the loaded table. Returns 0; -1, with a zeroed status,
 * without a table, and -1 for null. */
ORTINV_API int SmbGetTableStatus(struct SmbTableStatus* status);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SMBIOS_LOAD_H_ */
