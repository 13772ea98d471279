// SPDX-License-Identifier: Apache-2.0
// The signals that end a process of the daemon, and every wait that they can
// end. SIGTERM and SIGINT are held back but for the waits below, so that none is
// lost between a look at the flag and the wait that follows; no descriptor is
// needed for it. A wait that a signal ended changes nothing by itself: callers
// ask end_signalled() afterwards. SIGHUP and SIGPIPE do nothing.
//
// Used in the first process and in the socket proxy; the proxy inherits it all.
#ifndef TVUREV_DAEMON_SIGNALS_H_
#define TVUREV_DAEMON_SIGNALS_H_

#include <poll.h>

#include <csignal>

// Installs the handlers and holds SIGTERM and SIGINT back, whatever the mask and
// the dispositions were that the process was started with. Once, at start.
void watch_signals();

// For a forked child that a signal ends as it ends any program: the dispositions
// of SIGTERM, SIGINT and SIGALRM as in a fresh process, and an empty mask.
void restore_signals();

// Whether SIGTERM or SIGINT has come.
bool end_signalled();

// Writes "tvurev: signal N ends the WHAT." at LOG_INFO.
void log_signalled_end(const char* what);

// Polls one entry as poll does, the signals let in: -1 with EINTR when one came.
// An entry that is ready at every call keeps no signal out for more than 100 ms.
int wait_for(pollfd& entry, int timeout_ms);

// Waits; false, at once or in the middle, when SIGTERM or SIGINT ends it. Any
// other signal leaves it as long as it is.
bool pause_seconds(unsigned seconds);
bool pause_microseconds(unsigned microseconds);

// While it lives, signals are let in at any time, and a command that is started
// inherits an empty mask: for calls that may take long and know nothing of the
// waits above, such as shell commands and the queries at start. A signal only
// sets the flag at first. When the call has not come back a second later, the
// process ends there and then, with status 0, a line at LOG_INFO and the last
// act below.
class OpenToSignals {
 public:
  OpenToSignals();
  ~OpenToSignals();
  OpenToSignals(const OpenToSignals&) = delete;
  OpenToSignals& operator=(const OpenToSignals&) = delete;

 private:
  sigset_t before_;
};

// What such an end does before it leaves. Runs in a signal handler.
void set_last_act(void (*act)());

#endif  // TVUREV_DAEMON_SIGNALS_H_
