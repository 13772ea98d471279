/* SPDX-License-Identifier: Apache-2.0 */
/* The structure types of the SMBIOS standard (DSP0134) as rows of data - what lies
 * where, how it is called, what its values mean - and one call that reads a
 * structure of the loaded table by them.
 *
 * The rows and everything in them are constant, live as long as the library and
 * are never freed; those calls may be made from any thread and need no table.
 * Names and words are the standard's. */
#ifndef ORTINV_SMBIOS_STANDARD_H_
#define ORTINV_SMBIOS_STANDARD_H_

#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <ortinv/smbios_load.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a program gets of a field. */
enum SmbValueShape {
  kSmbShapeText,   /* a text; the number says nothing */
  kSmbShapeNumber, /* a number, and the same for people */
  kSmbShapeList    /* items, each a text; a number besides where the field is bits */
};

/* How a field is read. The shape of each is in SmbKindShape. */
enum SmbValueKind {
  kSmbKindText,        /* the number of a string */
  kSmbKindNumber,      /* decimal, with the field's unit */
  kSmbKindHex,         /* with as many digits as the field has */
  kSmbKindEnumeration, /* the word for the value */
  kSmbKindBits,        /* the words for the bits that are set */
  kSmbKindHandle,      /* of another structure */
  kSmbKindYesNo,
  kSmbKindBytes,             /* width bytes, as they lie there */
  kSmbKindUuid,              /* 16 bytes; their order is that of the table's version */
  kSmbKindRevision,          /* two bytes, "major.minor"; 0xFF 0xFF is none */
  kSmbKindPackedBytes,       /* two binary coded digits in a byte, as "07" */
  kSmbKindPackedRevision,    /* a digit each for major and minor, as "2.0" */
  kSmbKindPackedDate,        /* day, month, year from 1980 in 16 bits */
  kSmbKindPciAddress,        /* segment, bus, device and function */
  kSmbKindSegmentAddress,    /* a 64 KiB segment's address */
  kSmbKindRomSize,           /* units of 64 KiB less one; extended */
  kSmbKindCacheSize,         /* units of 1 or 64 KiB, by the highest bit; extended */
  kSmbKindMemorySize,        /* units of 1 MiB or 1 KiB, by the highest bit; extended in MiB */
  kSmbKindArrayCapacity,     /* in KiB; extended in bytes */
  kSmbKindByteSize,          /* in bytes */
  kSmbKindStartAddress,      /* in KiB; extended in bytes */
  kSmbKindEndAddress,        /* the last KiB; extended: the last byte */
  kSmbKindProcessorVoltage,  /* tenths of a volt, or a set of legacy voltages */
  kSmbKindVolts,             /* in mV, shown in V without zeros at the end */
  kSmbKindMillivolts,        /* signed, shown in V */
  kSmbKindMilliamperes,      /* signed, shown in A */
  kSmbKindTenthsOfMillivolt, /* a resolution, shown in millivolts */
  kSmbKindTenthsOfMilliampere,
  kSmbKindTenthsOfDegree,      /* Celsius, signed */
  kSmbKindThousandthsOfDegree, /* Celsius */
  kSmbKindHundredthsOfPercent, /* an accuracy */
  kSmbKindHundredthsOfMillimetre,
  kSmbKindScaledCapacity, /* battery: times the multiplier, in mWh */
  kSmbKindIpmiAddress,    /* base address and what the modifier adds to it */
  kSmbKindVendorId,       /* four characters */
  kSmbKindTpmFirmware,    /* two numbers, by the version that the TPM conforms to */
  kSmbKindJedecId,        /* manufacturer: bank and identity */
  kSmbKindStrings,        /* list: the first strings of the set, as many as the field says */
  kSmbKindHandles,        /* list: of handles; the field is their number */
  kSmbKindElements,       /* list: what a chassis may contain */
  kSmbKindSlotPeers,      /* list: PCI addresses and widths of a slot's peers */
  kSmbKindDevices,        /* list: type 10's devices */
  kSmbKindInterfaceData,  /* list: one item, the bytes whose number stands before them */
  kSmbKindSpecificData,   /* the same, with a byte between number and bytes */
  kSmbKindProtocolRecords /* list: type 42's records */
};

/* The word for a value of an enumeration, the bit of a set, or a number that has
 * a meaning of its own (0xFFFF: "Unknown"). */
struct SmbWord {
  uint32_t value; /* the bit's number, counted from 0, in a set */
  const char* text;
};

/* Added to the value of a word that stands for all values from that one on which
 * have no word of their own. */
#define SMB_WORD_FROM 0x40000000U

struct SmbStandardField {
  const char* key;  /* for programs: lower case, joined by "_", unique in its type */
  const char* name; /* for people, in the standard's words */
  enum SmbValueKind kind;
  uint8_t offset;         /* in the structure, in bytes */
  uint8_t width;          /* in bytes; of a list, that of the number of its items */
  uint8_t since;          /* the least formatted length that has the field */
  uint8_t first_bit;      /* where the field is a part of those bytes; else 0 ... */
  uint8_t bit_count;      /* ... and 0 */
  uint8_t extended;       /* where the value is when it does not fit here; else 0 ... */
  uint8_t extended_width; /* ... and its bytes */
  uint8_t behind_list;    /* 1: the offset counts on from the end of the type's list */
  uint32_t extended_mark; /* the value that says so */
  const char* unit;       /* of the number, for programs: "MHz", "bytes"; null for none */
  const struct SmbWord* words;
  uint32_t word_count;
};

struct SmbStandardType {
  uint8_t type;
  const char* name;
  const struct SmbStandardField* fields;
  uint32_t field_count;
};

/* Returns how many types have rows. */
ORTINV_API uint32_t SmbStandardTypeCount(void);

/* Returns a row by its place, ascending by type; null from the count on. */
ORTINV_API const struct SmbStandardType* SmbStandardTypeAt(uint32_t index);

/* Returns the row of a type; null for one without rows, and above 255. */
ORTINV_API const struct SmbStandardType* SmbFindStandardType(uint32_t type);

/* Returns the shape of what a kind yields. */
ORTINV_API enum SmbValueShape SmbKindShape(enum SmbValueKind kind);

/* What a value is worth. */
enum SmbValueState {
  kSmbValueGiven,
  kSmbValueSpecial, /* the text says it: unknown, not specified, none; the number is the bare one */
  kSmbValueReserved /* the standard gives the value no meaning; the text has the number */
};

struct SmbValue {
  const struct SmbStandardField* field;
  enum SmbValueShape shape;
  enum SmbValueState state;
  uint64_t number;          /* in the field's unit, 0 where there is none; of a signed kind an
                               int64_t's bits */
  const char* text;         /* for people, printable ASCII; of a list "" */
  const char* const* items; /* of a list, each printable ASCII; else null */
  uint32_t item_count;
};

/* A structure as its type's row reads it. */
struct SmbDecoded {
  const struct SmbStandardType* type; /* null: no rows, and no values */
  const struct SmbValue* values;      /* in the row's order */
  uint32_t value_count;
};

/* Reads one structure of SmbListStructures. A field that the structure is too
 * short for has no value, nor has a text whose string is not in the set. Sets
 * *decoded to a new block that holds everything in it; the caller releases it
 * with one free. It does not point into the table.
 * Returns 0; or -1, with null, without memory, for null, and for a structure that
 * is not of the loaded table. */
ORTINV_API int SmbDecode(const struct SmbStructure* structure, struct SmbDecoded** decoded);

/* Returns the numbers of the types that one of dmidecode's key words stands for
 * ("bios", "system", "baseboard", "chassis", "processor", "memory", "cache",
 * "connector", "slot", in lower case) and sets *count; null and 0 for other
 * words. */
ORTINV_API const uint8_t* SmbKeywordTypes(const char* keyword, uint32_t* count);

/* A text of the table that has a name of its own, as dmidecode's "--string" does:
 * which field of which type it is. */
struct SmbStringKeyword {
  const char* keyword; /* "system-serial-number" */
  uint8_t type;
  const char* key; /* of the field */
};

/* Returns them by their place; null from the last on. */
ORTINV_API const struct SmbStringKeyword* SmbStringKeywordAt(uint32_t index);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SMBIOS_STANDARD_H_ */
