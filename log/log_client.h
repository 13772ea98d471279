// SPDX-License-Identifier: Apache-2.0
// Hands one finished message to the host's log daemon and never waits long for
// it. The C library's client blocks for as long as the daemon does not read,
// which would hold up the relay of notifications for a log line.
//
// Each message is one datagram on a socket of its own, so that no descriptor
// stays open between messages and a log daemon that restarts is found again. The
// bytes are those that the C library would send (RFC 3164 as it has it):
// "<PRI>Mmm dd hh:mm:ss IDENTITY[PID]: TEXT".
#ifndef TVUREV_LOG_LOG_CLIENT_H_
#define TVUREV_LOG_LOG_CLIENT_H_

#include <string_view>

// The identity of a message, and whether it is the one of this library or that
// of the program.
enum class LogIdentity {
  kOwn,      // "ortdv"
  kProgram,  // the program's own name
};

// Sends text, facility LOG_DAEMON, to "/dev/log", unless the process's log mask
// (setlogmask) leaves its priority out. Leaves errno alone.
//
// A daemon whose queue is full is waited for one second; then the message is
// lost, and no later one waits at all until one goes through. How many were lost
// is said first then, at LOG_WARNING. Without "/dev/log" the message is dropped.
// Where it is there but no datagram socket that can be connected to, the C
// library's calls take over, which wait as they like and set the process's
// openlog settings.
void send_to_log(LogIdentity identity, int priority, std::string_view text);

#endif  // TVUREV_LOG_LOG_CLIENT_H_
