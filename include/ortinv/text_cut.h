/* SPDX-License-Identifier: Apache-2.0 */
/* Two ways to cut a text short, in place. Any thread may call them. Usable from C. */
#ifndef ORTINV_TEXT_CUT_H_
#define ORTINV_TEXT_CUT_H_

#include <ortinv/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Both look at the first length characters of text, not beyond its end, and do
 * nothing for null or a length below 1. */

/* Ends the text at its first character that is no ASCII letter or digit. */
ORTINV_API void CutAtNonAlnum(char* text, int length);

/* Ends the text at its first "(". */
ORTINV_API void CutAtParen(char* text, int length);

#ifdef __cplusplus
}
#endif

#endif /* ORTINV_TEXT_CUT_H_ */
