// SPDX-License-Identifier: Apache-2.0
#include "log/timestamp.h"

#include <sys/time.h>

#include <array>
#include <cstdio>
#include <ctime>

const char* GetTimestamp() {
  static std::array<char, 128> text;  // one for all callers, who copy it or lose it
  text.fill('\0');

  timeval now = {};
  gettimeofday(&now, nullptr);
  tm local = {};
  localtime_r(&now.tv_sec, &local);
  std::array<char, 64> date_and_time = {};
  strftime(date_and_time.data(), date_and_time.size(), "%F %T", &local);
  snprintf(text.data(), text.size(), "%s:%d", date_and_time.data(), static_cast<int>(now.tv_usec));
  return text.data();
}
