// One variable binding: a name and a value.
#ifndef SNMP_PP_VB_H_
#define SNMP_PP_VB_H_

#include <memory>

#include "snmp_pp/oid.h"
#include "snmp_pp/smival.h"

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
  Vb(const Vb& other);
  Vb(Vb&&) = default;
  ~Vb() = default;

  Vb& operator=(const Vb& other);
  Vb& operator=(Vb&&) = default;

  void set_oid(const Oid& name) { name_ = name; }
  void get_oid(Oid& name) const { name = name_; }

  // INTEGER, from the low 32 bits.
  void set_value(int value);
  void set_value(long value);
  // Gauge32, from the low 32 bits.
  void set_value(unsigned long value);
  // OCTET STRING: the octets before the terminating zero; empty for null.
  void set_value(const char* text);
  // A copy of the object, valid or not.
  void set_value(const SnmpSyntax& value);
  // No value.
  void set_null() { value_.reset(); }

  // Copies the value. Returns SNMP_CLASS_SUCCESS, or SNMP_CLASS_INVALID, with
  // destination untouched, when there is none or one of another kind
  // (get_syntax()).
  int get_value(SnmpSyntax& destination) const;

  // Name and value, null without a value, until the object changes. Not part of
  // SNMP++.
  const Oid& name() const { return name_; }
  const SnmpSyntax* value() const { return value_.get(); }

  // The kind of the value; sNMP_SYNTAX_NULL when there is none.
  SmiUINT32 get_syntax() const;

  // Name and value as text, owned by this object until the next call; empty
  // where there is none.
  const char* get_printable_oid() const { return name_.get_printable(); }
  const char* get_printable_value() const;

  bool valid() const;

 private:
  Oid name_;
  std::unique_ptr<SnmpSyntax> value_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_VB_H_
