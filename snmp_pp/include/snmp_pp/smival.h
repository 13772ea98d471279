// SPDX-License-Identifier: Apache-2.0
// The abstract base of every SNMP value.
#ifndef SNMP_PP_SMIVAL_H_
#define SNMP_PP_SMIVAL_H_

#include "snmp_pp/smi.h"

namespace Snmp_pp {

// One SNMP value. Values own what they hold: copies are deep, and a copy of an
// invalid value is invalid. Whatever copies, sets, clones or prints a value may
// throw std::bad_alloc, so that none is ever silently incomplete; nothing else is
// thrown.
class SnmpSyntax {
 public:
  SnmpSyntax() = default;
  SnmpSyntax(const SnmpSyntax&) = default;
  virtual ~SnmpSyntax() = default;

  // Takes over the value of any other object as far as it fits: the same kind,
  // one integer kind from another, addresses from each other, an IP address
  // from four octets. Of what does not fit, an Oid or an address becomes
  // invalid, a string empty, a number 0.
  virtual SnmpSyntax& operator=(const SnmpSyntax& other) = 0;

  // The tag of the value on the wire, a SmiSyntax.
  virtual SmiUINT32 get_syntax() const = 0;

  // A new copy, which the caller deletes.
  virtual SnmpSyntax* clone() const = 0;

  // Whether the object holds a value that can be sent.
  virtual bool valid() const = 0;

  // The value as zero-terminated text, empty when invalid. The object owns the
  // text, which stays until the next call on the same object.
  virtual const char* get_printable() const = 0;
};

// The base has nothing to take over; the copy assignments of the value classes
// end here.
inline SnmpSyntax& SnmpSyntax::operator=(const SnmpSyntax&) {
  return *this;
}

}  // namespace Snmp_pp

#endif  // SNMP_PP_SMIVAL_H_
