// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/fake_host.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "log/debug_flags.h"
#include "tests/fuzz/real_calls.h"
#include "tests/fuzz/target.h"
#include "wire/chif.h"
#include "wire/little_endian.h"

namespace {

constexpr int kFirstDescriptor = 900;
constexpr unsigned kDoneMax = 200'000;
constexpr size_t kLogLineMax = size_t{16} * 1024;

// Of the thread that runs the target: libFuzzer has one more, which sleeps.
thread_local FakeHost* g_active = nullptr;

// Standard output and error while a host lives: debugging by hand writes there.
FILE* const g_nowhere = __real_fopen("/dev/null", "w");

FILE* g_output = nullptr;
FILE* g_error = nullptr;

time_t later() {
  static time_t seconds = 1'000'000;
  return seconds += 30;
}

int error_of(uint8_t control) {
  constexpr std::array<int, 8> kErrors = {ENODEV, EBUSY, EIO, EAGAIN, EINTR, ENXIO, EPIPE, EFAULT};
  return kErrors[control % kErrors.size()];
}

}  // namespace

FakeHost::FakeHost(Input& input) : monotonic_now(later()), input_(input) {
  const uint8_t switches = input.byte();
  g_daemon_debug_flag = switches & 1;
  g_chif_dump_flag = switches >> 1 & 1;
  g_agentx_dump_flag = switches >> 2 & 1;
  g_utilities_debug_flag = switches >> 3 & 1;
  if (g_utilities_debug_flag != 0) {
    files["/tmp/ortAll.text"] = "";
  }
  g_output = stdout;
  g_error = stderr;
  stdout = g_nowhere;
  stderr = g_nowhere;
  g_active = this;
}

// Closes what a process that ended by abort() left open.
FakeHost::~FakeHost() {
  while (!streams_.empty()) {
    close_stream(streams_.begin()->first);
  }
  g_active = nullptr;
  stdout = g_output;
  stderr = g_error;
}

FakeHost* FakeHost::active() {
  return g_active;
}

int FakeHost::open_descriptor(Kind kind) {
  Kind* const free = std::find(std::begin(kinds_), std::end(kinds_), Kind::kNone);
  require(free != std::end(kinds_), "descriptors are closed again");
  *free = kind;
  return kFirstDescriptor + static_cast<int>(free - kinds_);
}

int FakeHost::open_descriptors() const {
  return kDescriptors -
         static_cast<int>(std::count(std::begin(kinds_), std::end(kinds_), Kind::kNone));
}

bool FakeHost::log_holds(int priority, std::string_view part) const {
  return std::ranges::any_of(log, [&](const LogLine& line) {
    return line.priority == priority && line.text.find(part) != std::string::npos;
  });
}

bool FakeHost::owns(int fd) const {
  return fd >= kFirstDescriptor && fd < kFirstDescriptor + kDescriptors;
}

FakeHost::Kind& FakeHost::kind_of(int fd) {
  Kind& kind = kinds_[fd - kFirstDescriptor];
  require(kind != Kind::kNone, "a descriptor that is closed is not used");
  return kind;
}

void FakeHost::tell(std::string_view what) {
  require(++done_ < kDoneMax, "there is an end to it");
  story.append(what);
  story += '\n';
}

FILE* FakeHost::open_stream(std::string_view path, const char* mode) {
  if (mode[0] == 'w') {
    auto written = std::make_unique<WrittenFile>(WrittenFile{std::string(path)});
    FILE* const stream = open_memstream(&written->text, &written->size);
    streams_[stream] = std::move(written);
    return stream;
  }
  const auto file = files.find(path);
  return file == files.end() ? fail_to_open(ENOENT) : open_to_read(file->second);
}

FILE* FakeHost::open_command(std::string_view command) {
  tell("run " + std::string(command));
  const auto found = commands.find(command);
  return found == commands.end() ? fail_to_open(EAGAIN) : open_to_read(found->second);
}

FILE* FakeHost::open_to_read(std::string& content) {
  FILE* const stream = fmemopen(content.data(), content.size(), "r");
  streams_[stream] = nullptr;
  return stream;
}

FILE* FakeHost::fail_to_open(int error) {
  errno = error;
  return nullptr;
}

bool FakeHost::owns(FILE* stream) const {
  return streams_.contains(stream);
}

int FakeHost::close_stream(FILE* stream) {
  const auto found = streams_.find(stream);
  const int result = __real_fclose(stream);
  if (const auto& written = found->second; written != nullptr) {
    made_files[written->path].assign(written->text, written->size);
    tell("file " + written->path + " " + made_files[written->path]);
    free(written->text);
  }
  streams_.erase(found);
  return result;
}

// A control byte says what the driver does: 0x00 to 0xCF give a packet of the
// length that follows, with its header mended as the lowest bits say, 0xD0 to
// 0xDF the same with another length stated, 0xE0 to 0xEF nothing, others fail.
int FakeHost::read_channel(uint8_t* buffer) {
  tell("read channel");
  if (input_.empty()) {
    errno = ENODEV;
    return -1;
  }
  const uint8_t control = input_.byte();
  if (control >= 0xF0) {
    errno = error_of(control);
    return -1;
  }
  if (control >= 0xE0) {
    return 0;
  }
  const auto packet = input_.take(input_.word() % (chif::kPacketMax + 1));
  std::ranges::copy(packet, buffer);
  const std::span<uint8_t> whole(buffer, chif::kPacketMax);
  if ((control & 1) != 0) {
    put_u16(whole, chif::header::kPktsize, static_cast<uint16_t>(packet.size()));
  }
  if ((control & 2) != 0) {
    const unsigned seqno = last_seqno_ + (control >> 2 & 3U);
    put_u16(whole, chif::header::kSeqno, static_cast<uint16_t>(seqno));
  } else if (counts_on) {
    const unsigned seqno = last_seqno_ + 4U + get_u16(whole, chif::header::kSeqno) % 100U;
    put_u16(whole, chif::header::kSeqno, static_cast<uint16_t>(seqno));
  }
  return control >= 0xD0 ? input_.word() : static_cast<int>(packet.size());
}

ssize_t FakeHost::write_channel(const uint8_t* bytes, size_t length) {
  require(length <= chif::kPacketMax, "no packet is longer than the driver takes");
  tell("write channel " + std::to_string(length));
  // The sequence number stays out of the story: it counts through the process. That
  // of a request that never gets through is known too: its answer is read all the same.
  if (length >= chif::header::kSize) {
    last_seqno_ = get_u16({bytes, length}, chif::header::kSeqno);
  }
  if (busy_writes > 0) {
    --busy_writes;
    errno = EBUSY;
    return -1;
  }
  if (write_error != 0) {
    errno = write_error;
    return -1;
  }
  if (length >= chif::header::kSize) {
    story.append(reinterpret_cast<const char*>(bytes) + chif::header::kCmdno,
                 length - chif::header::kCmdno);
  }
  return static_cast<ssize_t>(length);
}

short FakeHost::poll_channel() {
  tell("poll");
  if (input_.empty()) {
    errno = ENODEV;
    return -1;
  }
  const uint8_t control = input_.byte();
  if (control >= 0xF0) {
    errno = error_of(control);
    return -1;
  }
  if (control >= 0xE0) {
    return POLLHUP;
  }
  return control >= 0xC0 ? short{0} : short{POLLIN};
}

// A piece of the stream: its length, then its bytes. No bytes are the end.
ssize_t FakeHost::receive(uint8_t* buffer, size_t size) {
  const auto piece = input_.take(std::min<size_t>(input_.word(), size));
  tell("receive " + std::to_string(piece.size()));
  std::ranges::copy(piece, buffer);
  return static_cast<ssize_t>(piece.size());
}

// "<PRI>Mmm dd hh:mm:ss IDENTITY[PID]: TEXT".
void FakeHost::keep_log(std::string_view datagram) {
  constexpr size_t kTimeSize = 16;
  require(datagram.size() <= kLogLineMax, "a log line is bounded");
  require(++done_ < kDoneMax, "there is an end to it");
  const size_t priority_end = datagram.find('>');
  const size_t identity = priority_end + 1 + kTimeSize;
  const size_t number = datagram.find('[', identity);
  const size_t text = datagram.find("]: ", number);
  require(datagram.starts_with('<') && text != std::string_view::npos, "a log line has its head");
  const int facility_and_priority = atoi(datagram.data() + 1);
  require((facility_and_priority & ~7) == 3 << 3, "a log line is a daemon's");
  log.push_back({facility_and_priority & 7,
                 std::string(datagram.substr(identity, number - identity)),
                 std::string(datagram.substr(text + 3))});
}
