// SPDX-License-Identifier: Apache-2.0
// An ordered script of the C library calls that a test expects, with the answer
// to each. Linking tests_support replaces these functions in everything that is
// linked statically (--wrap); they pass through to the C library until a
// CallScript exists, and while it does every call must be the next step of the
// script:
//
//   CallScript script;
//   script.open("/vmfs/devices/char/vmkdriver/zemox-d0ccb4", O_RDWR | O_EXCL).returns(7);
//   script.usleep(10'000);
//   script.write(7, bytes_of("08 00 ad de 02 00 00 00")).fails(EBUSY).times(2);
//   script.ioctl(7).gives(packet);
//   script.close(7);
//   EXPECT_EQ(the_function(), 0);
//   EXPECT_EQ(script.logs(), Lines({"6 first message\n", "3 second message\n"}));
//
// A call that is not the next step, and a step that was never met, fail the
// test and say what was expected and what came. Nothing waits and nothing
// reaches the host.
//
// Not steps, since tests would drown in them: log calls are collected, and stat
// looks into a table of pretended files. What a call leaves alone in the kernel,
// it leaves alone here: buffers of a failing call, the events of a failing poll. gtest itself uses
// some of the wrapped functions for death tests and for capturing output: build the script inside
// the statement of EXPECT_EXIT, and capture with OutputCapture.
#ifndef TVUREV_TESTS_SUPPORT_CALL_SCRIPT_H_
#define TVUREV_TESTS_SUPPORT_CALL_SCRIPT_H_

#include <poll.h>
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

// Exit status of a process that ended while its script was broken or not yet
// at its end.
inline constexpr int kBrokenScriptStatus = 97;

// How reading a file comes to fail.
struct BrokenRead {
  int error;
  int whole_reads;
};

// One expected call, as text, and what it answers. Without further words it
// succeeds: write returns the length it was given, everything else 0.
class CallStep {
 public:
  explicit CallStep(std::string call) : call_(std::move(call)) {}

  CallStep& returns(long result);
  // -1 with this errno (popen and fopen: null).
  CallStep& fails(int error);
  // errno after a call that does not fail.
  CallStep& leaves_errno(int error);
  // Bytes for the caller's buffer; also the result, unless returns() says more.
  CallStep& gives(std::vector<uint8_t> bytes);
  CallStep& gives(std::string_view text);
  // What the command prints, or the file holds.
  CallStep& prints(std::string_view text) { return gives(text); }
  // What poll puts into revents as far as it was asked for (and 1 as its
  // result), waitpid into status, or stat into the inode's number.
  CallStep& reports(int value);
  // Reading behind the last byte of the file fails with this errno, after it was
  // read to its end so many times.
  CallStep& breaks_off(int error, int whole_reads = 0);
  CallStep& times(int count);
  // A signal comes while the call is under way.
  CallStep& raises(int signal);

  // For the wrapped functions.
  const std::string& call() const { return call_; }
  // Raises the signal, stores errno, and returns the result.
  long answer(long default_result) const;
  bool failing() const { return failing_; }
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  // Copies as many bytes as fit, and returns their number.
  size_t fill(void* buffer, size_t size) const;
  int reported() const { return reported_; }
  const std::optional<BrokenRead>& broken_read() const { return broken_read_; }
  // Counts one call; true when it was the last one.
  bool used_up() { return --times_ == 0; }
  int times_left() const { return times_; }

 private:
  std::string call_;
  std::optional<long> result_;
  std::optional<int> error_;
  bool failing_ = false;
  std::vector<uint8_t> bytes_;
  int reported_ = 0;
  std::optional<BrokenRead> broken_read_;
  int signal_ = 0;
  int times_ = 1;
};

class CallScript {
 public:
  CallScript();
  ~CallScript();
  CallScript(const CallScript&) = delete;
  CallScript& operator=(const CallScript&) = delete;

  // The steps, in the order in which they must come. The fortified and 64-bit
  // aliases of a function are the same step.
  CallStep& open(std::string_view path, int flags);
  CallStep& close(int fd);
  CallStep& close_range(unsigned first, unsigned last);
  CallStep& ioctl(int fd, unsigned long request = 0x100);  // fills up to 4096 bytes
  CallStep& write(int fd, std::span<const uint8_t> bytes);
  CallStep& write(int fd);  // any bytes; written() has them
  CallStep& poll(int fd, short events, int timeout_ms);
  CallStep& sleep(unsigned seconds);
  CallStep& usleep(unsigned microseconds);
  CallStep& stat(std::string_view path);  // only where a file must come or go midway
  CallStep& rename(std::string_view from, std::string_view to);
  CallStep& unlink(std::string_view path);
  CallStep& mkdir(std::string_view path, mode_t mode);
  CallStep& readlink(std::string_view path, size_t size);
  CallStep& system(std::string_view command);
  CallStep& popen(std::string_view command);
  CallStep& pclose(std::string_view command);
  // Both of a command that is run for what it does: the second step.
  CallStep& runs(std::string_view command);
  CallStep& fopen(std::string_view path, std::string_view mode);
  CallStep& fork();
  CallStep& setsid();
  CallStep& kill(pid_t pid, int signal);
  CallStep& waitpid(pid_t pid, int options);
  CallStep& getdtablesize();
  CallStep& socket(int domain, int type, int protocol);
  // The path of a local socket; "address:port" of an IPv4 one.
  CallStep& bind(int fd, std::string_view address, unsigned address_length);
  CallStep& listen(int fd, int backlog);
  CallStep& accept4(int fd, unsigned address_length, int flags);
  CallStep& recv(int fd, size_t size, int flags);
  CallStep& sendto(int fd, std::string_view address);      // datagrams() has the bytes
  CallStep& message(int priority, std::string_view text);  // only where its place matters

  // Pretends that path exists and belongs to uid, or does not exist.
  void file(std::string_view path, uid_t uid = 0);
  void no_file(std::string_view path);
  // Pretends that path is a link of uid's; file() says what it leads to.
  void link(std::string_view path, uid_t uid);
  // Every path that stat looked for, in order.
  const Lines& stats() const { return stats_; }

  // sleep and usleep are no steps from here on; waits() still lists them.
  void collect_waits() { collecting_waits_ = true; }
  // Every wait, in order: "sleep 1", "usleep 10000", "poll 1000".
  const Lines& waits() const { return waits_; }

  // The n-th calloc from here on (1 is the next) returns null.
  void fail_calloc(int n) { callocs_until_failure_ = n; }

  // What gettimeofday says from here on.
  void set_time(long seconds, long microseconds) { time_ = {{seconds, microseconds}}; }

  // Lets this pass on the clock that only goes forward. Otherwise it moves by what
  // is slept, and by the timeouts of polls that report nothing. Each script begins
  // an hour after the one before.
  void pass_ms(int64_t ms);

  // The messages, in order: "6 text".
  const Lines& logs() const { return logs_; }
  // The same with their identities, "ortdv 6 text" or "program 6 text", and
  // "setlogmask 255".
  const Lines& log_calls() const { return log_calls_; }
  // Steps, waits and messages together, in order.
  const Lines& timeline() const { return timeline_; }

  // What every write was given, in order.
  const std::vector<std::vector<uint8_t>>& written() const { return writes_; }

  // What was sent, in order; also what a failing sendto was given.
  const std::vector<std::vector<uint8_t>>& datagrams() const { return datagrams_; }

  // What was written to a file that fopen opened; all files of that path.
  std::string written_to(std::string_view path) const;

  // For the wrapped functions. Null when there is no script: pass through.
  static CallScript* active();
  // Takes the next step, which must be this call. A step that fails with
  // ENOSYS stands in for a call that does not belong there.
  const CallStep& meet(const std::string& call);
  FILE* meet_stream(const std::string& call, std::string_view name);
  // The name under which a stream was opened.
  std::string close_stream(FILE* stream);
  std::optional<uid_t> meet_stat(const char* path, const CallStep** step);
  std::optional<uid_t> link_owner(const char* path) const;
  int64_t monotonic_ms() const;
  int meet_wait(std::string_view function, unsigned length);
  void note_poll(int timeout_ms);
  const CallStep& meet_write(int fd, std::span<const uint8_t> bytes);
  void note_datagram(std::span<const uint8_t> bytes);
  void note_log(std::string call);
  void note_message(std::string_view identity, int priority, const std::string& text);
  bool calloc_fails();
  std::optional<std::pair<long, long>> time() const { return time_; }
  // Prints the messages to standard error, complains about what is left over
  // and returns the status to end with.
  int end_process(int status);

 private:
  CallStep& add(std::string call);
  void complain(const std::string& came);
  std::string left_over() const;

  std::deque<CallStep> steps_;
  CallStep current_;
  bool broken_ = false;
  int unexpected_calls_ = 0;
  bool collecting_waits_ = false;
  int callocs_until_failure_ = 0;
  std::optional<std::pair<long, long>> time_;
  std::map<std::string, uid_t, std::less<>> files_;
  std::map<std::string, uid_t, std::less<>> links_;
  std::map<FILE*, std::string> streams_;
  std::multimap<std::string, std::string, std::less<>> written_;
  std::vector<std::vector<uint8_t>> writes_;
  std::vector<std::vector<uint8_t>> datagrams_;
  Lines stats_;
  Lines waits_;
  Lines logs_;
  Lines log_calls_;
  Lines timeline_;
};

// Catches what is written to descriptor 1 or 2 (through stdio) while it lives;
// works beside a CallScript.
class OutputCapture {
 public:
  explicit OutputCapture(int fd = 1);
  ~OutputCapture();
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;

  // Everything written so far.
  std::string text() const;

 private:
  int fd_;
  int saved_fd_;
  FILE* file_;
};

#endif  // TVUREV_TESTS_SUPPORT_CALL_SCRIPT_H_
