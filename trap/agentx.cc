// SPDX-License-Identifier: Apache-2.0
#include "trap/agentx.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "log/complaints.h"
#include "log/debug_flags.h"
#include "log/log.h"
#include "trap/object_id.h"
#include "wire/agentx.h"
#include "wire/little_endian.h"

namespace {

using namespace Snmp_pp;  // NOLINT(google-build-using-namespace)

// Steering bindings, found by these texts anywhere in their name
// (docs/oddities.md: steering-names-anywhere, reset-mark-anywhere).
constexpr ArcsText kSysUpTime("1.3.6.1.2.1.1.3");
constexpr ArcsText kSnmpTrapOid("1.3.6.1.6.3.1.1.4.1");
constexpr ArcsText kSnmpTrapCommunity("1.3.6.1.6.3.18.1.4");
constexpr const char* kResetMark = "6061";

// Bindings that one block of memory has room for: as many as a trap can carry.
constexpr size_t kUsualBindings = 25;

Complaint g_past_the_end = {.about = "send_trap_to_host(): bindings past a notification's end"};
Complaint g_no_length = {.about = "send_trap_to_host(): unknown types without a length"};
Complaint g_first_piece = {.about = "send_trap_to_host(): first pieces of notifications"};

using PacketCopy = std::array<uint8_t, agentx::kNotificationMax>;

// The binding at the cursor.
struct Binding {
  int index = 0;  // the first is 1
  uint16_t type = 0;
  std::span<const uint8_t> bytes;  // from its start to the end of the copy
  size_t value = 0;                // offset of the value in bytes
  ObjectId name;
};

const char* type_name(uint16_t type) {
  switch (type) {
    case agentx::type::kInteger:
      return "INTEGER";
    case agentx::type::kOctetString:
      return "OCTET_STRING";
    case agentx::type::kObjectIdentifier:
      return "OID";
    case agentx::type::kIpAddress:
      return "IPADDRESS";
    case agentx::type::kCounter32:
      return "COUNTER32";
    case agentx::type::kGauge32:
      return "GAUGE32";
    case agentx::type::kTimeTicks:
      return "TIMETICKS";
    case agentx::type::kOpaque:
      return "OPAQUE";
    case agentx::type::kCounter64:
      return "COUNTER64";
    default:
      return "";
  }
}

bool fits(const Binding& binding, size_t length) {
  if (length <= binding.bytes.size()) {
    return true;
  }
  complain(g_past_the_end,
           "send_trap_to_host(): vb[%d] type [%d] of %zu bytes passes the end of the "
           "notification. It and the rest are dropped.\n",
           binding.index, binding.type, length);
  return false;
}

template <typename Value>
void add_binding(Notification& notification, const Binding& binding, Value value) {
  Oid name = snmp_oid(binding.name);
  // Left out rather than sent: the library would refuse the whole trap.
  if (!name.valid() || !value.valid()) {
    if (g_daemon_debug_flag != 0) {
      DaemonDebug("vb[%d] OID: [%s] is no valid name or value. Left out.\n", binding.index,
                  text_of(binding.name).data());
    }
    return;
  }
  if (notification.vbs.empty()) {
    notification.vbs.reserve(kUsualBindings);
  }
  notification.vbs.emplace_back(std::move(name)).set_value(std::move(value));
}

// The four decoders below return the length of the whole binding, 0 when it
// does not fit. They ask the debug flag themselves: texts are not made for nothing.

size_t decode_word(Notification& notification, const Binding& binding) {
  const size_t length = binding.value + agentx::kWordSize;
  if (!fits(binding, length)) {
    return 0;
  }
  const uint32_t value = get_u32(binding.bytes, binding.value);
  if (g_daemon_debug_flag != 0) {
    DaemonDebug("vb[%d] OID: [%s] [%s] [0x%x] vblen [%d] vbtype [%d]\n", binding.index,
                text_of(binding.name).data(), type_name(binding.type), value,
                static_cast<int>(length), binding.type);
  }
  if (text_holds(binding.name, kSysUpTime)) {
    notification.timestamp = value;
  } else if (binding.type == agentx::type::kTimeTicks) {
    // Never its own value: receivers have seen 0 since the first release
    // (docs/oddities.md: timeticks-0).
    add_binding(notification, binding, TimeTicks());
  } else {
    // Counters and gauges as well (docs/oddities.md: counters-as-integer).
    add_binding(notification, binding, SnmpInt32(static_cast<int32_t>(value)));
  }
  return length;
}

size_t decode_oid(Notification& notification, const Binding& binding) {
  if (!fits(binding, binding.value + agentx::object_id::kArcs)) {
    return 0;
  }
  const std::span<const uint8_t> value = binding.bytes.subspan(binding.value);
  const size_t subids_size = agentx::kWordSize * get_u8(value, agentx::object_id::kSubids);
  const size_t length = binding.value + agentx::object_id::kArcs + subids_size;
  if (!fits(binding, length)) {
    return 0;
  }
  ObjectId id;
  read_object_id(get_u8(value, agentx::object_id::kPrefix),
                 value.subspan(agentx::object_id::kArcs, subids_size), id);
  if (g_daemon_debug_flag != 0) {
    DaemonDebug("vb[%d] OID: [%s] [%s] [%s] vblen [%d]\n", binding.index,
                text_of(binding.name).data(), type_name(binding.type), text_of(id).data(),
                static_cast<int>(length));
  }
  if (text_holds(binding.name, kSnmpTrapOid)) {
    notification.trapOid = text_of(id);
  } else {
    add_binding(notification, binding, snmp_oid(id));
  }
  return length;
}

// The octets that count: all of an address, else those before the first zero
// (docs/oddities.md: text-ends-at-zero).
std::span<const uint8_t> used_octets(uint16_t type, std::span<const uint8_t> octets) {
  if (type == agentx::type::kIpAddress) {
    return octets;
  }
  const auto zero = std::find(octets.begin(), octets.end(), uint8_t{0});
  return octets.first(static_cast<size_t>(zero - octets.begin()));
}

// The octets as text: dotted for an address.
std::string octets_as_text(uint16_t type, std::span<const uint8_t> octets) {
  return type == agentx::type::kIpAddress ? render_dotted(octets)
                                          : std::string(octets.begin(), octets.end());
}

size_t decode_octets(Notification& notification, const Binding& binding) {
  const size_t octets = binding.value + agentx::octets::kOctets;
  if (!fits(binding, octets)) {
    return 0;
  }
  const size_t octets_size = get_u32(binding.bytes, binding.value + agentx::octets::kLength);
  if (!fits(binding, octets + octets_size)) {
    return 0;
  }
  const size_t padded_size =
      (octets_size + agentx::kWordSize - 1) / agentx::kWordSize * agentx::kWordSize;
  const size_t length = octets + padded_size;
  const std::span<const uint8_t> used =
      used_octets(binding.type, binding.bytes.subspan(octets, octets_size));
  if (g_daemon_debug_flag != 0) {
    const std::string text = octets_as_text(binding.type, used);
    DaemonDebug("vb[%d] OID: [%s] [%s] [%s] vblen [%d]\n", binding.index,
                text_of(binding.name).data(), type_name(binding.type), text.c_str(),
                static_cast<int>(length));
    DaemonDebug("OctetString in Hex [%s]\n", render_hex(text, octets_size).data());
  }
  // A trap has its own community, which is the receiver's secret and not the BMC's.
  if (text_holds(binding.name, kSnmpTrapCommunity)) {
    return length;
  }
  if (binding.type == agentx::type::kIpAddress) {
    add_binding(notification, binding, IpAddress(render_dotted(used).c_str()));
  } else {
    add_binding(notification, binding, OctetStr(used.data(), used.size()));
  }
  return length;
}

// Skips a binding that no SNMPv1 trap can carry, by its true length.
size_t skip_binding(const Binding& binding, size_t value_size) {
  const size_t length = binding.value + value_size;
  if (!fits(binding, length)) {
    return 0;
  }
  if (g_daemon_debug_flag != 0) {
    DaemonDebug("vb[%d] OID: [%s] [%s] vblen [%d] vbtype [%d] left out\n", binding.index,
                text_of(binding.name).data(), type_name(binding.type), static_cast<int>(length),
                binding.type);
  }
  return length;
}

// Decodes the binding at the cursor. Returns by how much to advance, 0 at the
// end of the walk. previous_length is the advance of the binding before.
size_t decode_binding(Notification& notification, const Binding& binding, size_t previous_length) {
  switch (binding.type) {
    case agentx::type::kInteger:
    case agentx::type::kCounter32:
    case agentx::type::kGauge32:
    case agentx::type::kTimeTicks:
      return decode_word(notification, binding);
    case agentx::type::kObjectIdentifier:
      return decode_oid(notification, binding);
    case agentx::type::kOctetString:
    case agentx::type::kIpAddress:
    case agentx::type::kOpaque:
      return decode_octets(notification, binding);
    case agentx::type::kCounter64:
      return skip_binding(binding, 2 * agentx::kWordSize);
    case agentx::type::kNull:
      return skip_binding(binding, 0);
    default:
      break;
  }
  if (binding.type >= agentx::type::kNoSuchObject && binding.type <= agentx::type::kEndOfMibView) {
    return skip_binding(binding, 0);
  }
  // Advancing by the binding before is a guess (docs/oddities.md:
  // unknown-type-advances); without one the walk would never end.
  if (previous_length == 0) {
    complain(g_no_length,
             "send_trap_to_host(): vb[%d] has the unknown type [%d] and no length. "
             "It and the rest are dropped.\n",
             binding.index, binding.type);
  }
  return previous_length;
}

// Reads the header and the name of the binding that starts the bytes. Returns
// false when they do not fit.
bool read_binding(std::span<const uint8_t> bytes, int index, Binding& binding) {
  binding.index = index;
  binding.type = get_u16(bytes, agentx::binding::kType);
  binding.bytes = bytes;
  binding.value =
      agentx::binding::kName + agentx::kWordSize * get_u8(bytes, agentx::binding::kNameSubids);
  if (!fits(binding, binding.value)) {
    return false;
  }
  read_object_id(get_u8(bytes, agentx::binding::kNamePrefix),
                 bytes.subspan(agentx::binding::kName, binding.value - agentx::binding::kName),
                 binding.name);
  return true;
}

// From the binding at processed to the next one, length bytes on.
void show_advance(const PacketCopy& packet, uint32_t payload_length, size_t processed,
                  size_t length) {
  const auto cursor_at = [&packet](size_t offset) -> const void* {
    return packet.data() + std::min(agentx::header::kSize + offset, packet.size());
  };
  const void* cursor = cursor_at(processed);
  DaemonDebug("before update: vb ptr [%p] buf2 [%p] len [0x%x] vblen [0x%x]\n", cursor, cursor,
              static_cast<unsigned>(processed), static_cast<unsigned>(length));
  const size_t next = processed + length;
  cursor = cursor_at(next);
  DaemonDebug("Total bytes processed [%d/%d]. new vb ptr [%p] buf2 [%p] len [0x%x] vblen [0x%x]\n",
              static_cast<int>(next), static_cast<int>(payload_length), cursor, cursor,
              static_cast<unsigned>(next), static_cast<unsigned>(length));
}

void walk_bindings(Notification& notification, const PacketCopy& packet) {
  const uint32_t payload_length = get_u32(packet, agentx::header::kPayloadLength);
  const std::span<const uint8_t> payload = std::span(packet).subspan(agentx::header::kSize);
  size_t processed = 0;
  size_t length = 0;
  for (int index = 1; processed < payload_length; ++index) {
    const std::span<const uint8_t> rest = payload.subspan(std::min(processed, payload.size()));
    Binding binding;
    if (!read_binding(rest, index, binding)) {
      return;
    }
    length = decode_binding(notification, binding, length);
    if (length == 0) {
      return;
    }
    if (g_daemon_debug_flag != 0) {
      show_advance(packet, payload_length, processed, length);
    }
    processed += length;
  }
}

}  // namespace

Notification decode_notification(std::span<const uint8_t> packet) {
  PacketCopy copy = {};
  std::copy_n(packet.begin(), std::min(packet.size(), copy.size()), copy.begin());
  const uint32_t payload_length = get_u32(copy, agentx::header::kPayloadLength);
  // An empty payload_length may stand in the shortest of packets: nothing is missing.
  if (agentx::header::kSize + uint64_t{payload_length} > packet.size() && payload_length > 0) {
    complain(g_first_piece,
             "send_trap_to_host(): %zu bytes are only the first piece of a notification that "
             "states %u bytes of bindings. What is missing reads as zero.\n",
             packet.size(), payload_length);
  }
  Notification notification;
  walk_bindings(notification, copy);
  DaemonDebug("tvudrev: trapOid is [%s].\n", notification.trapOid.data());
  if (holds(notification.trapOid.data(), kResetMark)) {
    DaemonDebug("tvurev: Found 6061 string in trapOid indicating Mox reset.  Set ret to [%d]\n", 1);
    notification.reset_seen = true;
  } else {
    DaemonDebug("tvurev: No Mox reset string in trapOid.  Set ret to [%d]\n", 0);
  }
  return notification;
}
