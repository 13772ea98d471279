// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/vb.h"

#include <typeinfo>

#include "snmp_pp/snmperrs.h"

namespace Snmp_pp {

void Vb::set_value(int value) {
  value_ = SnmpInt32(value);
}

void Vb::set_value(long value) {
  value_ = SnmpInt32(value);
}

void Vb::set_value(unsigned long value) {
  value_ = SnmpUInt32(value);
}

void Vb::set_value(const char* text) {
  value_ = OctetStr(text);
}

void Vb::set_value(const SnmpSyntax& value) {
  take(value);
}

void Vb::set_value(SnmpSyntax&& value) {
  take(std::move(value));
}

// Takes the value when it is exactly of that class: of one derived from it a part
// would be lost.
template <typename Kind, typename Source>
bool Vb::take_if(Source&& value) {
  if (typeid(value) != typeid(Kind)) {
    return false;
  }
  if constexpr (std::is_lvalue_reference_v<Source>) {
    value_ = static_cast<const Kind&>(value);
  } else {
    value_ = static_cast<Kind&&>(value);
  }
  return true;
}

template <typename Source>
bool Vb::take_own(Source&& value) {
  switch (value.get_syntax()) {
    case sNMP_SYNTAX_OCTETS:
      return take_if<OctetStr>(std::forward<Source>(value));
    case sNMP_SYNTAX_INT32:
      return take_if<SnmpInt32>(std::forward<Source>(value));
    case sNMP_SYNTAX_OID:
      return take_if<Oid>(std::forward<Source>(value));
    case sNMP_SYNTAX_TIMETICKS:
      return take_if<TimeTicks>(std::forward<Source>(value));
    case sNMP_SYNTAX_GAUGE32:
      return take_if<SnmpUInt32>(std::forward<Source>(value));
    case sNMP_SYNTAX_IPADDR:
      return take_if<IpAddress>(std::forward<Source>(value)) ||
             take_if<UdpAddress>(std::forward<Source>(value)) ||
             take_if<GenAddress>(std::forward<Source>(value));
    default:
      return false;
  }
}

template <typename Source>
void Vb::take(Source&& value) {
  if (!take_own(std::forward<Source>(value))) {
    value_ = Clone(value);
  }
}

const SnmpSyntax* Vb::value() const {
  struct Pointer {
    const SnmpSyntax* operator()(std::monostate) const { return nullptr; }
    const SnmpSyntax* operator()(const SnmpSyntax& value) const { return &value; }
    const SnmpSyntax* operator()(const Clone& value) const { return value.get(); }
  };
  return std::visit(Pointer(), value_);
}

int Vb::get_value(SnmpSyntax& destination) const {
  const SnmpSyntax* held = value();
  if (held == nullptr || held->get_syntax() != destination.get_syntax()) {
    return SNMP_CLASS_INVALID;
  }
  destination = *held;
  return SNMP_CLASS_SUCCESS;
}

SmiUINT32 Vb::get_syntax() const {
  const SnmpSyntax* held = value();
  return held != nullptr ? held->get_syntax() : SmiUINT32{sNMP_SYNTAX_NULL};
}

const char* Vb::get_printable_value() const {
  const SnmpSyntax* held = value();
  return held != nullptr ? held->get_printable() : "";
}

bool Vb::valid() const {
  const SnmpSyntax* held = value();
  return name_.valid() && (held == nullptr || held->valid());
}

}  // namespace Snmp_pp
