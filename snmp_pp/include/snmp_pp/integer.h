// SPDX-License-Identifier: Apache-2.0
// The signed and the unsigned 32-bit integer.
#ifndef SNMP_PP_INTEGER_H_
#define SNMP_PP_INTEGER_H_

#include "snmp_pp/printed_text.h"
#include "snmp_pp/smival.h"

namespace Snmp_pp {

// INTEGER: the low 32 bits of what it is given, as a signed number. Always
// valid, 0 at first.
class SnmpInt32 : public SnmpSyntax {
 public:
  SnmpInt32() = default;
  SnmpInt32(long value)  // NOLINT(google-explicit-constructor)
      : value_(static_cast<SmiINT32>(value)) {}
  SnmpInt32(const SnmpInt32&) = default;

  SnmpInt32& operator=(const SnmpInt32&) = default;
  SnmpInt32& operator=(long value);
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  operator long() const { return value_; }  // NOLINT(google-explicit-constructor)

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_INT32; }
  SnmpInt32* clone() const override { return new SnmpInt32(*this); }
  bool valid() const override { return true; }
  const char* get_printable() const override;

 private:
  SmiINT32 value_ = 0;
  mutable PrintedText text_;
};

// Gauge32, which is also what Vb::set_value makes of an unsigned long, and the
// base of TimeTicks. Always valid, 0 at first. Keeps all bits of what it is
// given; the low 32 are encoded.
class SnmpUInt32 : public SnmpSyntax {
 public:
  SnmpUInt32() = default;
  SnmpUInt32(unsigned long value) : value_(value) {}  // NOLINT(google-explicit-constructor)
  SnmpUInt32(const SnmpUInt32&) = default;

  SnmpUInt32& operator=(const SnmpUInt32&) = default;
  SnmpUInt32& operator=(unsigned long value);
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  operator unsigned long() const { return value_; }  // NOLINT(google-explicit-constructor)

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_GAUGE32; }
  SnmpUInt32* clone() const override { return new SnmpUInt32(*this); }
  bool valid() const override { return true; }
  // The low 32 bits in decimal.
  const char* get_printable() const override;

 private:
  unsigned long value_ = 0;
  mutable PrintedText text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_INTEGER_H_
