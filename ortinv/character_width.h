// SPDX-License-Identifier: Apache-2.0
// How many columns of a terminal a character takes.
#ifndef TVUREV_ORTINV_CHARACTER_WIDTH_H_
#define TVUREV_ORTINV_CHARACTER_WIDTH_H_

#include <cstddef>

// Returns 0 for what combines with the character before it, 2 for the wide
// characters of East Asia and for pictures, 1 for all others. Control characters
// count 1: they are shown in another way before anybody counts. By a table, and
// not by the C library's locale, which a host need not have.
size_t character_width(char32_t character);

#endif  // TVUREV_ORTINV_CHARACTER_WIDTH_H_
