// SPDX-License-Identifier: Apache-2.0
#include "bmc/channel.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/heap_buffer.h"
#include "base/text.h"
#include "log/log.h"
#include "wire/chif.h"
#include "wire/host_files.h"

namespace {

constexpr unsigned long kReadPacketRequest = 0x100;
constexpr int kSweeps = 5;
constexpr useconds_t kSweepPauseUs = 100'000;
constexpr useconds_t kPauseUs = 10'000;
constexpr int kAttempts = 10;

int g_last_opened = -1;

// The daemon's one long session takes from the top, the short queries from 4
// down, so that they seldom meet.
int first_channel(const char* name) {
  if (name == nullptr) {
    return host_files::kHighestQueryChannel;
  }
  return holds(name, "vbqd") ? 9 : host_files::kHighestChannel;
}

// Tries every channel once, from the first down to 0.
int sweep_channels(const char* name) {
  for (int channel = first_channel(name); channel >= 0; --channel) {
    std::array<char, 256> path = {};
    snprintf(path.data(), path.size(), "%s%d", host_files::kChannelNode, channel);
    // O_EXCL makes a channel its opener's alone: hence the walk to a free one.
    const int fd = open(path.data(), O_RDWR | O_EXCL | O_CLOEXEC);
    if (fd != -1) {
      g_last_opened = channel;
      if (name != nullptr) {
        UtilLog("[%s]: BMC device is %s\n", name, path.data());
      }
      return fd;
    }
  }
  return -1;
}

void copy_packet(const uint8_t* packet, std::span<uint8_t> destination) {
  const size_t copied = std::min(destination.size(), chif::kPacketMax);
  std::copy_n(packet, copied, destination.begin());
  std::fill(destination.begin() + static_cast<std::ptrdiff_t>(copied), destination.end(),
            uint8_t{0});
}

// Returns 0 when the request was written, or after ten EBUSY failures: the
// exchange then goes on to its read all the same (docs/oddities.md:
// read-after-ten-busy-writes).
int write_request(int fd, uint16_t command, std::span<const uint8_t> request) {
  for (int attempts_left = kAttempts; attempts_left > 0; --attempts_left) {
    DebugLog("utils: getResponse() write to mox retry [%d]...\n", attempts_left);
    if (write_channel(fd, request) >= 0) {
      return 0;
    }
    const int error = errno;
    if (error != EBUSY) {
      UtilLog("mox write failed, cmd [0x%x] errno [0x%x] [%s]\n", command,
              static_cast<unsigned>(error), strerror(error));
      return -1;
    }
    UtilLog("mox write failed, cmd [0x%x] errno [0x%x] [%s]. Retrying...\n", command,
            static_cast<unsigned>(error), strerror(error));
    usleep(kPauseUs);
  }
  return 0;
}

}  // namespace

int mox_chrdev(const char* name) {
  for (int sweep = 0; sweep < kSweeps; ++sweep) {
    const int fd = sweep_channels(name);
    if (fd != -1) {
      usleep(kPauseUs);
      return fd;
    }
    usleep(kSweepPauseUs);
  }
  UtilLog("mox_chrdev: Failed: no available Qel Mox channels\n");
  return -1;
}

int last_opened_channel() {
  return g_last_opened;
}

void close_channel(int fd) {
  if (fd != -1) {
    close(fd);
  }
}

int read_packet(int fd, uint8_t* packet) {
  return ioctl(fd, kReadPacketRequest, packet);
}

ssize_t write_channel(int fd, std::span<const uint8_t> packet) {
  return write(fd, packet.data(), packet.size());
}

// Reads go through a buffer of the driver's size: it fills in a whole packet,
// however little the caller asked for.
int readMP(int fd, std::span<uint8_t> destination) {
  const HeapBuffer packet = allocate_zeroed(chif::kPacketMax);
  if (packet == nullptr) {
    UtilLog("[tvud]: readMP(): malloc for tmpBuffer Failed.\n");
    return 0;
  }
  const int length = read_packet(fd, packet.get());
  copy_packet(packet.get(), destination);
  return length;
}

int readMPr(int fd, std::span<uint8_t> destination) {
  const HeapBuffer packet = allocate_zeroed(chif::kPacketMax);
  if (packet == nullptr) {
    UtilLog("readMPr(): malloc for tmpBuffer Failed.\n");
    return 0;
  }
  int length = 0;
  for (int attempts_left = kAttempts; attempts_left > 0; --attempts_left) {
    DebugLog("readMPr() read from mox retry [%d]...\n", attempts_left);
    length = read_packet(fd, packet.get());
    if (length > 0) {
      break;
    }
    const int error = errno;
    DebugLog("readMPr() bytes from read [%d] errno [0x%x] [%s]. Retrying...\n", length,
             static_cast<unsigned>(error), strerror(error));
    usleep(kPauseUs);
    errno = error;  // the caller reports that of the last read
  }
  copy_packet(packet.get(), destination);
  return length;
}

int getResponse(int fd, uint16_t command, std::span<uint8_t> request, std::span<uint8_t> response,
                int* received_length) {
  if (command != kCmdKeepHeader) {
    chif::put_header(request, static_cast<uint16_t>(request.size()), chif::kSeqnoUtility, command,
                     chif::kSvcUtility);
  }
  if (write_request(fd, command, request) != 0) {
    return -1;
  }
  usleep(kPauseUs);
  DebugLog("utils: getResponse() read from mox...\n");
  const int length = readMPr(fd, response);
  if (length < 0) {
    // errno in the place of the command, as in every release: who reads these
    // lines knows them so (docs/oddities.md: errno-in-place-of-the-command).
    UtilLog("mox ioctl Read failed, cmd [0x%x]\n", static_cast<unsigned>(errno));
    return -1;
  }
  // A length of 0, after ten empty reads, is a success too (docs/oddities.md:
  // empty-answer-is-success).
  if (received_length != nullptr) {
    *received_length = length;
  }
  return 0;
}
