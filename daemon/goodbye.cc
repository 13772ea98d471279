// SPDX-License-Identifier: Apache-2.0
// The goodbye of the handshake: unlike hello and connect it writes once, reads
// once and always closes the channel.

#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <span>

#include "base/heap_buffer.h"
#include "bmc/channel.h"
#include "daemon/handshake.h"
#include "daemon/reverse_proxy.h"
#include "daemon/session_request.h"
#include "daemon/signals.h"
#include "log/log.h"
#include "wire/chif.h"

namespace {

constexpr useconds_t kWritePauseUs = 1'000;
// A silent BMC holds a stop, or the next session, back for this long
// (docs/oddities.md: goodbye-waits-1000-seconds).
constexpr int kReplyTimeoutMs = 1'000'000;
// What is left of it when a signal is ending the daemon.
constexpr int kLastReplyTimeoutMs = 400;
constexpr uint16_t kShortByeValue = 4;  // only the BMC knows its meaning

std::span<uint8_t> build_bye(uint8_t* packet, bool long_form) {
  const std::span<uint8_t> request(
      packet, long_form ? chif::session_request::kLongSize : chif::session_request::kShortSize);
  if (long_form) {
    build_long_request(request, 0, chif::session_request::kBye, 0);
  } else {
    build_short_request(request, 0, chif::session_request::kBye, kShortByeValue);
  }
  return request;
}

// Writes the request once and returns the write's result; a short one is logged.
int send_bye(int fd, std::span<const uint8_t> request) {
  DaemonDebug("go_bye(): bmc_fc [%d] Writing SNMP_HELLO_BYE svc=%d pktlen=%d\n", fd,
              get_u16(request, chif::header::kSvc), static_cast<int>(request.size()));
  const int written = static_cast<int>(write_channel(fd, request));
  const int error = errno;  // before the pause, which may change it
  DaemonDebug("go_bye(): After mox write bytes=%d errno =%d\n", written, error);
  usleep(kWritePauseUs);
  if (written < static_cast<int>(request.size())) {
    Log(LOG_ERR, "go_bye(): Failed: Writing SNMP_HELLO_BYE send=%d errno =%d\n", written, error);
  }
  return written;
}

// Waits for the reply and checks it. No reply is a success.
int receive_bye(int fd, std::span<uint8_t> reply) {
  pollfd entry = {.fd = fd, .events = POLLIN, .revents = 0};
  const int ready = wait_for(entry, end_signalled() ? kLastReplyTimeoutMs : kReplyTimeoutMs);
  if (ready < 0 && errno != EINTR) {
    Log(LOG_ERR, "go_bye(): poll() errno=%d\n", errno);
    return -1;
  }
  if (ready <= 0 || (entry.revents & POLLIN) == 0) {
    return 0;
  }
  const int length = readMP(fd, reply);
  if (length < 0) {
    Log(LOG_ERR, "go_bye(): read() bytes=%d  errno=%d\n", length, errno);
    return -1;
  }
  // Even a reply without a fault ends here unless it fills the buffer
  // (docs/oddities.md: goodbye-wants-a-full-buffer).
  if (length < static_cast<int>(reply.size())) {
    Log(LOG_ERR, "go_bye(): read() bytes=%d < len=%d  errno=%d\n", length,
        static_cast<int>(reply.size()), errno);
    return -1;
  }
  const uint32_t errcode = get_u32(reply, chif::session_reply::kErrcode);
  if (errcode != 0) {
    Log(LOG_ERR, "go_bye(): read() returned rsp_pkt->err=%d  errno=%d\n", static_cast<int>(errcode),
        errno);
    return -1;
  }
  return 0;
}

int say_bye(int fd, bool long_form) {
  // On the heap, where an array would do: a goodbye without memory has its lines.
  const HeapBuffer request = allocate_zeroed(chif::session_request::kLongSize);
  if (request == nullptr) {
    Log(LOG_ERR, "go_bye(): Failed: malloc for send_pkt.\n");
    return -1;
  }
  const std::span<uint8_t> packet = build_bye(request.get(), long_form);
  const int written = send_bye(fd, packet);
  if (written < static_cast<int>(packet.size())) {
    return written;
  }
  const size_t reply_size =
      long_form ? chif::session_reply::kMax : chif::session_request::kShortSize;
  const HeapBuffer reply = allocate_zeroed(reply_size);
  if (reply == nullptr) {
    Log(LOG_ERR, "go_bye(): Failed: malloc for recv_pkt.\n");
    return -1;
  }
  return receive_bye(fd, {reply.get(), reply_size});
}

}  // namespace

int go_bye(int fd, int long_form) {
  const int result = say_bye(fd, long_form != 0);
  close_channel(fd);
  return result;
}
