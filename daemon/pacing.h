// SPDX-License-Identifier: Apache-2.0
// Keeps the loops from spinning: what fails at once, again and again, is tried
// once a second, and a BMC that hangs up on every session is left alone for a
// while between two. Both processes; each counts for itself.
#ifndef TVUREV_DAEMON_PACING_H_
#define TVUREV_DAEMON_PACING_H_

#include <chrono>

// Failures in a row of one thing that is tried over and over.
struct Retries {
  int failures = 0;
};

// Notes how a try went: error is 0 for a success, which starts the count anew.
// From the tenth failure in a row on waits a second (or until a signal ends it);
// the tenth also logs, at priority 3, that WHAT keeps failing, and why.
void pace_retry(Retries& retries, const char* what, int error);

// Sessions with the BMC in a row that it ended soon by hanging up.
struct Sessions {
  int short_ones = 0;
};

// Notes the end of a session and how long it lasted from its connect. True when
// ten seconds are to pass before the next one: after the third session in a row
// that a hang-up ended within ten seconds, which also logs at priority 3, and
// after each one that follows.
bool must_pause_after_session(Sessions& sessions, bool hung_up,
                              std::chrono::steady_clock::duration lasted);

inline constexpr unsigned kSessionPauseSeconds = 10;

#endif  // TVUREV_DAEMON_PACING_H_
