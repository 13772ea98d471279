// SPDX-License-Identifier: Apache-2.0
// Octet strings.
#ifndef SNMP_PP_OCTET_H_
#define SNMP_PP_OCTET_H_

#include <algorithm>
#include <span>

#include "snmp_pp/config_snmp_pp.h"
#include "snmp_pp/printed_text.h"
#include "snmp_pp/short_vector.h"
#include "snmp_pp/smival.h"

namespace Snmp_pp {

// Any number of octets of any value; nothing is converted. Always valid, also
// when empty. The octets lie in the object, on the heap only where there are
// more than kShortString of them; a moved-from string is empty.
class OctetStr : public SnmpSyntax {
 public:
  OctetStr() = default;
  // The octets before the terminating zero; null is the empty string.
  OctetStr(const char* text);  // NOLINT(google-explicit-constructor)
  // Length octets, zeros included; null is the empty string.
  OctetStr(const unsigned char* octets, unsigned long length);
  OctetStr(const OctetStr&) = default;
  OctetStr(OctetStr&&) = default;
  ~OctetStr() override = default;

  OctetStr& operator=(const OctetStr&) = default;
  OctetStr& operator=(OctetStr&&) = default;
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  bool operator==(const OctetStr& other) const {
    return std::ranges::equal(octets_, other.octets_);
  }

  unsigned long len() const { return octets_.size(); }

  // The octets, len() of them and no terminating zero. They stay until the
  // object changes.
  const unsigned char* data() const { return octets_.data(); }

  // The same as one, until the object changes. Not part of SNMP++.
  std::span<const unsigned char> octets() const { return octets_; }

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_OCTETS; }
  OctetStr* clone() const override { return new OctetStr(*this); }
  bool valid() const override { return true; }
  // The text itself when every octet is a printable ASCII character, otherwise
  // two hexadecimal digits an octet, separated by blanks.
  const char* get_printable() const override;

 private:
  ShortVector<unsigned char, kShortString> octets_;
  mutable PrintedText text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_OCTET_H_
