/* SPDX-License-Identifier: Apache-2.0 */
/* Inventory questions about one PCI function, NIC port or drive, and lists of
 * those that the table knows, answered from the maker's OEM structures: 203
 * (device correlation), 233 (NIC), 240 (a text of a device) and 242 (drive).
 *
 * All need a successful SmBiosInit (<ortinv/smbios_table.h>), take no lock and only
 * read the table. A miss is null or 0, whatever its reason. Unless said otherwise
 * a result is a text in the table: valid until SmBiosTerm, not to be freed. Log
 * lines go through DebugLog.
 *
 * The first query about a PCI function after SmBiosInit, or after a text was
 * cleaned, walks the table and keeps an index, a few bytes for each structure;
 * those after it look things up. Without memory for it each walks the table.
 *
 * A PCI function is found by its slot (type 9, first one on the segment and bus;
 * device and function are not compared, kept on purpose: what sits in a slot may
 * show any device number, docs/oddities.md: smbios-first-slot-on-bus), else by its
 * onboard device (type 41). What is correlated with that structure's handle
 * answers the query.
 */
#ifndef ORTINV_OEM_QUERIES_H_
#define ORTINV_OEM_QUERIES_H_

#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the function's PCI location in a new text that the caller frees. The
 * log line shows the low half of the text's address, not the text, kept on
 * purpose: readers of the log see this number (docs/oddities.md:
 * smbios-location-log-address). */
ORTINV_API char* SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device,
                                   uint32_t function);

/* Return the function's part number and its PCI name. A function with neither
 * slot nor onboard device is looked up by the PCI address in the type 203
 * structures, provided the first of them is 40 bytes or longer. A function that
 * has one, but no correlation, is a miss. A type 203 structure below 36 bytes on
 * the way ends the search for a part number, kept on purpose: callers see this
 * miss (docs/oddities.md: smbios-part-number-short-ends). */
ORTINV_API const char* SmbGetPartNumber(uint32_t segment, uint32_t bus, uint32_t device,
                                        uint32_t function);
ORTINV_API const char* SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device,
                                     uint32_t function);

/* Returns the text of the type 240 structure that is linked to one of the
 * function's type 203 structures. */
ORTINV_API const char* SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device,
                                             uint8_t function);

/* Return the location and the further text of the first drive whose serial
 * number begins with serial_number. The drive's serial is compared without what
 * surrounds its first and last letter or digit, up to its first two blanks in a
 * row; what it has beyond 63 characters is left out. SmbGetHdString gives up at
 * the first type 242 structure below 42 bytes. */
ORTINV_API const char* SmbGetHdLoc(const char* serial_number);
ORTINV_API const char* SmbGetHdString(const char* serial_number);

/* Returns the port number of the NIC at a PCI address, 0 when it is not found.
 * device_function holds the device in bits 7..3, the function in bits 2..0. Type
 * 233 answers first; a port of 0 there leaves it to type 203. Without any type
 * 203 structure in the table the answer is 0. */
ORTINV_API uint8_t SmbGetNicPortNum(uint8_t segment, uint8_t bus, uint8_t device_function);

struct SmbPciAddress {
  uint16_t segment;
  uint8_t bus;
  uint8_t device;   /* 0 to 31 */
  uint8_t function; /* 0 to 7 */
};

struct SmbDriveInfo {
  char serial[64];      /* as SmbGetHdLoc compares it; empty when there is none */
  const char* location; /* null in a structure below 43 bytes, and for no or an empty text */
  const char* text;     /* the same below 42 bytes */
  uint16_t handle;      /* of the type 242 structure */
};

/* Set the pointer to a new array, which the caller frees, and *count to its
 * length; to null and 0 when there is nothing to list. Return 0; or -1, with null
 * and 0, when not initialised or without memory, and for a null argument. Both
 * walk the table a fixed number of times, however much it holds.
 *
 * SmbListPciDevices lists each PCI address of a slot (type 9), onboard device
 * (41), correlation (203) or NIC (233) that is long enough to have one (17, 11, 40
 * and 8 bytes) once, in ascending order. Bus 0xFF says that there is no device.
 *
 * SmbListDrives lists every type 242 structure in table order; the texts of an
 * entry are in the table, like those of the queries. */
ORTINV_API int SmbListPciDevices(struct SmbPciAddress** addresses, uint32_t* count);
ORTINV_API int SmbListDrives(struct SmbDriveInfo** drives, uint32_t* count);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_OEM_QUERIES_H_ */
