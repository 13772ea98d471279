// The logging calls. Everything goes to the host's syslog with identity
// "ortdv", LOG_PID and facility LOG_DAEMON; there is no log file of our own.
// Each call opens the log, writes one message and closes it again, so no
// descriptor stays open between messages.
//
// Every call formats into 512 bytes (a longer message is cut to 511
// characters), never fails visibly, and leaves errno as it found it: messages
// that print errno stay right after an earlier message was logged.
//
// The formatted text is handed to syslog as its format, as readers of the log know
// it (docs/oddities.md: second-expansion): "%%" and "%m" in text from outside are
// expanded once more. Every other percent
// sign arrives as it was; none can fetch an argument (log/message.h).
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

#endif  // TVUREV_LOG_LOG_H_
