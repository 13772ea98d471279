// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/v1_encoder.h"

#include "snmp_pp/integer.h"
#include "snmp_pp/snmperrs.h"
#include "snmp_pp/timetick.h"

// Net-SNMP wants its configuration first.
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/types.h>

#include <net-snmp/library/asn1.h>

#include <algorithm>
#include <array>

namespace Snmp_pp {
namespace {

constexpr long kSnmpVersion1 = 0;
constexpr int kMayNotReallocate = 0;
constexpr u_char kSequence = ASN_SEQUENCE | ASN_CONSTRUCTOR;
constexpr u_char kTrapPdu = ASN_CONTEXT | ASN_CONSTRUCTOR | 4;

// What is written so far: the last used octets of the buffer. Everything is
// written in reverse; the put functions return false when the buffer is full.
struct Cursor {
  u_char* buffer;
  size_t size;
  size_t used;
};

Cursor behind(TrapBuffer& buffer) {
  return {buffer.octets.data(), buffer.octets.size(), buffer.pdu_size};
}

bool put_integer(Cursor& at, long value) {
  return asn_realloc_rbuild_int(&at.buffer, &at.size, &at.used, kMayNotReallocate, ASN_INTEGER,
                                &value, sizeof(value)) != 0;
}

bool put_unsigned(Cursor& at, u_char tag, unsigned long value) {
  const u_long low_bits = value & 0xFFFFFFFF;
  return asn_realloc_rbuild_unsigned_int(&at.buffer, &at.size, &at.used, kMayNotReallocate, tag,
                                         &low_bits, sizeof(low_bits)) != 0;
}

bool put_octets(Cursor& at, u_char tag, std::span<const unsigned char> octets) {
  return asn_realloc_rbuild_string(&at.buffer, &at.size, &at.used, kMayNotReallocate, tag,
                                   octets.data(), octets.size()) != 0;
}

// Fewer than two arcs become 0.0, more than 128 are cut. The engine refuses a
// first arc above 2 and a second one above 39 below a first arc of 0 or 1; the
// same octets come from another pair of arcs, for on the wire the two are one
// number, 40 * first + second.
bool put_oid(Cursor& at, std::span<const SmiUINT32> arcs) {
  std::array<oid, kMaxEncodedArcs> engine_arcs;  // NOLINT(*-member-init): filled below
  size_t count = std::min(arcs.size(), engine_arcs.size());
  if (count < 2) {
    count = 2;
    std::fill_n(engine_arcs.begin(), count, 0);
  } else {
    std::copy_n(arcs.begin(), count, engine_arcs.begin());
    const SmiUINT32 joined = 40 * arcs[0] + arcs[1];
    engine_arcs[0] = std::min(joined / 40, SmiUINT32{2});
    engine_arcs[1] = joined - 40 * engine_arcs[0];
  }
  return asn_realloc_rbuild_objid(&at.buffer, &at.size, &at.used, kMayNotReallocate, ASN_OBJECT_ID,
                                  engine_arcs.data(), count) != 0;
}

// Puts the header of what was written since end octets were used.
bool put_header(Cursor& at, u_char tag, size_t end) {
  return asn_realloc_rbuild_sequence(&at.buffer, &at.size, &at.used, kMayNotReallocate, tag,
                                     at.used - end) != 0;
}

// A program's own class may have the syntax and yet be no such value.
template <typename Kind, typename Number>
Number number_of(const Vb& binding) {
  const Kind* value = binding.value_as<Kind>();
  return value != nullptr ? static_cast<Number>(*value) : Number{0};
}

bool put_value(Cursor& at, const Vb& binding) {
  switch (binding.get_syntax()) {
    case sNMP_SYNTAX_INT32:
      return put_integer(at, number_of<SnmpInt32, long>(binding));
    case sNMP_SYNTAX_GAUGE32:
      return put_unsigned(at, ASN_GAUGE, number_of<SnmpUInt32, unsigned long>(binding));
    case sNMP_SYNTAX_TIMETICKS:
      return put_unsigned(at, ASN_TIMETICKS, number_of<TimeTicks, unsigned long>(binding));
    case sNMP_SYNTAX_OCTETS: {
      const auto* string = binding.value_as<OctetStr>();
      return put_octets(at, ASN_OCTET_STR,
                        string != nullptr ? string->octets() : std::span<const unsigned char>());
    }
    case sNMP_SYNTAX_OID: {
      const auto* object_id = binding.value_as<Oid>();
      return put_oid(at, object_id != nullptr ? object_id->arcs() : std::span<const SmiUINT32>());
    }
    case sNMP_SYNTAX_IPADDR: {
      const auto* address = dynamic_cast<const Address*>(binding.value());
      const Ipv4Octets octets = address != nullptr ? address->octets() : Ipv4Octets{};
      return put_octets(at, ASN_IPADDRESS, octets);
    }
    default:
      return asn_realloc_rbuild_null(&at.buffer, &at.size, &at.used, kMayNotReallocate, ASN_NULL) !=
             0;
  }
}

bool put_binding(Cursor& at, const Vb& binding) {
  const size_t end = at.used;
  return put_value(at, binding) && put_oid(at, binding.name().arcs()) &&
         put_header(at, kSequence, end);
}

bool put_bindings(Cursor& at, std::span<const Vb> bindings) {
  const size_t end = at.used;
  return std::all_of(bindings.rbegin(), bindings.rend(),
                     [&at](const Vb& binding) { return put_binding(at, binding); }) &&
         put_header(at, kSequence, end);
}

bool put_trap_pdu(Cursor& at, const V1Trap& trap, std::span<const Vb> bindings) {
  const size_t end = at.used;
  return put_bindings(at, bindings) && put_unsigned(at, ASN_TIMETICKS, trap.timestamp) &&
         put_integer(at, trap.specific_trap) && put_integer(at, trap.generic_trap) &&
         put_octets(at, ASN_IPADDRESS, trap.agent_address) && put_oid(at, trap.enterprise) &&
         put_header(at, kTrapPdu, end);
}

bool put_message(Cursor& at, const OctetStr& community) {
  return put_octets(at, ASN_OCTET_STR, community.octets()) && put_integer(at, kSnmpVersion1) &&
         put_header(at, kSequence, 0);
}

}  // namespace

int encode_trap_pdu(const V1Trap& trap, std::span<const Vb> bindings, TrapBuffer& buffer) {
  buffer.pdu_size = 0;
  Cursor cursor = behind(buffer);
  if (!put_trap_pdu(cursor, trap, bindings)) {
    return SNMP_ERROR_TOO_BIG;
  }
  buffer.pdu_size = cursor.used;
  return SNMP_CLASS_SUCCESS;
}

std::span<const unsigned char> complete_message(const OctetStr& community, TrapBuffer& buffer) {
  Cursor cursor = behind(buffer);
  if (!put_message(cursor, community)) {
    return {};
  }
  return std::span(buffer.octets).last(cursor.used);
}

}  // namespace Snmp_pp
