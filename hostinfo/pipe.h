// The output of a shell command, read line by line. Internal to this folder.
#ifndef TVUREV_HOSTINFO_PIPE_H_
#define TVUREV_HOSTINFO_PIPE_H_

#include <cstdio>
#include <memory>

struct PipeCloser {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

// Waits for the command when it goes out of scope. Its exit status is of no
// interest to anyone here.
using Pipe = std::unique_ptr<FILE, PipeCloser>;

// Starts a command; null when it could not be started. "e" keeps the pipe out
// of what other threads of the caller execute meanwhile.
inline Pipe start_command(const char* command) {
  return Pipe(popen(command, "re"));
}

#endif  // TVUREV_HOSTINFO_PIPE_H_
