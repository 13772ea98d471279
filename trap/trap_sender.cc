// SPDX-License-Identifier: Apache-2.0
#include "trap/trap_sender.h"

#include <syslog.h>

#include <utility>

#include "log/log.h"
#include "trap/agentx.h"
#include "trap/host_snmp.h"
#include "trap/traps.h"

int send_trap_to_host(std::span<const uint8_t> packet) {
  return send_trap_to_host(packet, {});
}

int send_trap_to_host(std::span<const uint8_t> packet, std::span<TrapFate> fates) {
  if (snmp_enabled_flag == 0) {
    Log(LOG_ERR, "send_trap_to_host(): Host SNMP Disabled. Cannot send trap thru Host.\n");
    return 0;
  }
  DaemonDebug("send_trap_to_host(): Host SNMP Enabled. Continuing to send trap thru Host.\n");
  Notification notification = decode_notification(packet);
  const int result =
      send_traps(notification.trapOid, notification.timestamp, std::move(notification.vbs), fates);
  DaemonDebug("tvurev: Returning ret [%d]\n", result);
  // The trap of a reset is sent like any other, before the caller reconnects.
  return notification.reset_seen ? 1 : 0;
}
