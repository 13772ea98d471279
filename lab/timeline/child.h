// A program that the timeline runs: started in a process group of its own, so
// that Ctrl-C reaches the timeline only, with its output in a pipe.
#ifndef TVUREV_LAB_TIMELINE_CHILD_H_
#define TVUREV_LAB_TIMELINE_CHILD_H_

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lab/sim/channel_server.h"

struct Child {
  std::string label;
  pid_t pid = -1;
  OwnedFd output;                  // its standard output and error
  OwnedFd input;                   // its standard input
  std::string unfinished;          // output after the last line end
  std::optional<int> exit_status;  // once it has ended; a signal counts 128 + number
};

// Starts a program found in PATH. Extra environment is "NAME=value". Returns an
// empty text, or what went wrong.
std::string start_child(Child* child, const std::string& label, std::vector<std::string> command,
                        const std::vector<std::string>& extra_environment = {});

// Reads what is there and calls line() for each whole line; at the end of the
// output also for an unfinished one, and then the output is closed.
void read_lines(Child* child, const std::function<void(const std::string&)>& line);

// Notices whether it has ended, without waiting.
void reap(Child* child);

// Asks it to end with a signal; nothing happens when it has ended.
void signal_child(const Child& child, int number);

// Kills it and waits for its end.
void destroy_child(Child* child);

#endif  // TVUREV_LAB_TIMELINE_CHILD_H_
