// SPDX-License-Identifier: Apache-2.0
#include "log/log.h"

#include <syslog.h>

#include <array>
#include <cerrno>
#include <cstdarg>

#include "log/debug_flags.h"
#include "log/log_client.h"
#include "log/message.h"
#include "log/module_filter.h"

namespace {

constexpr int kAllPriorities = 255;

// A BMC's text of 4080 bytes and what is said around it.
constexpr size_t kProgramMessageSize = size_t{8} * 1024;

// Puts errno back, so that "%m" sees it at the write and the caller after it.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { errno = saved_; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

  int saved() const { return saved_; }

 private:
  int saved_;
};

void write_message(int priority, std::string_view message, int error) {
  ExpandedMessage expanded;  // not zeroed: only what is filled in is read
  send_to_log(LogIdentity::kOwn, priority, expand_message(message, error, expanded));
}

[[gnu::format(printf, 2, 0)]] void format_and_write(int priority, const char* format,
                                                    va_list arguments, int error) {
  Message message;
  write_message(priority, format_message(message, format, arguments), error);
}

}  // namespace

void Log(int priority, const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  format_and_write(priority, format, arguments, errno_keeper.saved());
  va_end(arguments);
}

void DaemonDebug(const char* format, ...) {
  if (g_daemon_debug_flag == 0) {
    return;
  }
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  format_and_write(LOG_INFO, format, arguments, errno_keeper.saved());
  va_end(arguments);
}

void DebugLog(const char* format, ...) {
  if (g_utilities_debug_flag == 0) {
    return;
  }
  const ErrnoKeeper errno_keeper;
  Message message = {};
  va_list arguments;
  va_start(arguments, format);
  const std::string_view text = format_message(message, format, arguments);
  va_end(arguments);
  // Asks with the formatted text: a module's word may come from an argument.
  if (ModuleDebugEnabled(text.empty() ? "" : message.data()) == 1) {
    write_message(LOG_INFO, text, errno_keeper.saved());
  }
}

void UtilLog(const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  format_and_write(LOG_INFO, format, arguments, errno_keeper.saved());
  va_end(arguments);
}

void UtilLogAll(const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  setlogmask(kAllPriorities);
  va_list arguments;
  va_start(arguments, format);
  format_and_write(LOG_INFO, format, arguments, errno_keeper.saved());
  va_end(arguments);
}

void log_as_program(int priority, const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  std::array<char, kProgramMessageSize> message;
  va_list arguments;
  va_start(arguments, format);
  send_to_log(LogIdentity::kProgram, priority, format_message(message, format, arguments));
  va_end(arguments);
}
