// SPDX-License-Identifier: Apache-2.0
// What a rack's bad day looks like: a table that is written anew on a terminal,
// and a line a second elsewhere; a line a sample for the plot; the totals.
#ifndef TVUREV_LAB_RACK_SHOW_H_
#define TVUREV_LAB_RACK_SHOW_H_

#include <string>

#include "lab/rack/rack.h"

// Writes the last sample, also to the file for the plot, whose columns are:
// seconds, hosts connected, said, datagrams sent, and
// for each receiver printed, dropped, bytes waiting.
void show_sample(Rack* rack);

// Begins a phase: a line, and a comment in the file.
void show_phase(Rack* rack, const std::string& phase);

// A line above the table.
void show_line(Rack* rack, const std::string& line);

// The totals at the end.
void show_totals(Rack* rack);

#endif  // TVUREV_LAB_RACK_SHOW_H_
