// SPDX-License-Identifier: Apache-2.0
// Object identifiers.
#ifndef SNMP_PP_OID_H_
#define SNMP_PP_OID_H_

#include <algorithm>
#include <span>

#include "snmp_pp/config_snmp_pp.h"
#include "snmp_pp/printed_text.h"
#include "snmp_pp/short_vector.h"
#include "snmp_pp/smival.h"

namespace Snmp_pp {

// A sequence of arcs, unsigned 32-bit numbers. Valid means: at least one arc.
// Neither the length nor the values of the first two arcs are checked here;
// 128 arcs at most are encoded, and fewer than two as 0.0.
//
// The text form is digits separated by dots. A leading dot, a trailing one and
// doubled ones are skipped ("1..3." is 1.3); any other character makes the
// whole text invalid, and so does a text without digits. A number above 32 bits
// keeps its low 32.
//
// The arcs lie in the object, on the heap only where there are more than
// kShortOid of them; a moved-from Oid has none and is invalid.
class Oid : public SnmpSyntax {
 public:
  // No arcs, invalid.
  Oid() = default;
  // Parses the text; no arcs when it is invalid or null.
  Oid(const char* text);  // NOLINT(google-explicit-constructor)
  // Copies length arcs; none when arcs is null or length not positive.
  Oid(const unsigned long* arcs, int length);
  Oid(const Oid&) = default;
  Oid(Oid&&) = default;
  ~Oid() override = default;

  Oid& operator=(const Oid&) = default;
  Oid& operator=(Oid&&) = default;
  Oid& operator=(const char* text);
  SnmpSyntax& operator=(const SnmpSyntax& other) override;

  // Appends one arc; the arcs of another Oid; the arcs of a text. A text that
  // does not parse leaves no arcs at all; one without arcs, or null, changes
  // nothing.
  Oid& operator+=(unsigned long arc);
  Oid& operator+=(const Oid& tail);
  Oid& operator+=(const char* text);

  // Equal means: the same arcs. Two invalid objects are equal.
  bool operator==(const Oid& other) const { return std::ranges::equal(arcs_, other.arcs_); }

  // The number of arcs.
  unsigned long len() const { return arcs_.size(); }

  // The arc at a position counted from 0; 0 beyond the last one.
  unsigned long operator[](unsigned long position) const;

  // All arcs, until the object changes. Not part of SNMP++.
  std::span<const SmiUINT32> arcs() const { return arcs_; }

  // Drops the last count arcs, all when there are fewer.
  void trim(unsigned long count = 1);

  SmiUINT32 get_syntax() const override { return sNMP_SYNTAX_OID; }
  Oid* clone() const override { return new Oid(*this); }
  bool valid() const override { return !arcs_.empty(); }
  const char* get_printable() const override;

 private:
  ShortVector<SmiUINT32, kShortOid> arcs_;
  mutable PrintedText text_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_OID_H_
