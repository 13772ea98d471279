/* SPDX-License-Identifier: Apache-2.0 */
/* The software installed on the host: a process-wide table with one record per
 * package description file in the hypervisor's image database,
 * "/var/db/esximg/bulletins/" unless it is set to something else. The files are XML, but are read
 * line by line: an element that spreads over several lines is not picked up. Only a look-up takes
 * the table's lock: no rebuild or release may run beside it. Usable from C. */
#ifndef ORTINV_SOFTWARE_TABLE_H_
#define ORTINV_SOFTWARE_TABLE_H_

#include <dirent.h>
#include <ortinv/export.h>
/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every text is terminated, cut at its field and empty when absent. */
struct SwInstalledRec {
  char name[128];
  char version[128];
  char installDate[128]; /* by the bulletin parser only */
  char releaseDate[128];
  char vendor[128];
  char acceptanceLevel[128]; /* by the bulletin parser only */
  char summary[256];
  char description[256];
  char kind[64]; /* "module" or "driver", by the bulletin parser only */
};

/* Creates the lock and builds the table. Logs a failed build. */
ORTINV_API void init_sw_installed_table(void);

/* Rebuilds the table from the directory with the component parser. Returns the
 * table, which belongs to this module and lives until the next rebuild or
 * release, or null. Stores the number of filled records in count, which may be
 * null: go by that number. Empty records follow for the entries skipped. */
ORTINV_API struct SwInstalledRec* get_software_installed_table(uint32_t* count);

/* Copies the first record whose name equals name exactly to record and returns
 * 1, or returns 0. */
ORTINV_API int SwFindInstalled(const char* name, struct SwInstalledRec* record);

/* Returns the number of records filled since the table was last released: by
 * the table's build, and by each direct call of a parser below. */
ORTINV_API uint32_t SwInstalledCount(void);

/* Releases the table. */
ORTINV_API void SwFreeTable(void);

/* Releases the table and destroys the lock. Returns 0, or the failure of
 * destroying it. */
ORTINV_API int SwDestroyTable(void);

/* Sets *records to a new array with one record for each file of the image
 * database, read with the bulletin parser, and *count to their number;
 * to null and 0 when there is none. The caller releases the array with one free.
 * The table stays as it is. Returns 0; or -1, with null and 0, when the directory
 * cannot be listed and without memory, and for a null argument. */
ORTINV_API int SwListBulletins(struct SwInstalledRec** records, uint32_t* count);

/* Returns the image database's directory, with a slash at its end: a text of the
 * library's, valid until it is set anew. */
ORTINV_API const char* ortinv_image_database(void);

/* Sets the directory, which is copied, and adds a slash where its end has none;
 * null sets the usual one. Returns 0, or -1 when it is empty or longer than 255
 * characters, its slash included; the directory is then as it was. */
ORTINV_API int ortinv_set_image_database(const char* directory);

/* The two parsers read the files of a directory listing into records, in order,
 * one record a file. The array must be zeroed and hold entry_count records.
 * directory ends in a slash; a path is cut after 255 characters. Both skip names
 * that begin with "." and whatever is not a readable regular file; a file in
 * which nothing matches still takes a record. A later value overwrites an
 * earlier one, but unless it is a name or version a shorter one leaves the
 * longer one's tail in place, kept on purpose because callers compare records
 * between hosts (docs/oddities.md: software-value-tail). Return 0. */

/* Reads the component form: componentNameSpec, componentVersionSpec, vendor,
 * summary, description, releaseDate. Also skips paths that contain "unstable".
 * Does nothing for a null array or no entries. */
ORTINV_API int SwParseComponents(struct dirent** entries, int entry_count,
                                 struct SwInstalledRec* records, const char* directory);

/* Reads the bulletin form: name, version, vendor, summary, description,
 * release-date, installdate, acceptance-level, tag. Also skips names that contain
 * "orig" or ".sig". Does nothing for a null array or no entries. */
ORTINV_API int SwParseBulletins(struct dirent** entries, int entry_count,
                                struct SwInstalledRec* records, const char* directory);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_SOFTWARE_TABLE_H_ */
