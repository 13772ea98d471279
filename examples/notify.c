// SPDX-License-Identifier: Apache-2.0
// A host agent in one file: hands notifications over to tvurev, which sends each
// as an SNMPv1 trap. Needs the C library only: cc -O2 -o notify notify.c.
// docs/agents.md says what is done here, and why.
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

static const char kRunningFile[] = "/opt/ortdv/tmp/tvurevrunning.text";
static const char kSocket[] = "/opt/ortdv/sockets/agentx/tvud";
static const char kUsage[] =
    "Usage: notify [--count N] [--wait SECONDS] [TEXT]\n\n"
    "Hands N notifications (default: 1) with a running number and TEXT over to tvurev.\n"
    "  --wait SECONDS  how long to look for tvurev before giving up (default: 60)\n"
    "Exits with 0 when tvurev has read them all, 1 when not, 2 when the options are wrong.\n";

enum { kPduMax = 4080, kHeaderSize = 20, kNotify = 12 };
enum { kInteger = 2, kOctetString = 4, kObjectId = 6, kTimeTicks = 67 };

typedef struct {
  uint8_t bytes[kPduMax];
  size_t size;
} Pdu;

static void put_u8(Pdu* pdu, unsigned value) {
  pdu->bytes[pdu->size++] = (uint8_t)value;
}

// Every field is little-endian, on every machine.
static void put_u32(Pdu* pdu, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) put_u8(pdu, value >> shift & 0xFF);
}

// An object identifier as it travels: 1.3.6.1.PREFIX and then count numbers.
static void put_oid(Pdu* pdu, unsigned prefix, const uint32_t* numbers, unsigned count) {
  put_u32(pdu, count | prefix << 8);
  for (unsigned i = 0; i < count; ++i) put_u32(pdu, numbers[i]);
}

static void put_octets(Pdu* pdu, const char* text) {
  const size_t length = strlen(text);
  put_u32(pdu, (uint32_t)length);
  for (size_t i = 0; i < length || i % 4 != 0; ++i) put_u8(pdu, i < length ? (uint8_t)text[i] : 0);
}

// A fan has failed: the numbers are from the range for documentation.
static void build(Pdu* pdu, uint32_t uptime, uint32_t number, const char* text) {
  static const uint32_t kSysUpTime[] = {1, 1, 3, 0}, kSnmpTrapOid[] = {3, 1, 1, 4, 1, 0};
  static const uint32_t kFanFailed[] = {1, 32473, 1, 0, 3};
  static const uint32_t kNumber[] = {1, 32473, 1, 1, 1, 0}, kText[] = {1, 32473, 1, 1, 2, 0};
  memset(pdu, 0, sizeof *pdu);
  pdu->bytes[0] = 1;  // the version of AgentX
  pdu->bytes[1] = kNotify;
  pdu->size = kHeaderSize;
  put_u32(pdu, kTimeTicks);
  put_oid(pdu, 2, kSysUpTime, 4);
  put_u32(pdu, uptime);
  put_u32(pdu, kObjectId);
  put_oid(pdu, 6, kSnmpTrapOid, 6);
  put_oid(pdu, 4, kFanFailed, 5);
  put_u32(pdu, kInteger);
  put_oid(pdu, 4, kNumber, 6);
  put_u32(pdu, number);
  put_u32(pdu, kOctetString);
  put_oid(pdu, 4, kText, 6);
  put_octets(pdu, text);
  const size_t end = pdu->size;
  pdu->size = kHeaderSize - 4;  // where the header says how many bytes follow it
  put_u32(pdu, (uint32_t)(end - kHeaderSize));
  pdu->size = end;
}

static void pause_for(long nanoseconds) {
  nanosleep(&(struct timespec){nanoseconds / 1000000000, nanoseconds % 1000000000}, NULL);
}

// Connects once tvurev says that it takes a client; -1 with a message when it
// does not in time. The running file is away for 30 seconds after a hang-up.
static int connect_to_tvurev(long wait_seconds) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  struct stat ignored;
  memcpy(address.sun_path, kSocket, sizeof kSocket);
  for (long second = 0;; ++second) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const char* refused_by = stat(kRunningFile, &ignored) != 0 ? kRunningFile : kSocket;
    if (refused_by == kSocket && connect(fd, (struct sockaddr*)&address, sizeof address) == 0)
      return fd;
    const int error = errno;
    close(fd);
    if (second == 0 || second >= wait_seconds)
      fprintf(stderr, "notify: tvurev takes no client (%s: %s)%s\n", refused_by, strerror(error),
              second < wait_seconds ? "; waiting" : "");
    if (second >= wait_seconds) return -1;
    pause_for(1000000000);
  }
}

// Writes one notification, with one call. The descriptor that goes with it is for
// nobody: behind it Linux ends the receive that takes this notification, so that
// the next one is never taken with it.
static int send_alone(int fd, Pdu* pdu) {
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  struct iovec part = {.iov_base = pdu->bytes, .iov_len = pdu->size};
  union {
    struct cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
  } control = {.header = {CMSG_LEN(sizeof nothing), SOL_SOCKET, SCM_RIGHTS}};
  memcpy(CMSG_DATA(&control.header), &nothing, sizeof nothing);
  const struct msghdr message = {.msg_iov = &part,
                                 .msg_iovlen = 1,
                                 .msg_control = control.bytes,
                                 .msg_controllen = sizeof control.bytes};
  const ssize_t sent = sendmsg(fd, &message, MSG_NOSIGNAL);
  close(nothing);
  return sent == (ssize_t)pdu->size;
}

// Hands one over and waits until tvurev has read it. 0 when it hung up instead: it
// has not read it then.
static int hand_over(int fd, Pdu* pdu) {
  int unread = 1;
  int error = 0;
  socklen_t size = sizeof error;
  if (!send_alone(fd, pdu)) return 0;
  while (ioctl(fd, SIOCOUTQ, &unread) == 0 && unread > 0) pause_for(50000);
  // Nothing is unread either when tvurev's end was closed; the kernel tells.
  return getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

static int fail(int status, const char* what) {
  fprintf(stderr, "notify: %s\n", what);
  return status;
}

static long number_or_minus_one(const char* text) {
  char* end = NULL;
  const long number = text == NULL ? -1 : strtol(text, &end, 10);
  return end == NULL || end == text || *end != '\0' ? -1 : number;
}

int main(int argc, char** argv) {
  const char* text = "Fan 3 in the processor zone has failed";
  long count = 1, wait_seconds = 60;
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--help") == 0) return fputs(kUsage, stdout) == EOF;
    long* value = strcmp(argv[i], "--count") == 0  ? &count
                  : strcmp(argv[i], "--wait") == 0 ? &wait_seconds
                                                   : NULL;
    if (value == NULL && argv[i][0] == '-') return fail(2, "unknown option (see --help)");
    if (value == NULL)
      text = argv[i];
    else if ((*value = number_or_minus_one(argv[++i])) < 0)
      return fail(2, "not a number (see --help)");
  }
  if (strlen(text) > 255) return fail(2, "a text of more than 255 bytes");
  int fd = connect_to_tvurev(wait_seconds);
  for (long number = 1; fd != -1 && number <= count;) {
    struct timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    Pdu pdu;
    build(&pdu, (uint32_t)(now.tv_sec * 100 + now.tv_nsec / 10000000), (uint32_t)number, text);
    if (hand_over(fd, &pdu)) {
      ++number;
      continue;
    }
    fprintf(stderr, "notify: tvurev hung up before it read number %ld\n", number);
    close(fd);
    fd = connect_to_tvurev(wait_seconds);
  }
  return fd == -1;  // leaving hangs up
}
