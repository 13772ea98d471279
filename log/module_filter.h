// SPDX-License-Identifier: Apache-2.0
// Selects which of the utilities' debug messages are written, by the module
// word that a message holds and a switch file of that module under /tmp.
#ifndef TVUREV_LOG_MODULE_FILTER_H_
#define TVUREV_LOG_MODULE_FILTER_H_

// Returns 1 when the message may be written: a row of the module table has an
// existing switch file (any owner) and a keyword that occurs in the message
// (case-sensitive substring). Else 0. Looks at the files on every call, so
// modules can be switched at run time.
int ModuleDebugEnabled(const char* message);

#endif  // TVUREV_LOG_MODULE_FILTER_H_
