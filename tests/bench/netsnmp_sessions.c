/* SPDX-License-Identifier: Apache-2.0 */
/* The same duties as floor.c, sent through Net-SNMP's session layer and logged
 * through the C library: for each receiver one session opened, one log message
 * opened and closed, one trap sent, the session closed. It shows what the plain
 * use of that library costs.
 *
 * usage: netsnmp_sessions AGENT_ADDRESS RECEIVER... <STREAM_SOCKET */
#define _GNU_SOURCE
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include "tests/bench/duties.h"

static size_t arcs_of(const struct name* name, oid arcs[MAX_OID_LEN]) {
  static const oid kInternet[] = {1, 3, 6, 1};
  memcpy(arcs, kInternet, sizeof kInternet);
  arcs[4] = name->prefix;
  size_t count = 5;
  for (size_t i = 0; i < name->count && count < MAX_OID_LEN; ++i) {
    arcs[count++] = sub_id(name, i);
  }
  return count;
}

static void add_binding(netsnmp_pdu* pdu, const struct binding* binding) {
  oid name[MAX_OID_LEN];
  oid value[MAX_OID_LEN];
  const size_t name_length = arcs_of(&binding->name, name);
  const long number = (int32_t)binding->number;
  const unsigned long zero = 0;
  switch (binding->type) {
    case kInteger:
    case kCounter32:
    case kGauge32:
      snmp_pdu_add_variable(pdu, name, name_length, ASN_INTEGER, &number, sizeof number);
      break;
    case kTimeTicks:
      snmp_pdu_add_variable(pdu, name, name_length, ASN_TIMETICKS, &zero, sizeof zero);
      break;
    case kObjectId:
      snmp_pdu_add_variable(pdu, name, name_length, ASN_OBJECT_ID, value,
                            arcs_of(&binding->object_id, value) * sizeof(oid));
      break;
    case kIpAddress:
      snmp_pdu_add_variable(pdu, name, name_length, ASN_IPADDRESS, binding->bytes, binding->length);
      break;
    case kOctetString:
    case kOpaque:
      snmp_pdu_add_variable(pdu, name, name_length, ASN_OCTET_STR, binding->bytes, binding->length);
      break;
  }
}

/* Only enterprise-specific traps; the bench sends no other. */
static netsnmp_pdu* make_pdu(const struct notification* notification, in_addr_t agent_address) {
  netsnmp_pdu* pdu = snmp_pdu_create(SNMP_MSG_TRAP);
  oid arcs[MAX_OID_LEN];
  size_t count = arcs_of(&notification->trap_oid, arcs);
  pdu->trap_type = SNMP_TRAP_ENTERPRISESPECIFIC;
  pdu->specific_type = (long)arcs[--count];
  count -= arcs[count - 1] == 0 ? 1 : 0;
  pdu->enterprise = netsnmp_memdup(arcs, count * sizeof(oid));
  pdu->enterprise_length = count;
  pdu->time = notification->uptime;
  memcpy(pdu->agent_addr, &agent_address, sizeof pdu->agent_addr);
  for (size_t i = 0; i < notification->count; ++i) {
    add_binding(pdu, &notification->bindings[i]);
  }
  return pdu;
}

static void send_to(char* receiver, const char* trap_oid, netsnmp_pdu* pdu) {
  static u_char community[] = "public";
  char peer[64];
  snprintf(peer, sizeof peer, "udp:%s:162", receiver);
  netsnmp_session wanted;
  snmp_sess_init(&wanted);
  wanted.version = SNMP_VERSION_1;
  wanted.peername = peer;
  wanted.community = community;
  wanted.community_len = sizeof community - 1;
  void* session = snmp_sess_open(&wanted);
  if (session == NULL) {
    return;
  }
  openlog("ortdv", LOG_PID, LOG_DAEMON);
  syslog(LOG_INFO, "tvurev: Sending trap [%s] to dest [%s] ...\n", trap_oid, receiver);
  closelog();
  netsnmp_pdu* copy = snmp_clone_pdu(pdu);
  if (snmp_sess_send(session, copy) == 0) {
    snmp_free_pdu(copy);
  }
  snmp_sess_close(session);
}

static void relay(const struct notification* notification, in_addr_t agent_address,
                  char** receivers) {
  char trap_oid[kOidTextSize];
  write_oid_text(&notification->trap_oid, trap_oid);
  netsnmp_pdu* pdu = make_pdu(notification, agent_address);
  for (; *receivers != NULL; ++receivers) {
    send_to(*receivers, trap_oid, pdu);
  }
  snmp_free_pdu(pdu);
}

int main(int argc, char** argv) {
  if (argc < 3) {
    fputs("usage: netsnmp_sessions AGENT_ADDRESS RECEIVER... <STREAM_SOCKET\n", stderr);
    return 2;
  }
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_PERSIST_STATE, 1);
  init_snmp("netsnmp_sessions");
  const in_addr_t agent_address = inet_addr(argv[1]);
  for (;;) {
    uint8_t packet[kPacketSize];
    const ssize_t length = receive_packet(STDIN_FILENO, packet);
    if (length == 0) {
      return 0;
    }
    struct notification notification;
    if (length > 0 && decode_notification(packet, (size_t)length, &notification)) {
      relay(&notification, agent_address, argv + 2);
    }
    if (stop_requested()) {
      return 1;
    }
  }
}
