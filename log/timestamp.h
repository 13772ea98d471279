// SPDX-License-Identifier: Apache-2.0
// The time as text, for messages that carry their own.
#ifndef TVUREV_LOG_TIMESTAMP_H_
#define TVUREV_LOG_TIMESTAMP_H_

// Returns the local date and time as "%F %T", a colon and the microseconds,
// unpadded. The text lives in a static 128-byte buffer that the next call
// overwrites.
const char* GetTimestamp();

#endif  // TVUREV_LOG_TIMESTAMP_H_
