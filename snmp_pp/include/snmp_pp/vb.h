// SPDX-License-Identifier: Apache-2.0
// One variable binding: a name and a value.
#ifndef SNMP_PP_VB_H_
#define SNMP_PP_VB_H_

#include <memory>
#include <utility>
#include <variant>

#include "snmp_pp/address.h"
#include "snmp_pp/integer.h"
#include "snmp_pp/octet.h"
#include "snmp_pp/oid.h"
#include "snmp_pp/smival.h"
#include "snmp_pp/timetick.h"

namespace Snmp_pp {

// A name, an Oid, with a value of any kind or none. Holds its own copies, and
// copies of a Vb are deep. Valid means: the name is valid, and the value is
// valid or absent; an absent value is encoded as NULL. One object can be filled
// again and again: setting replaces what was there.
class Vb {
 public:
  // No name, no value; invalid.
  Vb() = default;
  explicit Vb(const Oid& name) : name_(name) {}
  explicit Vb(Oid&& name) : name_(std::move(name)) {}

  void set_oid(const Oid& name) { name_ = name; }
  void get_oid(Oid& name) const { name = name_; }

  // INTEGER, from the low 32 bits.
  void set_value(int value);
  void set_value(long value);
  // Gauge32, from the low 32 bits.
  void set_value(unsigned long value);
  // OCTET STRING: the octets before the terminating zero; empty for null.
  void set_value(const char* text);
  // A copy of the object, valid or not; of one that may go, what it holds.
  void set_value(const SnmpSyntax& value);
  void set_value(SnmpSyntax&& value);
  // No value.
  void set_null() { value_ = std::monostate(); }

  // Copies the value. Returns SNMP_CLASS_SUCCESS, or SNMP_CLASS_INVALID, with
  // destination untouched, when there is none or one of another kind
  // (get_syntax()).
  int get_value(SnmpSyntax& destination) const;

  // Name and value, null without a value, until the object changes. These three
  // are not part of SNMP++.
  const Oid& name() const { return name_; }
  const SnmpSyntax* value() const;
  // The value when it is of this class or of one derived from it, else null.
  template <typename Kind>
  const Kind* value_as() const {
    const Kind* held = std::get_if<Kind>(&value_);
    return held != nullptr ? held : dynamic_cast<const Kind*>(value());
  }

  // The kind of the value; sNMP_SYNTAX_NULL when there is none.
  SmiUINT32 get_syntax() const;

  // Name and value as text, owned by this object until the next call; empty
  // where there is none.
  const char* get_printable_oid() const { return name_.get_printable(); }
  const char* get_printable_value() const;

  bool valid() const;

 private:
  // A value of a class that a program derived itself.
  class Clone {
   public:
    explicit Clone(const SnmpSyntax& value) : value_(value.clone()) {}
    Clone(const Clone& other) : Clone(*other.value_) {}
    Clone(Clone&&) = default;
    ~Clone() = default;
    Clone& operator=(const Clone& other) { return *this = Clone(other); }
    Clone& operator=(Clone&&) = default;

    const SnmpSyntax* get() const { return value_.get(); }

   private:
    std::unique_ptr<SnmpSyntax> value_;
  };

  template <typename Source>
  void take(Source&& value);
  // Takes the value when it is of one of this library's classes.
  template <typename Source>
  bool take_own(Source&& value);
  template <typename Kind, typename Source>
  bool take_if(Source&& value);

  Oid name_;
  std::variant<std::monostate, SnmpInt32, SnmpUInt32, TimeTicks, OctetStr, Oid, IpAddress,
               UdpAddress, GenAddress, Clone>
      value_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_VB_H_
