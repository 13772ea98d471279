#include "log/log.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>

#include "log/debug_flags.h"
#include "log/message.h"
#include "log/module_filter.h"

namespace {

// What a write does to the process's log mask.
enum class Mask { kKeep, kAllPriorities };
constexpr int kAllPriorities = 255;

// Puts errno back, so that "%m" sees it at the write and the caller after it.
class ErrnoKeeper {
 public:
  ErrnoKeeper() : saved_(errno) {}
  ~ErrnoKeeper() { restore(); }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

  void restore() const { errno = saved_; }

 private:
  int saved_;
};

void write_message(int priority, const Message& message, const ErrnoKeeper& errno_keeper,
                   Mask mask = Mask::kKeep) {
  const MessageFormat format = as_format(message);
  // Around every message: no descriptor stays open that a caller could close.
  openlog("ortdv", LOG_PID, LOG_DAEMON);
  if (mask == Mask::kAllPriorities) {
    setlogmask(kAllPriorities);
  }
  errno_keeper.restore();
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  // The second expansion is documented behaviour; as_format made it harmless
  // (docs/oddities.md: second-expansion).
  syslog(priority, format.data());
#pragma GCC diagnostic pop
  closelog();
}

}  // namespace

void Log(int priority, const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  write_message(priority, format_message(format, arguments), errno_keeper);
  va_end(arguments);
}

void DaemonDebug(const char* format, ...) {
  if (g_daemon_debug_flag == 0) {
    return;
  }
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  write_message(LOG_INFO, format_message(format, arguments), errno_keeper);
  va_end(arguments);
}

void DebugLog(const char* format, ...) {
  if (g_utilities_debug_flag == 0) {
    return;
  }
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  const Message message = format_message(format, arguments);
  va_end(arguments);
  // Asks with the formatted text: a module's word may come from an argument.
  if (ModuleDebugEnabled(message.data()) == 1) {
    write_message(LOG_INFO, message, errno_keeper);
  }
}

void UtilLog(const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  write_message(LOG_INFO, format_message(format, arguments), errno_keeper);
  va_end(arguments);
}

void UtilLogAll(const char* format, ...) {
  const ErrnoKeeper errno_keeper;
  va_list arguments;
  va_start(arguments, format);
  write_message(LOG_INFO, format_message(format, arguments), errno_keeper, Mask::kAllPriorities);
  va_end(arguments);
}
