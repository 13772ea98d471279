/* SPDX-License-Identifier: Apache-2.0 */
/* The decoded records that SmBiosGetRecords (<ortinv/smbios_table.h>) returns, the
 * decoders it fills them with, and one console dump for each.
 *
 * Records are packed and self-contained: texts are copied out of the table and
 * cut to their field, always terminated. A missing or empty string reads
 * "Undefined", a byte that cannot be printed reads ".". Fields that a structure
 * is too short to supply stay zero. Numbers are in the machine's byte order.
 */
#ifndef ORTINV_SMBIOS_RECORDS_H_
#define ORTINV_SMBIOS_RECORDS_H_

#include <ortinv/export.h>
/* NOLINTBEGIN(modernize-deprecated-headers): also read by C compilers */
#include <assert.h>
#include <stdint.h>
/* NOLINTEND(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

#pragma pack(push, 1)

struct SmbRecordHeader {
  uint8_t type;
  uint8_t length; /* the structure's formatted length */
  uint16_t handle;
};

/* Type 0, BIOS information. */
struct SmbBiosInfoRec {
  struct SmbRecordHeader header;
  char vendor[128];
  char version[64];
  char releaseDate[64];
  uint32_t address; /* starting address segment */
  /* In KiB. The size byte is read as signed: 0xFF gives 0, and sizes above 8 MiB
   * wrap, kept on purpose: callers see these sizes (docs/oddities.md:
   * smbios-rom-size-signed). */
  uint16_t romSize;
  uint8_t characteristics[8];
  /* From a formatted length of 21 on, although the two bytes end at 20, kept on
   * purpose: callers see zeros at 20 (docs/oddities.md:
   * smbios-bios-extension-length). */
  uint8_t extCharacteristics1;
  uint8_t extCharacteristics2;
};
static_assert(sizeof(struct SmbBiosInfoRec) == 276, "record sizes are fixed");

/* Type 1, system information. */
struct SmbSystemInfoRec {
  struct SmbRecordHeader header;
  char manufacturer[64]; /* from a formatted length of 8 on, to serialNumber */
  char productName[128];
  char version[128];
  char serialNumber[128];
  char uuid[255]; /* lower-case hexadecimal in five groups; from length 25 on */
  uint8_t wakeUpType;
  char sku[128]; /* from length 27 on; "." for lengths 25 and 26 */
  char family[64];
};
static_assert(sizeof(struct SmbSystemInfoRec) == 900, "record sizes are fixed");

/* Type 9, system slot. */
struct SmbSlotRec {
  struct SmbRecordHeader header;
  char designation[128];
  uint8_t type; /* slot type */
  uint8_t busDataWidth;
  uint8_t currentUsage;
  uint8_t length; /* slot length */
  uint16_t id;
  uint8_t characteristics1;
  uint8_t characteristics2;
  /* The PCI address: from a formatted length of 14 on, although its three fields
   * end at 17, kept on purpose: callers see an address there (docs/oddities.md:
   * smbios-slot-address-length). */
  uint16_t segmentGroupNum;
  uint8_t busNum;
  uint8_t devFuncNum;
  /* Never filled, always 0, kept on purpose: the record's size is fixed and its
   * dump prints it (docs/oddities.md: smbios-slot-segmentnum). */
  uint8_t SegmentNum;
};
static_assert(sizeof(struct SmbSlotRec) == 145, "record sizes are fixed");

/* Type 195, server system ID. */
struct SmbServerIdRec {
  struct SmbRecordHeader header;
  char serverSystemIdStr[32]; /* only for a formatted length of exactly 5 */
};
static_assert(sizeof(struct SmbServerIdRec) == 36, "record sizes are fixed");

/* Type 204, enclosure and bay of a blade server; all fields from a formatted
 * length of 11 on. */
struct SmbEnclosureRec {
  struct SmbRecordHeader header;
  char rackName[256];
  char enclosureName[128];
  char enclosureModel[128];
  uint8_t enclosureBayNumber; /* low 8 bits of a decimal text; 0 for no number */
  uint8_t totalEnclosureBays;
  uint8_t usedEnclosureBays;
  char enclosureSerialNumber[128];
};
static_assert(sizeof(struct SmbEnclosureRec) == 647, "record sizes are fixed");

enum { kGbxConnectorEntries = 4, kGbxPortMaps = 8 };

/* Where one switch port connects. */
struct GbxPortMap {
  /* Bits 1..0: mezzanine port number. Bits 7..4: 0 not connected, 1..4 mezzanine
   * number, 15 embedded device on the virtual mezzanine, else reserved. */
  uint8_t connection;
  /* Bits 4..0: port offset from the SVB bay. Bit 7: set for a double-wide bay. */
  uint8_t bay;
};

struct GbxConnectorEntry {
  struct GbxPortMap portMap[kGbxPortMaps]; /* one for each bay */
};

/* Type 222, GbX connector table; all fields from a formatted length of 6 on. */
struct SmbGbxTableRec {
  struct SmbRecordHeader header;
  uint8_t GbxTableVersion;
  uint8_t entryCount; /* as the structure's length has it, also above 4 */
  struct GbxConnectorEntry GbxConnectorEntry[kGbxConnectorEntries];
};
static_assert(sizeof(struct SmbGbxTableRec) == 70, "record sizes are fixed");

#pragma pack(pop)

/* Decode one structure, as the walk returned it, into records[index], which must
 * be zero-filled. Called by SmBiosGetRecords, under its lock: texts are cleaned
 * in the table. Return 0, or -1 when records or structure is null; the last two
 * then do nothing. */
ORTINV_API int SmbDecodeBiosInfo(struct SmbBiosInfoRec* records, const uint8_t* structure,
                                 uint32_t index);
ORTINV_API int SmbDecodeSystemInfo(struct SmbSystemInfoRec* records, const uint8_t* structure,
                                   uint32_t index);
ORTINV_API int SmbDecodeSlot(struct SmbSlotRec* records, const uint8_t* structure, uint32_t index);
ORTINV_API int SmbDecodeEnclosure(struct SmbEnclosureRec* records, const uint8_t* structure,
                                  uint32_t index);
ORTINV_API void SmbDecodeGbxTable(struct SmbGbxTableRec* records, const uint8_t* structure,
                                  uint32_t index);
ORTINV_API void SmbDecodeServerId(struct SmbServerIdRec* records, const uint8_t* structure,
                                  uint32_t index);

/* Print records to standard output. A null record prints nothing. */
ORTINV_API void SmbDumpBiosInfo(const struct SmbBiosInfoRec* record);

/* Leaves out the UUID and the family. */
ORTINV_API void SmbDumpSystemInfo(const struct SmbSystemInfoRec* record);
ORTINV_API void SmbDumpSlots(const struct SmbSlotRec* records, uint32_t count);
ORTINV_API void SmbDumpEnclosure(const struct SmbEnclosureRec* records, uint32_t count);

/* Prints the first record, count times, and always all four entries, kept on
 * purpose: readers of the output see these repeats (docs/oddities.md:
 * smbios-gbx-dump-repeats). */
ORTINV_API void SmbDumpGbxTable(const struct SmbGbxTableRec* records, uint32_t count);

/* Prints only when count is exactly 1, kept on purpose: readers of the output
 * see one ID or none (docs/oddities.md: smbios-server-id-dump-one). */
ORTINV_API void SmbDumpServerId(const struct SmbServerIdRec* records, uint32_t count);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SMBIOS_RECORDS_H_ */
