// SPDX-License-Identifier: Apache-2.0
#include "log/complaints.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <string_view>

#include "base/clock.h"
#include "log/log.h"
#include "log/message.h"

namespace {

constexpr unsigned kLinesPerSecond = 10;
constexpr int64_t kSecondMs = 1'000;

// The kinds that have lines held back, of this process.
Complaint* g_holding = nullptr;

void say_how_many(Complaint& kind) {
  Log(LOG_ERR, "%s: %u more like this.\n", kind.about, kind.held);
  kind.held = 0;
}

void leave_list(const Complaint& kind) {
  Complaint** link = &g_holding;
  while (*link != &kind) {
    link = &(*link)->next;
  }
  *link = kind.next;
}

void hold_back(Complaint& kind) {
  if (kind.held == 0) {
    kind.next = g_holding;
    g_holding = &kind;
  }
  ++kind.held;
}

bool second_is_over(const Complaint& kind, int64_t now) {
  return now - kind.second_began_ms >= kSecondMs;
}

// Whether the kind may write a line; says how many it held back before, if any.
bool may_write(Complaint& kind) {
  const int64_t now = monotonic_ms();
  if (second_is_over(kind, now)) {
    if (kind.held != 0) {
      leave_list(kind);
      say_how_many(kind);
    }
    kind.second_began_ms = now;
    kind.written = 0;
  }
  if (kind.written == kLinesPerSecond) {
    hold_back(kind);
    return false;
  }
  ++kind.written;
  return true;
}

enum class Held { kInSecondsThatAreOver, kAll };

void say_held(Held which) {
  if (g_holding == nullptr) {
    return;
  }
  const int64_t now = monotonic_ms();
  Complaint** link = &g_holding;
  while (*link != nullptr) {
    Complaint& kind = **link;
    if (which == Held::kAll || second_is_over(kind, now)) {
      *link = kind.next;
      say_how_many(kind);
    } else {
      link = &kind.next;
    }
  }
}

}  // namespace

void complain(Complaint& kind, const char* format, ...) {
  const int error = errno;
  if (may_write(kind)) {
    Message message;
    va_list arguments;
    va_start(arguments, format);
    const std::string_view text = format_message(message, format, arguments);
    va_end(arguments);
    Message printable;
    errno = error;
    Log(LOG_ERR, "%s", escape_controls(text, printable));
  }
  errno = error;
}

void say_held_complaints() {
  say_held(Held::kInSecondsThatAreOver);
}

void say_all_held_complaints() {
  say_held(Held::kAll);
}
