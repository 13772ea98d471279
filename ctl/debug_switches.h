// SPDX-License-Identifier: Apache-2.0
// The switch files of the debug output: what each shows, whether it is there and
// counts, and making and removing them.
#ifndef TVUREV_CTL_DEBUG_SWITCHES_H_
#define TVUREV_CTL_DEBUG_SWITCHES_H_

#include <string>
#include <vector>

#include "ctl/view.h"

struct DebugSwitch {
  std::string module;  // the file's stem
  std::string path;
  std::string shows;
  bool there = false;
  bool counts = false;
  std::string why;  // it does not count although it is there
};

// All of them, the daemon's own first.
std::vector<DebugSwitch> debug_switches(const View& view);

// Whether there is a switch of this name.
bool is_debug_module(const std::string& module);

// The switches to be made for these: "tvud" and "ortAll" where none is named, and
// with a module's the one without which it shows nothing.
std::vector<std::string> switches_for(const std::vector<std::string>& modules);

// Makes a switch file, root's, mode 0644, in the place of a link or of another user's
// file. Returns an empty text, or what went wrong.
std::string make_switch(const std::string& module);

// Removes one; none there is no failure.
std::string remove_switch(const std::string& module);

#endif  // TVUREV_CTL_DEBUG_SWITCHES_H_
