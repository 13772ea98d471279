// SPDX-License-Identifier: Apache-2.0
// The one place that every text passes on its way to a terminal: firmware, a
// package's description and a command's argument may hold anything.
#ifndef TVUREV_ORTINV_TERMINAL_TEXT_H_
#define TVUREV_ORTINV_TERMINAL_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

// Returns the text as one line of valid UTF-8 that moves no cursor: control
// characters (U+0000 to U+001F, U+007F to U+009F) and bytes that are no UTF-8 read
// "\x9b"; what turns or breaks lines unseen (U+2028, U+2029 and the controls of
// the direction of writing) reads "\u202e".
std::string terminal_text(std::string_view text);

// Appends the same to a text.
void append_terminal_text(std::string& out, std::string_view text);

// Returns how many columns such a text takes.
size_t terminal_columns(std::string_view text);

#endif  // TVUREV_ORTINV_TERMINAL_TEXT_H_
