// SPDX-License-Identifier: Apache-2.0
// The empty marker files under "/opt/ortdv/tmp" through which the daemon's
// processes and the tools around it talk. A file's existence, tested with stat,
// is the whole message; tvurev(8) lists who makes and removes each.
// No function here logs a failure: a file that cannot be made simply is not there.
#ifndef TVUREV_DAEMON_CONTROL_FILES_H_
#define TVUREV_DAEMON_CONTROL_FILES_H_

// Paths of the files. Modifiable; read by the functions below only.
extern const char* g_running_file;   // a host agent may connect
extern const char* g_bmc_stop_file;  // the BMC loop is to stop
extern const char* g_ort_stop_file;  // the socket proxy is to stop

// Returns 1 when the running file exists, else 0.
int running_file_exists();

// Makes the running file through the shell, unless it exists. Returns whether it
// is there now.
bool create_running_file();

// Removes the running file.
void remove_running_file();

// Asks both loops to stop: makes the two stop files through the shell.
void request_stop();

// Return 1 when the stop file exists, else 0.
int ortstop_requested();
int bmcstop_requested();

// Remove the stop file.
void clear_ortstop();
void clear_bmcstop();

// Returns 1 when "/opt/ortdv/tmp/tvurevrestart.text" exists, after logging the
// request (priority 6) and removing the file; else 0.
int restart_requested();

// Waits until a restart is requested, looking every 120 seconds, the first time
// at once. Returns 1, or 0 when a signal ended the wait (signals.h). May never
// return.
int wait_for_restart();

#endif  // TVUREV_DAEMON_CONTROL_FILES_H_
