// SPDX-License-Identifier: Apache-2.0
// A host whose calls never fail a test by themselves: while a FakeHost lives, the
// C library's calls that the product makes (--wrap) are answered by it, from the
// input's bytes where they ask for something from outside. Nothing waits, nothing
// leaves the process, no file is made. Unlike a CallScript it expects no order.
//
// What no answer may ever bring about is required on the spot: closing a
// descriptor that is not open, a packet above 4096 bytes, killing a process that
// is no timer, a command or a path that the product has no business with, a log
// line without bound, an endless loop.
#ifndef TVUREV_TESTS_FUZZ_FAKE_HOST_H_
#define TVUREV_TESTS_FUZZ_FAKE_HOST_H_

#include <sys/types.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/input.h"

struct LogLine {
  int priority;
  std::string identity;  // without the process's number
  std::string text;
};

class FakeHost {
 public:
  // The input's bytes answer calls for as long as the host lives. Its first byte
  // chooses the debug switches and is taken here.
  explicit FakeHost(Input& input);
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  // Null while the C library answers itself.
  static FakeHost* active();

  // Set up by the target.
  std::map<std::string, std::string, std::less<>> files;     // by path; of root's
  std::map<std::string, std::string, std::less<>> commands;  // output by the command's words
  std::vector<std::string> folder;  // names that a listing of the image database has
  bool channels_free = true;
  int busy_writes = 0;  // of the channel, before one goes through
  int write_error = 0;  // of the channel, once that is over; 0 for none
  // Whether requests are numbered on from execution to execution, so that a packet's
  // own number must not meet theirs by chance.
  bool counts_on = false;
  uid_t file_owner = 0;  // what stat says of the files
  time_t now = 1'700'000'000;
  // Half a minute later in each execution: none meets what another one has used
  // up of what is counted by the second.
  const time_t monotonic_now;
  std::jmp_buf* at_abort = nullptr;  // where abort() goes to; null ends the process

  // What came of it.
  std::vector<LogLine> log;
  std::vector<std::string> datagrams;             // the traps
  std::map<std::string, std::string> made_files;  // what was written, by path
  std::string story;  // packets, traps, files, commands and waits, in order

  // Opens a descriptor as if it had been there; close_all() takes what is open.
  enum class Kind : uint8_t { kNone, kChannel, kSmbios, kLog, kNetwork, kAgent };
  int open_descriptor(Kind kind);
  int open_descriptors() const;
  bool log_holds(int priority, std::string_view part) const;

  // For the wrapped calls.
  bool owns(int fd) const;
  bool owns(FILE* stream) const;
  Kind& kind_of(int fd);
  Input& input() { return input_; }
  void tell(std::string_view what);  // into the story; counts what was done
  FILE* open_stream(std::string_view path, const char* mode);
  FILE* open_command(std::string_view command);
  int close_stream(FILE* stream);
  int read_channel(uint8_t* buffer);
  ssize_t write_channel(const uint8_t* bytes, size_t length);
  short poll_channel();  // negative for a failure
  ssize_t receive(uint8_t* buffer, size_t size);
  void keep_log(std::string_view datagram);

 private:
  struct WrittenFile {
    std::string path;
    char* text = nullptr;
    size_t size = 0;
  };
  FILE* open_to_read(std::string& content);
  static FILE* fail_to_open(int error);

  static constexpr int kDescriptors = 64;

  Input& input_;
  Kind kinds_[kDescriptors] = {};
  uint16_t last_seqno_ = 0;
  unsigned done_ = 0;
  // Without a record for what is read.
  std::map<FILE*, std::unique_ptr<WrittenFile>> streams_;
};

#endif  // TVUREV_TESTS_FUZZ_FAKE_HOST_H_
