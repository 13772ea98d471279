// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/integer.h"

#include <array>
#include <cstdio>
#include <string>

#include "snmp_pp/timetick.h"

namespace Snmp_pp {
namespace {

constexpr SmiUINT32 kTicksASecond = 100;

// The number in any of the integer kinds, 0 for other values.
unsigned long number_of(const SnmpSyntax& value) {
  if (const auto* number = dynamic_cast<const SnmpUInt32*>(&value)) {
    return *number;
  }
  if (const auto* number = dynamic_cast<const SnmpInt32*>(&value)) {
    return static_cast<unsigned long>(static_cast<long>(*number));
  }
  return 0;
}

}  // namespace

SnmpInt32& SnmpInt32::operator=(long value) {
  value_ = static_cast<SmiINT32>(value);
  return *this;
}

SnmpSyntax& SnmpInt32::operator=(const SnmpSyntax& other) {
  return *this = static_cast<long>(number_of(other));
}

const char* SnmpInt32::get_printable() const {
  return text_.keep(std::to_string(value_));
}

SnmpUInt32& SnmpUInt32::operator=(unsigned long value) {
  value_ = value;
  return *this;
}

SnmpSyntax& SnmpUInt32::operator=(const SnmpSyntax& other) {
  return *this = number_of(other);
}

const char* SnmpUInt32::get_printable() const {
  return text_.keep(std::to_string(static_cast<SmiUINT32>(value_)));
}

TimeTicks& TimeTicks::operator=(unsigned long value) {
  SnmpUInt32::operator=(value);
  return *this;
}

SnmpSyntax& TimeTicks::operator=(const SnmpSyntax& other) {
  return *this = number_of(other);
}

const char* TimeTicks::get_printable() const {
  const auto ticks = static_cast<SmiUINT32>(static_cast<unsigned long>(*this));
  const SmiUINT32 seconds = ticks / kTicksASecond;
  const SmiUINT32 days = seconds / 86400;
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%u:%02u:%02u.%02u", seconds / 3600 % 24,
                seconds / 60 % 60, seconds % 60, ticks % kTicksASecond);
  std::string with_days;
  if (days > 0) {
    with_days = std::to_string(days) + (days == 1 ? " day " : " days ");
  }
  return text_.keep(with_days + text.data());
}

}  // namespace Snmp_pp
