/* SPDX-License-Identifier: Apache-2.0 */
/* Marks what the shared library exports. Everything else in it is hidden. */
#ifndef ORTINV_EXPORT_H_
#define ORTINV_EXPORT_H_

#if defined(__GNUC__)
#define ORTINV_API __attribute__((visibility("default")))
#else
#define ORTINV_API
#endif

#endif /* ORTINV_EXPORT_H_ */
