#include "snmp_pp/v1_encoder.h"

#include "snmp_pp/config_snmp_pp.h"
#include "snmp_pp/integer.h"
#include "snmp_pp/snmperrs.h"

// Net-SNMP wants its configuration first.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Snmp_pp {
namespace {

using EnginePdu = std::unique_ptr<netsnmp_pdu, decltype(&snmp_free_pdu)>;

// Without a handler of its own choice the engine writes its complaints to
// standard error, which in a daemon may be any descriptor.
void silence_engine() {
  [[maybe_unused]] static const netsnmp_log_handler* const handler =
      netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
}

// The arcs as the engine takes them: two at least, 128 at most. It refuses a
// first arc above 2 and a second one above 39 below a first arc of 0 or 1; the
// same octets come from another pair of arcs, for on the wire the two are one
// number, 40 * first + second.
std::vector<oid> engine_arcs(const Oid& source) {
  const unsigned long count = std::min<unsigned long>(source.len(), kMaxEncodedArcs);
  if (count < 2) {
    return {0, 0};
  }
  std::vector<oid> arcs(count);
  const auto joined = static_cast<SmiUINT32>(40 * source[0] + source[1]);
  arcs[0] = std::min(joined / 40, SmiUINT32{2});
  arcs[1] = joined - 40 * arcs[0];
  for (unsigned long position = 2; position < count; ++position) {
    arcs[position] = source[position];
  }
  return arcs;
}

bool add_variable(netsnmp_pdu* pdu, const Oid& name, u_char tag, const void* value, size_t size) {
  const std::vector<oid> arcs = engine_arcs(name);
  return snmp_pdu_add_variable(pdu, arcs.data(), arcs.size(), tag, value, size) != nullptr;
}

bool add_unsigned(netsnmp_pdu* pdu, const Oid& name, u_char tag, unsigned long value) {
  const u_long low_bits = value & 0xFFFFFFFF;
  return add_variable(pdu, name, tag, &low_bits, sizeof(low_bits));
}

bool add_binding(netsnmp_pdu* pdu, const Vb& binding) {
  Oid name;
  binding.get_oid(name);
  switch (binding.get_syntax()) {
    case sNMP_SYNTAX_INT32: {
      SnmpInt32 value;
      binding.get_value(value);
      const long number = value;
      return add_variable(pdu, name, ASN_INTEGER, &number, sizeof(number));
    }
    case sNMP_SYNTAX_GAUGE32: {
      SnmpUInt32 value;
      binding.get_value(value);
      return add_unsigned(pdu, name, ASN_GAUGE, value);
    }
    case sNMP_SYNTAX_TIMETICKS: {
      TimeTicks value;
      binding.get_value(value);
      return add_unsigned(pdu, name, ASN_TIMETICKS, value);
    }
    case sNMP_SYNTAX_OCTETS: {
      OctetStr value;
      binding.get_value(value);
      return add_variable(pdu, name, ASN_OCTET_STR, value.data(), value.len());
    }
    case sNMP_SYNTAX_OID: {
      Oid value;
      binding.get_value(value);
      const std::vector<oid> arcs = engine_arcs(value);
      return add_variable(pdu, name, ASN_OBJECT_ID, arcs.data(), arcs.size() * sizeof(oid));
    }
    case sNMP_SYNTAX_IPADDR: {
      GenAddress value;
      binding.get_value(value);
      const Ipv4Octets octets = {value[0], value[1], value[2], value[3]};
      return add_variable(pdu, name, ASN_IPADDRESS, octets.data(), octets.size());
    }
    default:
      return add_variable(pdu, name, ASN_NULL, nullptr, 0);
  }
}

// Strings too long for any message are refused before the engine copies them.
bool strings_fit(const OctetStr& community, const Pdu& pdu) {
  unsigned long octets = community.len();
  for (int position = 0; position < pdu.get_vb_count(); ++position) {
    Vb binding;
    OctetStr value;
    pdu.get_vb(binding, position);
    if (binding.get_value(value) == SNMP_CLASS_SUCCESS) {
      octets += value.len();
    }
  }
  return octets <= kMaxMessageOctets;
}

// The notification in the engine's form; null without memory.
EnginePdu make_engine_pdu(const V1Trap& trap, const Pdu& source) {
  EnginePdu pdu(snmp_pdu_create(SNMP_MSG_TRAP), &snmp_free_pdu);
  if (!pdu) {
    return pdu;
  }
  pdu->version = SNMP_VERSION_1;
  const std::vector<oid> enterprise = engine_arcs(trap.enterprise);
  pdu->enterprise =
      static_cast<oid*>(netsnmp_memdup(enterprise.data(), enterprise.size() * sizeof(oid)));
  if (pdu->enterprise == nullptr) {
    pdu.reset();
    return pdu;
  }
  pdu->enterprise_length = enterprise.size();
  pdu->trap_type = trap.generic_trap;
  pdu->specific_type = trap.specific_trap;
  pdu->time = trap.timestamp;
  std::memcpy(pdu->agent_addr, trap.agent_address.data(), trap.agent_address.size());
  for (int position = 0; position < source.get_vb_count(); ++position) {
    Vb binding;
    source.get_vb(binding, position);
    if (!add_binding(pdu.get(), binding)) {
      pdu.reset();
      return pdu;
    }
  }
  return pdu;
}

}  // namespace

int encode_v1_trap(const V1Trap& trap, const OctetStr& community, const Pdu& pdu,
                   std::vector<unsigned char>& message) {
  constexpr size_t kFirstBuffer = 2048;
  message.clear();
  silence_engine();
  if (!strings_fit(community, pdu)) {
    return SNMP_ERROR_TOO_BIG;
  }
  const EnginePdu engine_pdu = make_engine_pdu(trap, pdu);
  size_t size = kFirstBuffer;
  auto* buffer = static_cast<u_char*>(std::malloc(size));
  if (!engine_pdu || buffer == nullptr) {
    std::free(buffer);
    return SNMP_CLASS_RESOURCE_UNAVAIL;
  }
  std::vector<u_char> community_octets(community.data(), community.data() + community.len());
  netsnmp_session session{};
  snmp_sess_init(&session);
  session.version = SNMP_VERSION_1;
  session.community = community_octets.data();
  session.community_len = community_octets.size();

  // The engine fills the buffer from its end and may have moved it.
  size_t used = 0;
  const int failed = snmp_build(&buffer, &size, &used, &session, engine_pdu.get());
  if (failed == 0 && used <= kMaxMessageOctets) {
    message.assign(buffer + size - used, buffer + size);
  }
  std::free(buffer);
  if (failed != 0) {
    return SNMP_CLASS_ERROR;
  }
  return message.empty() ? SNMP_ERROR_TOO_BIG : SNMP_CLASS_SUCCESS;
}

}  // namespace Snmp_pp
