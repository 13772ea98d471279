#include "snmp_pp/vb.h"

#include "snmp_pp/integer.h"
#include "snmp_pp/octet.h"
#include "snmp_pp/snmperrs.h"

namespace Snmp_pp {

Vb::Vb(const Vb& other)
    : name_(other.name_), value_(other.value_ ? other.value_->clone() : nullptr) {}

Vb& Vb::operator=(const Vb& other) {
  Vb copy(other);
  return *this = std::move(copy);
}

void Vb::set_value(int value) {
  value_ = std::make_unique<SnmpInt32>(value);
}

void Vb::set_value(long value) {
  value_ = std::make_unique<SnmpInt32>(value);
}

void Vb::set_value(unsigned long value) {
  value_ = std::make_unique<SnmpUInt32>(value);
}

void Vb::set_value(const char* text) {
  value_ = std::make_unique<OctetStr>(text);
}

void Vb::set_value(const SnmpSyntax& value) {
  value_.reset(value.clone());
}

int Vb::get_value(SnmpSyntax& destination) const {
  if (!value_ || value_->get_syntax() != destination.get_syntax()) {
    return SNMP_CLASS_INVALID;
  }
  destination = *value_;
  return SNMP_CLASS_SUCCESS;
}

SmiUINT32 Vb::get_syntax() const {
  return value_ ? value_->get_syntax() : sNMP_SYNTAX_NULL;
}

const char* Vb::get_printable_value() const {
  return value_ ? value_->get_printable() : "";
}

bool Vb::valid() const {
  return name_.valid() && (!value_ || value_->valid());
}

}  // namespace Snmp_pp
