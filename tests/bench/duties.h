/* SPDX-License-Identifier: Apache-2.0 */
/* What every program that relays a notification has to do before the first trap
 * is sent, in plain C and with nothing in between: wait, receive, decode, and
 * look at the stop file. Shared by floor.c and netsnmp_sessions.c, so that the
 * two differ in how they send and in nothing else.
 *
 * A decoded notification points into the packet that it was decoded from.
 * docs/protocol-agentx.md has the bytes; numbers are little-endian. */
#ifndef TVUREV_TESTS_BENCH_DUTIES_H_
#define TVUREV_TESTS_BENCH_DUTIES_H_

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

enum { kPacketSize = 4096, kReceiveMax = 4080, kMostBindings = 25, kOidTextSize = 256 };

enum value_type {
  kInteger = 2,
  kOctetString = 4,
  kObjectId = 6,
  kIpAddress = 64,
  kCounter32 = 65,
  kGauge32 = 66,
  kTimeTicks = 67,
  kOpaque = 68
};

/* 1.3.6.1, the prefix, and the sub-identifiers. */
struct name {
  uint8_t prefix;
  uint8_t count;
  const uint8_t* sub_ids; /* four bytes each */
};

struct binding {
  enum value_type type;
  struct name name;
  uint32_t number;       /* of the types with a 32-bit word */
  struct name object_id; /* of kObjectId */
  const uint8_t* bytes;  /* of kOctetString, kIpAddress and kOpaque */
  size_t length;         /* up to the first zero byte where the value is a text */
};

struct notification {
  struct name trap_oid;
  uint32_t uptime;
  struct binding bindings[kMostBindings];
  size_t count;
};

/* Waits up to a second and receives one packet, of at most kReceiveMax bytes,
 * into a zeroed buffer. Returns its length, 0 at the end of the stream, and -1
 * when nothing came. */
ssize_t receive_packet(int fd, uint8_t packet[kPacketSize]);

/* False when a length does not fit or a type is none of the above. */
bool decode_notification(const uint8_t* packet, size_t length, struct notification* notification);

/* One sub-identifier; one of more than six digits keeps its first six. */
uint32_t sub_id(const struct name* name, size_t position);

/* The dotted text, terminated. */
void write_oid_text(const struct name* name, char text[kOidTextSize]);

/* Whether the trap's number announces a reset of the BMC. */
bool announces_reset(const char* trap_oid_text);

/* Looks at the agent's stop file. */
bool stop_requested(void);

#endif /* TVUREV_TESTS_BENCH_DUTIES_H_ */
