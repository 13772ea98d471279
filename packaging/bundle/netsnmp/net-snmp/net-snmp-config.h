/* SPDX-License-Identifier: Apache-2.0 */
/* How the few files of Net-SNMP that the bundle needs are compiled: for x86-64
 * Linux with the GNU C library, without debug output, MIBs and transports. Takes
 * the place of the file that Net-SNMP's configure would write. Net-SNMP's types.h
 * asks for the guard by this name. */
#ifndef NET_SNMP_CONFIG_H
#define NET_SNMP_CONFIG_H

#define HAVE_GETOPT_H 1
#define HAVE_GETTIMEOFDAY 1
#define HAVE_INTTYPES_H 1
#define HAVE_IN_ADDR_T 1
#define HAVE_NETINET_IN_H 1
#define HAVE_SETENV 1
#define HAVE_SOCKLEN_T 1
#define HAVE_SSIZE_T 1
#define HAVE_STDINT_H 1
#define HAVE_STDLIB_H 1
#define HAVE_STRCASESTR 1
#define HAVE_STRING_H 1
#define HAVE_STRTOK_R 1
#define HAVE_STRTOULL 1
#define HAVE_SYS_TIME_H 1
#define HAVE_SYS_TYPES_H 1
#define HAVE_UNISTD_H 1
#define SIZEOF_INT 4
#define SIZEOF_LONG 8
#define SIZEOF_LONG_LONG 8
#define SIZEOF_SHORT 2
#define RETSIGTYPE void

#define NETSNMP_BIGENDIAN 0
#define NETSNMP_ATTRIBUTE_DEPRECATED
#define NETSNMP_DISABLE_MIB_LOADING 1
#define NETSNMP_IMPORT extern
#define NETSNMP_INLINE inline
#define NETSNMP_NO_DEBUGGING 1
#define NETSNMP_STATIC_INLINE static inline
#define NETSNMP_USE_INLINE 1
#define NETSNMP_USE_REVERSE_ASNENCODING 1
#define UCD_COMPATIBLE 1

/* Notes for configure, which are nothing to the compiler. */
#define config_add_mib(x)
#define config_belongs_in(x)
#define config_error(x)
#define config_exclude(x)
#define config_require(x)

/* Otherwise the session layer's last words: a text for a person, which nobody
 * here asks for. */
#define ERROR_MSG(text) ((void)(text))

#endif
