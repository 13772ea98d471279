// SPDX-License-Identifier: Apache-2.0
#include "daemon/bmc_dispatch.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <span>

#include "base/heap_buffer.h"
#include "bmc/channel.h"
#include "daemon/control_files.h"
#include "daemon/packet_dump.h"
#include "daemon/reverse_proxy.h"
#include "daemon/shutdown_action.h"
#include "daemon/signals.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "trap/trap_sender.h"
#include "wire/agentx.h"
#include "wire/chif.h"

int32_t bmc_read_error = 0;

namespace {

constexpr unsigned kBusyPauseUs = 1'000;
// How many tries pass between two looks at the stop file.
constexpr int kLookEvery = 250;

// A packet as it was read. Zeros follow what was received, and one zero follows
// the whole buffer, so that a text that fills it still ends.
struct Packet {
  std::span<uint8_t> bytes;  // chif::kPacketMax
  int received;
};

const char* text_at(const Packet& packet, size_t offset) {
  return reinterpret_cast<const char*>(packet.bytes.data() + offset);
}

// Without an end while the device is busy, but for that of the daemon, and given
// up in silence on any other error (docs/oddities.md: acknowledgement-without-end,
// acknowledgement-lost).
void acknowledge(int fd, std::span<const uint8_t> packet) {
  int tries = 0;
  while (write_channel(fd, packet) < 0 && errno == EBUSY) {
    tries = (tries + 1) % kLookEvery;
    // What ends the wait is left for the loop to see again.
    if ((tries == 0 && bmcstop_requested() != 0) || !pause_microseconds(kBusyPauseUs)) {
      break;
    }
  }
  errno = 0;
}

void handle_hello_response(const Packet& packet) {
  DaemonDebug("Received HELLO_RESPONSE [0x%04x].\n", get_u16(packet.bytes, chif::header::kCmdno));
  errno = static_cast<int>(get_u32(packet.bytes, chif::session_reply::kErrcode));
  if (errno != 0) {
    Log(LOG_ERR, "bmc_recv ERROR: errno is [0x%x]", static_cast<unsigned>(errno));
  }
}

void handle_log_packet(int fd, const Packet& packet) {
  DaemonDebug("case CHIF_IML_LOG: Received log packet [0x%04x].\n", chif::kCmdImlLog);
  dump_chif(packet.bytes);
  // A length beyond the buffer writes nothing: the zero behind it ends the text.
  put_u8(packet.bytes, chif::log_text::kText + get_u16(packet.bytes, chif::log_text::kLength), 0);
  // Straight to the system log: Log would cut the text at 511 characters and
  // expand its percent signs.
  log_as_program(LOG_ALERT, "%s", text_at(packet, chif::log_text::kText));

  // Numbered by our own count, unlike the acknowledgement of a shutdown.
  const std::span<uint8_t> ack = packet.bytes.first(chif::log_ack::kSize);
  std::fill(ack.begin(), ack.end(), uint8_t{0});
  chif::put_header(ack, chif::log_ack::kSize, static_cast<uint16_t>(chif_seqno & 0xFFFF),
                   chif::kCmdImlLogAck, chif::kSvcProxy);
  ++chif_seqno;
  acknowledge(fd, ack);
}

// Announces the request and starts, or aborts, its timer. The announcement looks
// at bits of the action, the timer at the whole word (docs/oddities.md:
// any-action-reboots).
void carry_out_shutdown(uint32_t action, int32_t delay, const char* reason) {
  if ((action & chif::shutdown::kReboot) != 0) {
    shutdown_aborted = 0;
    log_as_program(LOG_ALERT, "System will reboot in %d seconds due to %s.\n", delay, reason);
  } else if ((action & chif::shutdown::kAbort) != 0) {
    log_as_program(LOG_INFO, "Shutdown due to %s has been Aborted.\n", reason);
    shutdown_aborted = 1;
    abort_shutdown();
  } else {
    shutdown_aborted = 0;
    log_as_program(LOG_ALERT, "System will shutdown in %d seconds due to %s.\n", delay, reason);
  }
  if (shutdown_aborted == 0) {
    do_shutdown(action, delay, reason);
  }
}

void acknowledge_shutdown(int fd, const Packet& packet) {
  const uint32_t next = get_u16(packet.bytes, chif::header::kSeqno) + 1U;
  const std::span<uint8_t> ack = packet.bytes.first(chif::shutdown_ack::kSize);
  chif::put_header(ack, chif::shutdown_ack::kSize, static_cast<uint16_t>(next & 0xFFFF),
                   chif::kCmdShutdownAck, chif::kSvcProxy);
  put_u32(ack, chif::shutdown_ack::kZeros, 0);  // the action stood there
  chif_seqno = (next & 0xFFFF) + 1;             // the BMC's numbering wins over ours
  dump_chif(packet.bytes);
  if (g_chif_dump_flag != 0) {
    // For who runs the daemon by hand; the dump itself goes to the system log.
    fputs("BMC_SEND:  ", stderr);
    dump_chif(packet.bytes);
  }
  acknowledge(fd, ack);
}

void handle_shutdown(int fd, const Packet& packet) {
  DaemonDebug("case CHIF_SHUTDOWN: Received log packet [0x%04x].\n", chif::kCmdShutdown);
  const uint32_t action = get_u32(packet.bytes, chif::shutdown::kAction);
  const auto delay = static_cast<int32_t>(get_u32(packet.bytes, chif::shutdown::kDelay));
  const char* reason = text_at(packet, chif::shutdown::kReason);
  dump_chif(packet.bytes);
  DaemonDebug("Shutdown received: action [0x%x] delay [%d] reason [%s].\n", action, delay, reason);
  carry_out_shutdown(action, delay, reason);
  acknowledge_shutdown(fd, packet);
}

void log_status(int status) {
  errno = status;
  Log(LOG_ERR, "bmc_recv ERROR: errno is [0x%x]", static_cast<unsigned>(status));
}

int return_success(int received) {
  DaemonDebug("proxy_bmc bmc_recv() error: Received %d bytes from BMC.  Return Success.\n",
              received);
  return 0;
}

// Checks the sizes that an AgentX packet states against what was received.
bool sizes_are_sound(const Packet& packet) {
  const int pktsize = get_u16(packet.bytes, chif::header::kPktsize);
  if (pktsize > packet.received) {
    DaemonDebug("bmc_recv ERROR: pktsize [%d] grtr rc [%d]", pktsize, packet.received);
    log_status(EAGAIN);
    return false;
  }
  const uint32_t length = get_u32(packet.bytes, chif::notification::kAgentxRespLen);
  if (length > chif::notification::kPduMax || length > static_cast<uint32_t>(packet.received)) {
    Log(LOG_ERR, "bmc_recv(): agentx_resp_len %d > expected: size=%d, rc=%d",
        static_cast<int>(length), static_cast<int>(chif::notification::kPduMax), packet.received);
    log_status(EMSGSIZE);
    return false;
  }
  return true;
}

int relay(std::span<const uint8_t> notification) {
  DaemonDebug("sending %d bytes\n", static_cast<int>(notification.size()));
  const int result = send_trap_to_host(notification);
  // The trap sender never fails today: a receiver that cannot be reached is its
  // own affair.
  if (result < 0) {
    DaemonDebug(" proxy_bmc_trap send trap() error.  Return -1.\n");
    return -1;
  }
  if (result == 1) {
    DaemonDebug(" proxy_bmc_trap send trap() returns Mox reset trap recvd.\n");
    return 1;
  }
  return 0;
}

// status is the error number of a status packet, else 0.
int handle_agentx(const Packet& packet, int status) {
  errno = status;
  DaemonDebug("Received packet [0x%04x]... errno [%d]\n",
              get_u16(packet.bytes, chif::header::kCmdno), errno);
  if (!sizes_are_sound(packet)) {
    return 0;
  }
  const size_t length = get_u32(packet.bytes, chif::notification::kAgentxRespLen);
  DaemonDebug("bmc_recv: memcpy recvd data to buf len [%d]. . .  errno [%d]\n",
              static_cast<int>(length), errno);
  const std::span<const uint8_t> pdu = packet.bytes.subspan(chif::notification::kPdu, length);
  if (g_agentx_dump_flag != 0) {
    DaemonDebug("BMC_RECV AgentX packet\n");
    dump_agentx(pdu);
  }
  // Only now: a failed packet's sizes are checked and its header dumped too.
  if (status != 0) {
    log_status(status);
    return 0;
  }
  if (length < 1 || get_u8(pdu, agentx::header::kType) != agentx::kNotify) {
    return return_success(packet.received);
  }
  return relay(pdu);
}

int dispatch(int fd, const Packet& packet) {
  switch (get_u16(packet.bytes, chif::header::kCmdno)) {
    case chif::kCmdHelloShortResponse:
    case chif::kCmdHelloResponse:
      handle_hello_response(packet);
      return 0;
    case chif::kCmdImlLog:
      handle_log_packet(fd, packet);
      return 0;
    case chif::kCmdShutdown:
      handle_shutdown(fd, packet);
      return 0;
    case chif::kCmdStatus:
    case chif::kCmdStatusShortResponse:
    case chif::kCmdStatusResponse:
      return handle_agentx(packet,
                           static_cast<int>(get_u32(packet.bytes, chif::notification::kErrcode)));
    default:
      return handle_agentx(packet, 0);
  }
}

void dump_received(const Packet& packet) {
  if (g_chif_dump_flag != 0) {
    DaemonDebug("BMC_RECV CHIF:  ");
    dump_chif(packet.bytes);
  }
}

bool length_is_sound(int length) {
  return length > static_cast<int>(chif::kBodyStart) &&
         length <= static_cast<int>(chif::kPacketMax);
}

}  // namespace

int bmc_recv(int fd) {
  DaemonDebug("rev mode: proxy_bmc_trap\n");
  DaemonDebug("bmc_recv: start.  fd [%d] errno [%d]\n", fd, errno);
  errno = 0;
  bmc_read_error = 0;
  if (fd < 0) {
    return return_success(0);
  }
  // One byte more than any packet, for the zero behind a text that fills it.
  const HeapBuffer buffer = allocate_zeroed(chif::kPacketMax + 1);
  if (buffer == nullptr) {
    Log(LOG_ERR, "bmc_recv(): Failed: malloc for recv_pkt.\n");
    bmc_read_error = ENOMEM;
    return 0;
  }
  const std::span<uint8_t> bytes(buffer.get(), chif::kPacketMax);
  const Packet packet = {.bytes = bytes, .received = read_packet(fd, bytes.data())};
  if (packet.received < 1) {
    bmc_read_error = packet.received < 0 ? errno : ENODATA;
    DaemonDebug("bmc_recv ERROR: readMP() returns rc [%d]", packet.received);
    return 0;
  }
  DaemonDebug("bmc_recv: Received %d bytes . . .  errno [%d]\n", packet.received, errno);
  if (!length_is_sound(packet.received)) {
    DaemonDebug("zemox return rc <= 16 [%d]. pktcmdno [0x%x].  Setting rc to 0...", packet.received,
                get_u16(bytes, chif::header::kCmdno));
    dump_received(packet);
    return 0;
  }
  dump_received(packet);
  return dispatch(fd, packet);
}
