/* What concerns the library as a whole: its version and its debug log. Usable
 * from C. */
#ifndef ORTINV_LIBRARY_H_
#define ORTINV_LIBRARY_H_

#ifdef __cplusplus
extern "C" {
#endif

/* Returns the version of the library that was loaded, as "1.0.0". */
const char* ortinv_version(void);

/* Turns the library's debug messages on when root has created
 * "/tmp/ortdebug.text"; they then go to syslog, module by module as the other
 * switch files under /tmp say. Without this call there are none. Never turns
 * them off. */
void ortinv_init_debug_log(void);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_LIBRARY_H_ */
