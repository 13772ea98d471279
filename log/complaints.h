// SPDX-License-Identifier: Apache-2.0
// Complaints about what comes from outside, limited: a sender that has gone mad
// must not fill the host's log. Of each kind ten lines a second are written, and
// then one that says how many more there were. The documented messages are not
// complaints: they go through Log and are never limited.
#ifndef TVUREV_LOG_COMPLAINTS_H_
#define TVUREV_LOG_COMPLAINTS_H_

#include <cstdint>

// A kind of complaint. One object for each, of static storage, in the file that
// complains; set about and leave the rest alone.
struct Complaint {
  const char* about;            // begins the line that counts those held back
  int64_t second_began_ms = 0;  // when the second began that written belongs to
  unsigned written = 0;         // lines of that second
  unsigned held = 0;            // lines held back since
  Complaint* next = nullptr;    // in the list of the kinds with lines held back
};

// Writes the line at priority 3, as Log does but with control characters as \x1b,
// unless ten of its kind were written within a second; then it is counted, and
// "ABOUT: N more like this." is written before the next line of its kind, or by one
// of the functions below. Takes no memory and leaves errno alone.
[[gnu::format(printf, 2, 3)]] void complain(Complaint& kind, const char* format, ...);

// Writes that line for each kind whose second is over. For a loop to call
// whenever it comes round; without anything held back it costs a comparison.
void say_held_complaints();

// Writes that line for each kind at once: for a process that is about to end, or
// whose loop will not come round for long.
void say_all_held_complaints();

#endif  // TVUREV_LOG_COMPLAINTS_H_
