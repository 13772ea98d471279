// SPDX-License-Identifier: Apache-2.0
#include "lab/timeline/display.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

struct Look {
  const char* name;
  const char* colour;
};

constexpr std::array<Look, 5> kLooks = {{{"bmc ", "\033[36m"},
                                         {"log ", "\033[33m"},
                                         {"trap", "\033[1;32m"},
                                         {"host", "\033[35m"},
                                         {"lab ", "\033[2m"}}};

std::string time_of_day() {
  using std::chrono::system_clock;
  const auto now = system_clock::now();
  const std::time_t seconds = system_clock::to_time_t(now);
  const auto fraction =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local = {};
  localtime_r(&seconds, &local);
  std::array<char, 32> text = {};
  const size_t length = std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
  std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(fraction));
  return text.data();
}

}  // namespace

Display make_display() {
  const char* no_colour = std::getenv("NO_COLOR");
  Display display;
  display.colour = isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0');
  return display;
}

void show(const Display& display, Stream stream, std::string_view text) {
  const Look& look = kLooks[static_cast<size_t>(stream)];
  const char* above_prompt = display.prompt.empty() ? "" : "\r\033[K";
  std::printf("%s%s %s%s%s  %s\n", above_prompt, time_of_day().c_str(),
              display.colour ? look.colour : "", look.name, display.colour ? "\033[0m" : "",
              without_controls(text).c_str());
  show_prompt(display);
  std::fflush(stdout);
}

void show_prompt(const Display& display) {
  std::fputs(display.prompt.c_str(), stdout);
  std::fflush(stdout);
}

std::string without_controls(std::string_view text) {
  std::string clean(text);
  for (char& character : clean) {
    const auto code = static_cast<unsigned char>(character);
    if ((code < 0x20 && character != '\t') || code == 0x7F) {
      character = '?';
    }
  }
  return clean;
}

std::string without_syslog_header(std::string_view line) {
  // "Nov 20 14:34:46 host daemon.err ortdv: text"; the date has a fixed width.
  constexpr size_t kDateWidth = 16;
  const size_t host_end = line.find(' ', kDateWidth);
  if (line.size() <= kDateWidth || host_end == std::string_view::npos) {
    return std::string(line);
  }
  return std::string(line.substr(host_end + 1));
}
