// SPDX-License-Identifier: Apache-2.0
// The merged timeline on standard output: one line an entry, with the time of
// day and the stream it came from; colour on a terminal, unless NO_COLOR is
// set. With a prompt, entries are written above it.
#ifndef TVUREV_LAB_TIMELINE_DISPLAY_H_
#define TVUREV_LAB_TIMELINE_DISPLAY_H_

#include <string>
#include <string_view>

enum class Stream { kBmc, kLog, kTrap, kHost, kLab };

struct Display {
  bool colour = false;
  std::string prompt;  // shown when not empty
};

Display make_display();
void show(const Display& display, Stream stream, std::string_view text);
void show_prompt(const Display& display);

// Makes text from outside harmless to a terminal: control characters but tab
// become "?".
std::string without_controls(std::string_view text);

// A line of the syslog daemon without its date and host name:
// "daemon.info ortdv[12]: text".
std::string without_syslog_header(std::string_view line);

#endif  // TVUREV_LAB_TIMELINE_DISPLAY_H_
