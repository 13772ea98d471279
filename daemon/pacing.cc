// SPDX-License-Identifier: Apache-2.0
#include "daemon/pacing.h"

#include <syslog.h>

#include <cstring>

#include "daemon/signals.h"
#include "log/log.h"

namespace {

constexpr int kFreeFailures = 9;
constexpr unsigned kRetryPauseSeconds = 1;
constexpr int kFreeSessions = 2;
constexpr std::chrono::seconds kShortSession(10);

}  // namespace

void pace_retry(Retries& retries, const char* what, int error) {
  if (error == 0) {
    retries.failures = 0;
    return;
  }
  if (retries.failures < kFreeFailures) {
    ++retries.failures;
    return;
  }
  if (retries.failures == kFreeFailures) {
    ++retries.failures;
    Log(LOG_ERR, "tvurev: %s keeps failing (%s). It is tried once a second from now on.\n", what,
        strerror(error));
  }
  pause_seconds(kRetryPauseSeconds);
}

bool must_pause_after_session(Sessions& sessions, bool hung_up,
                              std::chrono::steady_clock::duration lasted) {
  if (!hung_up || lasted > kShortSession) {
    sessions.short_ones = 0;
    return false;
  }
  if (sessions.short_ones < kFreeSessions) {
    ++sessions.short_ones;
    return false;
  }
  if (sessions.short_ones == kFreeSessions) {
    ++sessions.short_ones;
    Log(LOG_ERR,
        "tvurev: the BMC hung up on three sessions in a row. After each such one %u seconds pass "
        "from now on.\n",
        kSessionPauseSeconds);
  }
  return true;
}
