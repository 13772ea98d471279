// SPDX-License-Identifier: Apache-2.0
// Everything that runs on a rack's bad day, and the one place where it moves.
#ifndef TVUREV_LAB_RACK_RACK_H_
#define TVUREV_LAB_RACK_RACK_H_

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <string>

#include "base/descriptor.h"
#include "base/file.h"
#include "lab/rack/day.h"
#include "lab/rack/host.h"
#include "lab/rack/receiver.h"

struct Rack {
  DaySettings settings;
  Descriptor signals;
  Descriptor log;      // /dev/log of every host
  Descriptor watched;  // an epoll of the BMCs' channels; its data is the host's number
  std::deque<RackHost> hosts;
  std::array<Receiver, 2> receivers;
  File samples;

  std::chrono::steady_clock::time_point start;
  std::chrono::steady_clock::time_point next_sample;
  std::string phase;
  long sent = 0;        // datagrams, as the kernel counts them
  long sent_first = 0;  // before the day began
  long log_lines = 0;
  int lines_shown = 0;  // of the table, on a terminal
  int samples_taken = 0;

  bool interrupted = false;
  std::string trouble;  // the first thing that did not work
};

// Opens what the rack itself needs and starts the receivers. Returns whether all
// of it could be had; otherwise trouble says what could not.
bool open_rack(Rack* rack);

// Starts the next host and watches its channels. The same result.
bool add_host(Rack* rack);

// Has one BMC do what there is to do, and sees to it that the rest is noticed: to
// be called after anything was said.
void move_bmc(Rack* rack, RackHost* host);

// Waits up to timeout_ms for anything and takes it; takes a sample ten times a
// second.
void move(Rack* rack, int timeout_ms);

// Moves until done() or the time is over. False then, and after trouble or a
// signal.
bool move_until(Rack* rack, std::chrono::milliseconds limit, const std::function<bool()>& done);

void set_trouble(Rack* rack, const std::string& what);

// Sums over the hosts.
long said(const Rack& rack);
int connected(const Rack& rack);

// What a receiver should have and has neither printed nor dropped nor waiting.
long missing(const Rack& rack, const Receiver& receiver);
bool all_arrived(const Rack& rack);

// Reads the kernel's counters anew, writes a sample and shows the table.
void take_sample(Rack* rack);

#endif  // TVUREV_LAB_RACK_RACK_H_
