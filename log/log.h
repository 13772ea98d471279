// SPDX-License-Identifier: Apache-2.0
// The logging calls. Everything goes to the host's log with identity "ortdv",
// the process's number and facility LOG_DAEMON; there is no log file of our own.
// No descriptor stays open between messages, and none is waited for longer than
// a second (log/log_client.h).
//
// Every call but log_as_program formats into 512 bytes (a longer message is cut to
// 511 characters). All never fail visibly and leave errno as they found it:
// messages that print errno stay right after an earlier message was logged.
//
// The formatted text is expanded as a format once more (kept: operators' tools
// have seen it so; docs/oddities.md: second-expansion): "%%" and "%m" in text
// from outside change. Every other percent sign arrives as it was; none can fetch
// an argument (log/message.h). Control characters arrive as they came
// (docs/oddities.md: control-characters-as-they-came). What a sender could make us
// write without end is a complaint instead (log/complaints.h).
#ifndef TVUREV_LOG_LOG_H_
#define TVUREV_LOG_LOG_H_

// Writes at the given syslog priority, whatever the debug flags say. The daemon
// uses 3 (LOG_ERR) for failures and 6 (LOG_INFO) for state changes.
[[gnu::format(printf, 2, 3)]] void Log(int priority, const char* format, ...);

// Writes at LOG_INFO when the daemon debug flag is set; otherwise costs one
// comparison.
[[gnu::format(printf, 1, 2)]] void DaemonDebug(const char* format, ...);

// Writes at LOG_INFO when the utilities debug flag is set and the module filter
// (log/module_filter.h) lets the formatted message through.
[[gnu::format(printf, 1, 2)]] void DebugLog(const char* format, ...);

// Writes at LOG_INFO: failures that the utilities report.
[[gnu::format(printf, 1, 2)]] void UtilLog(const char* format, ...);

// As UtilLog, after setting the log mask to 255, which lets all eight
// priorities through for the rest of the process's life.
[[gnu::format(printf, 1, 2)]] void UtilLogAll(const char* format, ...);

// Writes at the given priority under the program's own name instead, with no
// limit of 512 bytes and no second expansion: the lines about shutdowns and the
// BMC's own log texts.
[[gnu::format(printf, 2, 3)]] void log_as_program(int priority, const char* format, ...);

#endif  // TVUREV_LOG_LOG_H_
