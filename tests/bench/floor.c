/* SPDX-License-Identifier: Apache-2.0 */
/* The floor of the relay's cost: the least C that does what a relayed
 * notification demands. Nothing is kept from one notification to the next but
 * the process number and the log's date, which changes once a second. For each
 * notification:
 *
 *   poll, receive, decode                                        (duties.c)
 *   for each receiver
 *     a UDP socket
 *     one log message: a socket to /dev/log, connect, send, close
 *     the SNMPv1 trap: sent, and the socket closed
 *   one look at the stop file                                    (duties.c)
 *
 * usage: floor AGENT_ADDRESS RECEIVER... <STREAM_SOCKET
 *
 * Receivers are IPv4 addresses; the community is "public". Ends with 0 at the
 * end of the stream. The bench compares its traps and log lines with those of
 * tvurev, byte by byte. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#include "tests/bench/duties.h"

enum { kMessageSize = 8192, kMostReceivers = 3, kTrapPort = 162 };
static const char kCommunity[] = "public";

/* A message that is written from its end to its start, so that every length is
 * known when it is written. */
struct message {
  uint8_t bytes[kMessageSize];
  uint8_t* start;
};

static void put(struct message* message, uint32_t byte) {
  *--message->start = (uint8_t)byte;
}

static void put_bytes(struct message* message, const void* bytes, size_t length) {
  message->start -= length;
  memcpy(message->start, bytes, length);
}

/* The tag and length of what was written since end. */
static void put_header(struct message* message, uint8_t tag, const uint8_t* end) {
  const size_t length = (size_t)(end - message->start);
  put(message, (uint32_t)(length & 0xFF));
  if (length > 0xFF) {
    put(message, (uint32_t)(length >> 8));
    put(message, 0x82);
  } else if (length > 0x7F) {
    put(message, 0x81);
  }
  put(message, tag);
}

static void put_integer(struct message* message, int32_t value) {
  const uint8_t* end = message->start;
  do {
    put(message, (uint32_t)value & 0xFF);
    value >>= 8;
  } while (value != (*message->start & 0x80 ? -1 : 0));
  put_header(message, 0x02, end);
}

static void put_timeticks(struct message* message, uint32_t value) {
  const uint8_t* end = message->start;
  do {
    put(message, value & 0xFF);
    value >>= 8;
  } while (value > 0);
  if ((*message->start & 0x80) != 0) {
    put(message, 0);
  }
  put_header(message, 0x43, end);
}

static void put_arc(struct message* message, uint32_t arc) {
  put(message, arc & 0x7F);
  while ((arc >>= 7) > 0) {
    put(message, (arc & 0x7F) | 0x80);
  }
}

/* The first count sub-identifiers of a name. */
static void put_name(struct message* message, const struct name* name, size_t count) {
  static const uint8_t kInternet[] = {0x2B, 6, 1}; /* 1.3.6.1 */
  const uint8_t* end = message->start;
  while (count > 0) {
    put_arc(message, sub_id(name, --count));
  }
  put_arc(message, name->prefix);
  put_bytes(message, kInternet, sizeof kInternet);
  put_header(message, 0x06, end);
}

static void put_value(struct message* message, const struct binding* binding) {
  const uint8_t* end = message->start;
  switch (binding->type) {
    case kInteger:
    case kCounter32:
    case kGauge32: /* all three arrive as INTEGER */
      put_integer(message, (int32_t)binding->number);
      break;
    case kTimeTicks: /* arrive as 0 */
      put_timeticks(message, 0);
      break;
    case kObjectId:
      put_name(message, &binding->object_id, binding->object_id.count);
      break;
    case kIpAddress:
      put_bytes(message, binding->bytes, binding->length);
      put_header(message, 0x40, end);
      break;
    case kOctetString:
    case kOpaque:
      put_bytes(message, binding->bytes, binding->length);
      put_header(message, 0x04, end);
      break;
  }
}

/* generic-trap, specific-trap and enterprise of a trap OID (RFC 3584, 3.2). */
static void put_trap_identity(struct message* message, const struct name* trap_oid,
                              in_addr_t agent_address) {
  static const uint32_t kStandard[] = {3, 1, 1, 5};
  size_t enterprise = trap_oid->count > 0 ? (size_t)trap_oid->count - 1 : 0;
  const uint32_t last = trap_oid->count > 0 ? sub_id(trap_oid, enterprise) : 0;
  bool standard = trap_oid->prefix == 6 && enterprise == 4 && last >= 1 && last <= 6;
  for (size_t i = 0; standard && i < enterprise; ++i) {
    standard = sub_id(trap_oid, i) == kStandard[i];
  }
  put_integer(message, standard ? 0 : (int32_t)last);
  put_integer(message, standard ? (int32_t)last - 1 : 6);
  const uint8_t* end = message->start;
  put_bytes(message, &agent_address, sizeof agent_address);
  put_header(message, 0x40, end);
  if (!standard && enterprise > 0 && sub_id(trap_oid, enterprise - 1) == 0) {
    --enterprise;
  }
  put_name(message, trap_oid, enterprise);
}

/* The Trap-PDU, the same for every receiver, at the message's end. */
static void put_pdu(struct message* message, const struct notification* notification,
                    in_addr_t agent_address) {
  const uint8_t* end = message->bytes + kMessageSize;
  message->start = message->bytes + kMessageSize;
  for (size_t i = notification->count; i > 0; --i) {
    const struct binding* binding = &notification->bindings[i - 1];
    const uint8_t* binding_end = message->start;
    put_value(message, binding);
    put_name(message, &binding->name, binding->name.count);
    put_header(message, 0x30, binding_end);
  }
  put_header(message, 0x30, end);
  put_timeticks(message, notification->uptime);
  put_trap_identity(message, &notification->trap_oid, agent_address);
  put_header(message, 0xA4, end);
}

/* What stands before the PDU: version and the receiver's community. */
static void put_envelope(struct message* message, const char* community) {
  const uint8_t* end = message->start;
  put_bytes(message, community, strlen(community));
  put_header(message, 0x04, end);
  put_integer(message, 0);
  put_header(message, 0x30, message->bytes + kMessageSize);
}

/* One message: the log is opened and closed for it. */
static void log_sending(const char* trap_oid, const char* receiver) {
  static pid_t pid = 0;
  static time_t date_of = -1;
  static char date[32];
  const time_t now = time(NULL);
  if (now != date_of) {
    struct tm local;
    strftime(date, sizeof date, "%b %e %T", localtime_r(&now, &local));
    date_of = now;
  }
  pid = pid != 0 ? pid : getpid();
  char line[512];
  const int length =
      snprintf(line, sizeof line, "<30>%s ortdv[%d]: tvurev: Sending trap [%s] to dest [%s] ...\n",
               date, (int)pid, trap_oid, receiver);
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  const struct sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/dev/log"};
  if (connect(log, (const struct sockaddr*)&address, sizeof address) == 0) {
    send(log, line, (size_t)length, MSG_NOSIGNAL);
  }
  close(log);
}

static void send_to(const char* receiver, in_addr_t address, const char* trap_oid,
                    struct message* message) {
  const struct sockaddr_in destination = {
      .sin_family = AF_INET, .sin_port = htons(kTrapPort), .sin_addr = {address}};
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  log_sending(trap_oid, receiver);
  uint8_t* const pdu = message->start;
  put_envelope(message, kCommunity);
  sendto(fd, message->start, (size_t)(message->bytes + kMessageSize - message->start), 0,
         (const struct sockaddr*)&destination, sizeof destination);
  message->start = pdu;
  close(fd);
}

int main(int argc, char** argv) {
  if (argc < 3 || argc > 2 + kMostReceivers) {
    fputs("usage: floor AGENT_ADDRESS RECEIVER... <STREAM_SOCKET\n", stderr);
    return 2;
  }
  const in_addr_t agent_address = inet_addr(argv[1]);
  in_addr_t receivers[kMostReceivers];
  for (int i = 2; i < argc; ++i) {
    receivers[i - 2] = inet_addr(argv[i]);
  }
  for (;;) {
    uint8_t packet[kPacketSize];
    const ssize_t length = receive_packet(STDIN_FILENO, packet);
    if (length == 0) {
      return 0;
    }
    struct notification notification;
    if (length > 0 && decode_notification(packet, (size_t)length, &notification)) {
      char trap_oid[kOidTextSize];
      write_oid_text(&notification.trap_oid, trap_oid);
      static struct message message;
      put_pdu(&message, &notification, agent_address);
      for (int i = 2; i < argc; ++i) {
        send_to(argv[i], receivers[i - 2], trap_oid, &message);
      }
      if (announces_reset(trap_oid)) {
        return 0; /* a daemon would greet its BMC anew; there is none here */
      }
    }
    if (stop_requested()) {
      return 1;
    }
  }
}
