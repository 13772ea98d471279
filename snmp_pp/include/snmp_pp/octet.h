// Octet strings.
#ifndef SNMP_PP_OCTET_H_
#define SNMP_PP_OCTET_H_

#include <span>
#include <string>
#include <vector>

#include "snmp_pp/smival.h"

namespace Snmp_pp {

// Any number of octets of any value; nothing is converted. Always valid, also
// when empty; only one for which there was no memory is empty and invalid.
class OctetStr : public SnmpSyntax {
 public:
  OctetStr() = default;
  // The octets before the terminating zero; null is the empty string.
  OctetStr(const char* text);  // NOLINT(google-explicit-constructor)
  // Length octets, zeros included; null is the empty string.
  OctetStr(const unsigned char* octets, unsigned long length);
  OctetStr(const OctetStr& other);
  OctetStr(OctetStr&&) = default;
  ~OctetStr() override = default;

  OctetStr& operator=(const OctetStr& other);
  OctetStr& operator=(OctetStr&&) = default;
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  bool operator==(const OctetStr& other) const { return octets_ == other.octets_; }

  unsigned long len() const { return octets_.size(); }

  // The octets, len() of them and no terminating zero; may be null when there
  // are none. They stay until the object changes.
  const unsigned char* data() const { return octets_.data(); }

  // The same as one, until the object changes. Not part of SNMP++.
  std::span<const unsigned char> octets() const { return octets_; }

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_OCTETS; }
  OctetStr* clone() const override { return new OctetStr(*this); }
  bool valid() const override { return valid_; }
  // The text itself when every octet is a printable ASCII character, otherwise
  // two hexadecimal digits an octet, separated by blanks.
  const char* get_printable() const override;

 private:
  void store(const unsigned char* octets, unsigned long length);

  std::vector<unsigned char> octets_;
  bool valid_ = true;
  mutable std::string text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_OCTET_H_
