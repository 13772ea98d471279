// SPDX-License-Identifier: Apache-2.0
// Time in hundredths of a second.
#ifndef SNMP_PP_TIMETICK_H_
#define SNMP_PP_TIMETICK_H_

#include "snmp_pp/integer.h"

namespace Snmp_pp {

// Hundredths of a second since some epoch. Always valid, 0 at first. A 32-bit
// value that was sign-extended is kept so, and its low 32 bits are encoded.
class TimeTicks : public SnmpUInt32 {
 public:
  TimeTicks() = default;
  TimeTicks(unsigned long value) : SnmpUInt32(value) {}  // NOLINT(google-explicit-constructor)
  TimeTicks(const TimeTicks&) = default;

  TimeTicks& operator=(const TimeTicks&) = default;
  TimeTicks& operator=(unsigned long value);
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_TIMETICKS; }
  TimeTicks* clone() const override { return new TimeTicks(*this); }
  // "2 days 3:04:05.06", without the days below one day.
  const char* get_printable() const override;

 private:
  mutable PrintedText text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_TIMETICK_H_
