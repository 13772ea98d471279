// SPDX-License-Identifier: Apache-2.0
// One life of the daemon: start, notifications on both roads, a log packet, a
// shutdown request that is aborted and one that is carried out, a reset, a
// hang-up, an agent that goes and comes again, stop. With a fault or without,
// every step goes on when the one before it failed, and what was seen is written
// down; tests/faults/verdict.py judges it.
#ifndef TVUREV_TESTS_FAULTS_LIFE_H_
#define TVUREV_TESTS_FAULTS_LIFE_H_

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/faults/world.h"

// A notification: by which road, and how many times each receiver got it.
struct Sent {
  std::string road;
  int number = 0;
  std::array<int, 3> arrived = {};
};

struct Life {
  std::string fault;
  std::string error;  // of the simulated host itself: nothing else counts then
  bool hit = false;
  std::vector<uint64_t> frames;  // where the failing call was made, caller first

  std::vector<std::string> steps;  // that did not come about: "reset: limit"
  std::vector<Sent> sent;
  bool bmc_road = false;  // both were tried last, after the fault
  bool agent_road = false;
  int first_status = -1;       // exit status; 128 and more for a signal
  int proxy_status = -1;       // the same, of exit() only
  bool asked_to_stop = false;  // before the first process ended
  bool proxy_asked_to_stop = false;
  std::vector<std::string> left;                   // processes that outlived the stop
  std::vector<std::string> commands;               // that the host was told to run
  std::map<std::string, int> descriptors;          // of each process, before the stop
  int zombies = 0;                                 // children that nobody reaped, then
  std::array<int64_t, kProcessKinds> blocks = {};  // heap blocks, then
  double simulated_seconds = 0;
  std::map<std::string, std::array<uint32_t, kProcessKinds>> calls;
  std::vector<std::string> log;  // "PROCESS PRIORITY IDENTITY: TEXT"

  // A second start without a fault, where the first one ended or lost a road.
  bool started_again = false;
  bool relayed_again = false;
  std::vector<std::string> log_again;
};

// Plays one life on a fresh host.
Life play_life(const std::string& fault);

#endif  // TVUREV_TESTS_FAULTS_LIFE_H_
