// SPDX-License-Identifier: Apache-2.0
#include "daemon/handshake.h"

#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>

#include "bmc/channel.h"
#include "daemon/packet_dump.h"
#include "daemon/reverse_proxy.h"
#include "daemon/session_request.h"
#include "daemon/signals.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "wire/chif.h"

namespace {

constexpr useconds_t kWritePauseUs = 10'000;
constexpr int kReplyTimeoutMs = 10'000;

using Request = std::array<uint8_t, chif::session_request::kLongSize>;
using Reply = std::array<uint8_t, chif::session_reply::kMax>;

// Hello and connect are one exchange with other words, and another shortest
// reply.
enum class Greeting { kHello, kConnect };

int shortest_reply(Greeting greeting) {
  return greeting == Greeting::kHello ? 17 : 16;
}

const char* waiting_text(Greeting greeting) {
  return greeting == Greeting::kHello ? "waiting on Mox reverse mode response\n"
                                      : "waiting on Mox TVU_HELLO_CONNECT response\n";
}

// Each message stands here whole, so that it can be searched for as it is read
// in the log.

void log_write_failure(Greeting greeting, int error) {
  if (greeting == Greeting::kHello) {
    Log(LOG_ERR, "do_hello_rev(): Failed: Writing ZEMOX TVU_HELLO errno =%d\n", error);
  } else {
    Log(LOG_ERR, "do_connect_rev(): Failed: Writing ZEMOX TVU_HELLO_CONNECT errno =%d\n", error);
  }
}

void log_poll_failure(Greeting greeting, int error) {
  if (greeting == Greeting::kHello) {
    Log(LOG_ERR, "do_hello_rev(): Failed: poll() error=%d\n", error);
  } else {
    Log(LOG_ERR, "do_connect_rev(): Failed: poll() error=%d\n", error);
  }
}

void log_read_failure(Greeting greeting, int error) {
  if (greeting == Greeting::kHello) {
    Log(LOG_ERR, "do_hello_rev(): Failed: read() error=%d\n", error);
  } else {
    Log(LOG_ERR, "do_connect_rev(): Failed: read() error=%d\n", error);
  }
}

void log_short_reply(Greeting greeting, int length) {
  if (greeting == Greeting::kHello) {
    Log(LOG_ERR, "do_hello_rev(): Failed: TVU_HELLO_REV response read() < len %d\n", length);
  } else {
    Log(LOG_ERR, "do_connect_rev(): Failed: TVU_HELLO_CONNECT response read()< len %d\n", length);
  }
}

void log_errcode(Greeting greeting, int errcode) {
  if (greeting == Greeting::kHello) {
    Log(LOG_ERR, "do_hello_rev(): Failed: read()<errcode error=%d\n", errcode);
  } else {
    Log(LOG_ERR, "do_connect_rev(): Failed: read()<errcode error=%d\n", errcode);
  }
}

bool send_request(int fd, Greeting greeting, const Request& request) {
  for (int attempt = 0; attempt < chif_retry_count; ++attempt) {
    const ssize_t written = write_channel(fd, request);
    const int error = errno;
    usleep(kWritePauseUs);  // in every case: the device gets its time before whatever comes
    if (written == static_cast<ssize_t>(request.size())) {
      return true;
    }
    log_write_failure(greeting, error);
    if (error != EBUSY) {
      return false;
    }
  }
  return false;
}

// What one poll for a reply came to.
enum class Wait { kFailed, kNothing, kReply };

Wait wait_for_reply(int fd, Greeting greeting, Reply& reply) {
  if (g_chif_dump_flag != 0 || g_agentx_dump_flag != 0) {
    fputs(waiting_text(greeting), stderr);
  }
  pollfd entry = {.fd = fd, .events = POLLIN, .revents = 0};
  const int ready = wait_for(entry, kReplyTimeoutMs);
  if (ready == 0 || (ready < 0 && errno == EINTR)) {
    return Wait::kNothing;
  }
  if (ready < 0) {
    log_poll_failure(greeting, errno);
    return Wait::kFailed;
  }
  if (g_chif_dump_flag != 0) {
    fprintf(stderr, "going to read = %d\n", static_cast<int>(chif::session_reply::kMax));
  }
  if ((entry.revents & POLLIN) == 0) {
    return Wait::kNothing;
  }
  const int length = readMP(fd, reply);
  if (length < 0) {
    log_read_failure(greeting, errno);
    return Wait::kFailed;
  }
  if (g_chif_dump_flag != 0) {
    fprintf(stderr, "read = %d idx=%d more =%d\n", length,
            get_u16(reply, chif::session_reply::kIdx), get_u16(reply, chif::session_reply::kMore));
    dump_chif(reply);
  }
  if (length < shortest_reply(greeting)) {
    dump_chif(reply);  // again (docs/oddities.md: short-reply-dumped-twice)
    log_short_reply(greeting, length);
    return Wait::kFailed;
  }
  const uint32_t errcode = get_u32(reply, chif::session_reply::kErrcode);
  if (errcode != 0) {
    log_errcode(greeting, static_cast<int>(errcode));
    return Wait::kFailed;
  }
  return Wait::kReply;
}

// Compared without a wrap at 16 bits, although a reply has no more: from 65,536
// on no reply fits (docs/oddities.md: hello-number-of-32-bits). Neither command
// nor service is looked at (docs/oddities.md: notification-during-hello).
bool answers(const Reply& reply, uint32_t seqno) {
  const uint64_t answered = get_u16(reply, chif::header::kSeqno);
  return answered >= seqno && answered <= uint64_t{seqno} + 2;
}

int receive_reply(int fd, Greeting greeting, uint32_t seqno) {
  bool more = false;
  int polls_left = chif_retry_count;
  while (!end_signalled()) {
    if (polls_left == 0) {
      // A BMC that keeps silent counts as greeted: it may send all the same
      // (docs/oddities.md: silent-bmc-is-greeted).
      if (!more) {
        return 0;
      }
      polls_left = chif_retry_count;
    }
    Reply reply = {};
    const Wait wait = wait_for_reply(fd, greeting, reply);
    if (wait == Wait::kFailed) {
      return -1;
    }
    --polls_left;
    if (wait == Wait::kNothing) {
      continue;
    }
    more = get_u16(reply, chif::session_reply::kMore) != 0;
    if (answers(reply, seqno)) {
      if (!more) {
        return 0;
      }
      polls_left = chif_retry_count;
    }
  }
  return -1;
}

int greet(int fd, Greeting greeting, const Request& request, uint32_t seqno) {
  return send_request(fd, greeting, request) ? receive_reply(fd, greeting, seqno) : -1;
}

}  // namespace

void bmc_init() {
  if (bmc_fd == -1) {
    bmc_fd = mox_chrdev("tvud");
  }
}

int do_hello_rev(int fd) {
  const uint32_t seqno =
      chif_seqno++;  // spent even if this fails: a late reply must not fit the next
  Request request = {};
  build_long_request(request, static_cast<uint16_t>(seqno & 0xFFFF), chif::session_request::kHello,
                     0);
  return greet(fd, Greeting::kHello, request, seqno);
}

int do_connect_rev(int fd, uint32_t param) {
  Request request = {};
  build_long_request(request, 0, chif::session_request::kConnect, param);
  return greet(fd, Greeting::kConnect, request, 0);
}
