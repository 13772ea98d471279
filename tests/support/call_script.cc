// SPDX-License-Identifier: Apache-2.0
#include "tests/support/call_script.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "log/complaints.h"
#include "tests/support/call_text.h"
#include "tests/support/wrapped_calls.h"

namespace {

CallScript* g_active = nullptr;

// Of the clock that only goes forward. Never 0: an hour after the machine's start.
constexpr int64_t kHourMs = 3'600'000;
int64_t g_monotonic_ms = 0;

// A loop that never ends without the right answers must not hang the tests.
constexpr int kUnexpectedCallsMax = 1000;

// One stream that fopen or popen handed out.
struct Cookie {
  std::vector<uint8_t> content;
  size_t position;
  std::string* written;
  std::optional<BrokenRead> broken;
};

ssize_t read_cookie(void* cookie, char* buffer, size_t size) {
  auto* stream = static_cast<Cookie*>(cookie);
  const size_t count = std::min(size, stream->content.size() - stream->position);
  std::copy_n(stream->content.begin() + static_cast<std::ptrdiff_t>(stream->position), count,
              buffer);
  stream->position += count;
  if (count == 0 && stream->broken.has_value() && stream->broken->whole_reads-- == 0) {
    errno = stream->broken->error;
    return -1;
  }
  return static_cast<ssize_t>(count);
}

ssize_t write_cookie(void* cookie, const char* bytes, size_t size) {
  static_cast<Cookie*>(cookie)->written->append(bytes, size);
  return static_cast<ssize_t>(size);
}

// Only what rewind and fseek to a place inside need.
int seek_cookie(void* cookie, off64_t* offset, int whence) {
  auto* stream = static_cast<Cookie*>(cookie);
  const auto size = static_cast<off64_t>(stream->content.size());
  const off64_t base =
      whence == SEEK_SET ? 0 : (whence == SEEK_CUR ? static_cast<off64_t>(stream->position) : size);
  if (base + *offset < 0 || base + *offset > size) {
    return -1;
  }
  *offset += base;
  stream->position = static_cast<size_t>(*offset);
  return 0;
}

int close_cookie(void* cookie) {
  delete static_cast<Cookie*>(cookie);
  return 0;
}

}  // namespace

CallStep& CallStep::returns(long result) {
  result_ = result;
  return *this;
}

CallStep& CallStep::fails(int error) {
  failing_ = true;
  error_ = error;
  return *this;
}

CallStep& CallStep::leaves_errno(int error) {
  error_ = error;
  return *this;
}

CallStep& CallStep::gives(std::vector<uint8_t> bytes) {
  bytes_ = std::move(bytes);
  return *this;
}

CallStep& CallStep::gives(std::string_view text) {
  bytes_.assign(text.begin(), text.end());
  return *this;
}

CallStep& CallStep::reports(int value) {
  reported_ = value;
  return *this;
}

CallStep& CallStep::breaks_off(int error, int whole_reads) {
  broken_read_ = {.error = error, .whole_reads = whole_reads};
  return *this;
}
CallStep& CallStep::times(int count) {
  times_ = count;
  return *this;
}

CallStep& CallStep::raises(int signal) {
  signal_ = signal;
  return *this;
}

long CallStep::answer(long default_result) const {
  if (signal_ != 0) {
    raise(signal_);
  }
  if (error_.has_value()) {
    errno = *error_;
  }
  return failing_ ? -1 : result_.value_or(default_result);
}

size_t CallStep::fill(void* buffer, size_t size) const {
  const size_t count = std::min(size, bytes_.size());
  std::copy_n(bytes_.begin(), count, static_cast<uint8_t*>(buffer));
  return count;
}

CallScript::CallScript() : current_("") {
  if (g_active != nullptr) {
    ADD_FAILURE() << "a second CallScript while another one lives";
  }
  g_active = this;
  g_monotonic_ms += kHourMs;
  // What earlier tests had held back is no line of this one.
  say_held_complaints();
  logs_.clear();
  log_calls_.clear();
  timeline_.clear();
}

CallScript::~CallScript() {
  g_active = nullptr;
  if (!broken_ && !steps_.empty()) {
    ADD_FAILURE() << left_over();
  }
  for (const auto& [stream, name] : streams_) {
    ADD_FAILURE() << "never closed: " << name;
  }
}

CallScript* CallScript::active() {
  return g_active;
}

CallStep& CallScript::add(std::string call) {
  return steps_.emplace_back(std::move(call));
}

CallStep& CallScript::open(std::string_view path, int flags) {
  return add(call_text("open", quoted(path), open_flags_text(flags)));
}
CallStep& CallScript::close(int fd) {
  return add(call_text("close", fd));
}
CallStep& CallScript::close_range(unsigned first, unsigned last) {
  return add(call_text("close_range", first, last));
}
CallStep& CallScript::ioctl(int fd, unsigned long request) {
  return add(call_text("ioctl", fd, request));
}
CallStep& CallScript::write(int fd, std::span<const uint8_t> bytes) {
  return add(call_text("write", fd, bytes_text(bytes)));
}
CallStep& CallScript::write(int fd) {
  return add(call_text("write", fd, "any bytes"));
}
CallStep& CallScript::poll(int fd, short events, int timeout_ms) {
  return add(call_text("poll", fd, poll_events_text(events), timeout_ms));
}
CallStep& CallScript::sleep(unsigned seconds) {
  return add(call_text("sleep", seconds));
}
CallStep& CallScript::usleep(unsigned microseconds) {
  return add(call_text("usleep", microseconds));
}
CallStep& CallScript::stat(std::string_view path) {
  return add(call_text("stat", quoted(path)));
}
CallStep& CallScript::rename(std::string_view from, std::string_view to) {
  return add(call_text("rename", quoted(from) + ", " + quoted(to)));
}

CallStep& CallScript::unlink(std::string_view path) {
  return add(call_text("unlink", quoted(path)));
}
CallStep& CallScript::mkdir(std::string_view path, mode_t mode) {
  return add(call_text("mkdir", quoted(path), mode));
}
CallStep& CallScript::readlink(std::string_view path, size_t size) {
  return add(call_text("readlink", quoted(path), size));
}
CallStep& CallScript::system(std::string_view command) {
  return add(call_text("system", quoted(command)));
}
CallStep& CallScript::popen(std::string_view command) {
  return add(call_text("popen", quoted(command)));
}
CallStep& CallScript::pclose(std::string_view command) {
  return add(call_text("pclose", quoted(command)));
}
CallStep& CallScript::runs(std::string_view command) {
  popen(command);
  return pclose(command);
}
CallStep& CallScript::fopen(std::string_view path, std::string_view mode) {
  return add(call_text("fopen", quoted(path), quoted(mode)));
}
CallStep& CallScript::fork() {
  return add(call_text("fork"));
}
CallStep& CallScript::setsid() {
  return add(call_text("setsid"));
}
CallStep& CallScript::kill(pid_t pid, int signal) {
  return add(call_text("kill", pid, signal));
}
CallStep& CallScript::waitpid(pid_t pid, int options) {
  return add(call_text("waitpid", pid, options));
}
CallStep& CallScript::getdtablesize() {
  return add(call_text("getdtablesize"));
}
CallStep& CallScript::socket(int domain, int type, int protocol) {
  return add(call_text("socket", domain, type, protocol));
}
CallStep& CallScript::bind(int fd, std::string_view address, unsigned address_length) {
  return add(call_text("bind", fd, quoted(address), address_length));
}
CallStep& CallScript::listen(int fd, int backlog) {
  return add(call_text("listen", fd, backlog));
}
CallStep& CallScript::accept4(int fd, unsigned address_length, int flags) {
  return add(call_text("accept4", fd, address_length, flags));
}
CallStep& CallScript::recv(int fd, size_t size, int flags) {
  return add(call_text("recv", fd, size, flags));
}
CallStep& CallScript::sendto(int fd, std::string_view address) {
  return add(call_text("sendto", fd, quoted(address)));
}

CallStep& CallScript::message(int priority, std::string_view text) {
  return add(call_text("message", priority, quoted(text)));
}

void CallScript::file(std::string_view path, uid_t uid) {
  files_.insert_or_assign(std::string(path), uid);
}

void CallScript::no_file(std::string_view path) {
  files_.erase(std::string(path));
}
void CallScript::link(std::string_view path, uid_t uid) {
  links_.insert_or_assign(std::string(path), uid);
}
std::optional<uid_t> CallScript::link_owner(const char* path) const {
  const auto entry = links_.find(path);
  return entry == links_.end() ? std::nullopt : std::optional<uid_t>(entry->second);
}

void CallScript::pass_ms(int64_t ms) {
  g_monotonic_ms += ms;
}
int64_t CallScript::monotonic_ms() const {
  return g_monotonic_ms;
}

std::string CallScript::written_to(std::string_view path) const {
  std::string text;
  for (auto [entry, end] = written_.equal_range(path); entry != end; ++entry) {
    text += entry->second;
  }
  return text;
}

const CallStep& CallScript::meet(const std::string& call) {
  if (steps_.empty() || steps_.front().call() != call) {
    complain(call);
    current_ = CallStep(call).fails(ENOSYS);
    return current_;
  }
  timeline_.push_back(call);
  current_ = steps_.front();
  if (steps_.front().used_up()) {
    steps_.pop_front();
  }
  return current_;
}

void CallScript::complain(const std::string& came) {
  if (++unexpected_calls_ == kUnexpectedCallsMax) {
    fprintf(stderr, "giving up after %d unexpected calls, the last: %s\n", kUnexpectedCallsMax,
            came.c_str());
    __real_abort();
  }
  if (broken_) {
    return;
  }
  broken_ = true;
  std::string before;
  const size_t shown = std::min<size_t>(timeline_.size(), 5);
  for (size_t i = timeline_.size() - shown; i < timeline_.size(); ++i) {
    before += "\n     after: " + timeline_[i];
  }
  const std::string expected = steps_.empty() ? "nothing more" : steps_.front().call();
  ADD_FAILURE() << "unexpected call" << before << "\n  expected: " << expected
                << "\n      came: " << came;
}

std::string CallScript::left_over() const {
  std::string text = "these calls never came:";
  for (const CallStep& step : steps_) {
    text += "\n  " + step.call();
    if (step.times_left() > 1) {
      text += " (" + std::to_string(step.times_left()) + " times)";
    }
  }
  return text;
}

FILE* CallScript::meet_stream(const std::string& call, std::string_view name) {
  const CallStep& step = meet(call);
  if (step.answer(0) == -1) {
    return nullptr;
  }
  const auto written = written_.emplace(name, "");
  auto* cookie = new Cookie{step.bytes(), 0, &written->second, step.broken_read()};
  FILE* stream = fopencookie(
      cookie, "r+",
      {.read = read_cookie, .write = write_cookie, .seek = seek_cookie, .close = close_cookie});
  streams_.emplace(stream, name);
  return stream;
}

std::string CallScript::close_stream(FILE* stream) {
  const auto entry = streams_.find(stream);
  if (entry == streams_.end()) {
    return "?";
  }
  std::string name = entry->second;
  streams_.erase(entry);
  return name;
}

std::optional<uid_t> CallScript::meet_stat(const char* path, const CallStep** step) {
  stats_.emplace_back(path);
  const std::string call = call_text("stat", quoted(path));
  if (!steps_.empty() && steps_.front().call() == call) {
    *step = &meet(call);
    return (*step)->failing() ? std::nullopt : std::optional<uid_t>(0);
  }
  const auto entry = files_.find(path);
  return entry == files_.end() ? std::nullopt : std::optional<uid_t>(entry->second);
}

int CallScript::meet_wait(std::string_view function, unsigned length) {
  waits_.push_back(std::string(function) + " " + std::to_string(length));
  constexpr int64_t kMsPerSecond = 1'000;
  constexpr int64_t kUsPerMs = 1'000;
  pass_ms(function == "sleep" ? length * kMsPerSecond : length / kUsPerMs);
  const std::string call = call_text(function, length);
  if (collecting_waits_) {
    timeline_.push_back(call);
    return 0;
  }
  const int result = static_cast<int>(meet(call).answer(0));
  // A loop that has left its script comes to its last call without real pauses.
  return broken_ ? 0 : result;
}

void CallScript::note_poll(int timeout_ms) {
  waits_.push_back("poll " + std::to_string(timeout_ms));
}

const CallStep& CallScript::meet_write(int fd, std::span<const uint8_t> bytes) {
  writes_.emplace_back(bytes.begin(), bytes.end());
  const std::string any = call_text("write", fd, "any bytes");
  const bool any_will_do = !steps_.empty() && steps_.front().call() == any;
  return meet(any_will_do ? any : call_text("write", fd, bytes_text(bytes)));
}

void CallScript::note_datagram(std::span<const uint8_t> bytes) {
  datagrams_.emplace_back(bytes.begin(), bytes.end());
}

void CallScript::note_log(std::string call) {
  log_calls_.push_back(std::move(call));
}

void CallScript::note_message(std::string_view identity, int priority, const std::string& text) {
  const std::string line = std::to_string(priority) + " " + text;
  const std::string_view whole = text;
  const std::string step = call_text("message", priority, quoted(whole));
  logs_.push_back(line);
  log_calls_.push_back(std::string(identity) + " " + line);
  timeline_.push_back(line);
  if (!steps_.empty() && steps_.front().call() == step && steps_.front().used_up()) {
    steps_.pop_front();
  }
}

bool CallScript::calloc_fails() {
  return callocs_until_failure_ > 0 && --callocs_until_failure_ == 0;
}

int CallScript::end_process(int status) {
  g_active = nullptr;
  for (const std::string& line : logs_) {
    fputs(line.c_str(), stderr);
  }
  if (!broken_ && !steps_.empty()) {
    fprintf(stderr, "%s\n", left_over().c_str());
  }
  return broken_ || !steps_.empty() ? kBrokenScriptStatus : status;
}

OutputCapture::OutputCapture(int fd) : fd_(fd), saved_fd_(dup(fd)), file_(tmpfile()) {
  fflush(nullptr);
  dup2(fileno(file_), fd_);
}

OutputCapture::~OutputCapture() {
  fflush(nullptr);
  dup2(saved_fd_, fd_);
  __real_close(saved_fd_);
  if (testing::Test::HasFailure()) {
    fputs(text().c_str(), stdout);
  }
  __real_fclose(file_);
}

std::string OutputCapture::text() const {
  fflush(nullptr);
  std::string text;
  char buffer[1024];
  for (ssize_t count = 1; count > 0;) {
    count = pread(fileno(file_), buffer, sizeof buffer, static_cast<off_t>(text.size()));
    text.append(buffer, static_cast<size_t>(std::max<ssize_t>(count, 0)));
  }
  return text;
}
