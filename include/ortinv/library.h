/* SPDX-License-Identifier: Apache-2.0 */
/* What concerns the library as a whole: its version and its debug log. Usable
 * from C. */
#ifndef ORTINV_LIBRARY_H_
#define ORTINV_LIBRARY_H_

#include <ortinv/export.h>

/* The version of these headers, to be compared at compile time. Versions of one
 * major number are compatible: a program built with an older one goes on working
 * with a newer library. */
#define ORTINV_VERSION_MAJOR 1
#define ORTINV_VERSION_MINOR 0
#define ORTINV_VERSION_PATCH 0
#define ORTINV_VERSION "1.0.0"

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the version of the library that was loaded, as "1.0.0": a constant
 * text, not to be freed. Never fails; any thread may call it. */
ORTINV_API const char* ortinv_version(void);

/* Turns the library's debug messages on when root has created
 * "/tmp/ortdebug.text"; they then go to syslog, module by module as the other
 * switch files under /tmp say. Without this call there are none. Never turns
 * them off, never fails. Not locked: call before other threads use the library. */
ORTINV_API void ortinv_init_debug_log(void);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_LIBRARY_H_ */
