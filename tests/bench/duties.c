/* SPDX-License-Identifier: Apache-2.0 */
#define _GNU_SOURCE
#include "tests/bench/duties.h"

#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>

static const size_t kHeaderSize = 20;
static const size_t kBindingHeaderSize = 8;

static uint32_t word_at(const uint8_t* bytes) {
  return (uint32_t)bytes[0] | (uint32_t)bytes[1] << 8 | (uint32_t)bytes[2] << 16 |
         (uint32_t)bytes[3] << 24;
}

ssize_t receive_packet(int fd, uint8_t packet[kPacketSize]) {
  struct pollfd entry = {fd, POLLIN, 0};
  poll(&entry, 1, 1000);
  if ((entry.revents & (POLLIN | POLLHUP)) == 0) {
    return -1;
  }
  memset(packet, 0, kPacketSize);
  return recv(fd, packet, kReceiveMax, 0);
}

uint32_t sub_id(const struct name* name, size_t position) {
  uint32_t value = word_at(name->sub_ids + 4 * position);
  while (value > 999999) {
    value /= 10;
  }
  return value;
}

/* Whether a name is 1.3.6.1, this prefix, and these numbers first. */
static bool begins_with(const struct name* name, uint8_t prefix, const uint32_t* numbers,
                        size_t count) {
  if (name->prefix != prefix || name->count < count) {
    return false;
  }
  for (size_t i = 0; i < count; ++i) {
    if (word_at(name->sub_ids + 4 * i) != numbers[i]) {
      return false;
    }
  }
  return true;
}

/* Sorts a binding: what steers the trap goes into its own field. */
static void take_binding(struct notification* notification, const struct binding* binding) {
  static const uint32_t kUptime[] = {1, 1, 3};
  static const uint32_t kTrapOid[] = {3, 1, 1, 4, 1};
  static const uint32_t kCommunity[] = {3, 18, 1, 4};
  if (begins_with(&binding->name, 2, kUptime, 3)) {
    notification->uptime = binding->number;
  } else if (begins_with(&binding->name, 6, kTrapOid, 5)) {
    notification->trap_oid = binding->object_id;
  } else if (!begins_with(&binding->name, 6, kCommunity, 4) &&
             notification->count < kMostBindings) {
    notification->bindings[notification->count++] = *binding;
  }
}

/* Reads the value of a binding, which begins at offset. Returns the binding's
 * whole length, 0 when it does not fit. */
static size_t read_value(struct binding* binding, const uint8_t* bytes, size_t offset,
                         size_t left) {
  if (left < offset + 4) {
    return 0;
  }
  const uint8_t* value = bytes + offset;
  size_t used = offset + 4;
  switch (binding->type) {
    case kInteger:
    case kCounter32:
    case kGauge32:
    case kTimeTicks:
      binding->number = word_at(value);
      return used;
    case kObjectId:
      binding->object_id = (struct name){value[1], value[0], value + 4};
      used += (size_t)4 * value[0];
      return used <= left ? used : 0;
    case kOctetString:
    case kIpAddress:
    case kOpaque:
      binding->length = word_at(value);
      binding->bytes = value + 4;
      if (binding->length > left - used) {
        return 0;
      }
      used += (binding->length + 3) / 4 * 4;
      if (binding->type != kIpAddress) {
        binding->length = strnlen((const char*)binding->bytes, binding->length);
      }
      return used <= left ? used : 0;
    default:
      return 0;
  }
}

bool decode_notification(const uint8_t* packet, size_t length, struct notification* notification) {
  notification->trap_oid = (struct name){0, 0, NULL};
  notification->uptime = 0;
  notification->count = 0;
  if (length < kHeaderSize || word_at(packet + 16) > length - kHeaderSize) {
    return false;
  }
  const uint8_t* cursor = packet + kHeaderSize;
  const uint8_t* end = cursor + word_at(packet + 16);
  while (cursor < end) {
    const size_t left = (size_t)(end - cursor);
    if (left < kBindingHeaderSize) {
      return false;
    }
    struct binding binding = {.type = (enum value_type)(cursor[0] | cursor[1] << 8),
                              .name = {cursor[5], cursor[4], cursor + kBindingHeaderSize}};
    const size_t used =
        read_value(&binding, cursor, kBindingHeaderSize + (size_t)4 * cursor[4], left);
    if (used == 0) {
      return false;
    }
    take_binding(notification, &binding);
    cursor += used;
  }
  return true;
}

static char* append_number(char* end, uint32_t number) {
  char digits[10];
  int count = 0;
  do {
    digits[count++] = (char)('0' + number % 10);
    number /= 10;
  } while (number > 0);
  *end++ = '.';
  while (count > 0) {
    *end++ = digits[--count];
  }
  return end;
}

void write_oid_text(const struct name* name, char text[kOidTextSize]) {
  char* end = stpcpy(text, "1.3.6.1");
  end = append_number(end, name->prefix);
  for (size_t i = 0; i < name->count && end - text < kOidTextSize - 8; ++i) {
    end = append_number(end, sub_id(name, i));
  }
  *end = '\0';
}

bool announces_reset(const char* trap_oid_text) {
  return strstr(trap_oid_text, "6061") != NULL;
}

bool stop_requested(void) {
  struct stat ignored;
  return stat("/opt/ortdv/tmp/tvurevortstop.text", &ignored) == 0;
}
