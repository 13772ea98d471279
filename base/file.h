// SPDX-License-Identifier: Apache-2.0
// Files and commands as streams that close themselves, read line by line, and
// the questions that are asked of a path.
#ifndef TVUREV_BASE_FILE_H_
#define TVUREV_BASE_FILE_H_

#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>

struct FileCloser {
  void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens a file as fopen does, close-on-exec; null with errno when it cannot.
// The close-on-exec mode letter is added here.
File open_to_read(const char* path);
File open_to_write(const char* path);

struct CommandCloser {
  void operator()(FILE* output) const { pclose(output); }
};
using Command = std::unique_ptr<FILE, CommandCloser>;

// Starts a shell command and gives its output; null when the shell could not be
// started. Going out of scope waits for the command's end; its exit status is of
// no interest to anyone here. Close-on-exec keeps the pipe out of what other
// threads of a caller execute meanwhile.
Command start_command(const char* command);

// Reads the next line, with its line end, cut to what the array holds less its
// terminator; the rest of a longer line is the next one. False at the end.
template <size_t Size>
bool read_line(FILE* file, std::array<char, Size>& line) {
  return fgets(line.data(), static_cast<int>(Size), file) != nullptr;
}

// Whether something is there, of whatever kind, behind a link too.
bool exists(const char* path);

// Whether something is there and belongs to root (uid 0); where it is a link, the
// link itself and what it leads to.
bool belongs_to_root(const char* path);

#endif  // TVUREV_BASE_FILE_H_
