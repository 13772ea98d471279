// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/oid.h"

#include <string>
#include <string_view>

namespace Snmp_pp {

Oid::Oid(const char* text) {
  *this += text;
}

Oid::Oid(const unsigned long* arcs, int length) {
  if (arcs != nullptr && length > 0) {
    arcs_.append_low_bits(std::span(arcs, static_cast<size_t>(length)));
  }
}

Oid& Oid::operator=(const char* text) {
  arcs_.shorten(0);
  return *this += text;
}

SnmpSyntax& Oid::operator=(const SnmpSyntax& other) {
  const auto* oid = dynamic_cast<const Oid*>(&other);
  return *this = oid != nullptr ? *oid : Oid();
}

Oid& Oid::operator+=(unsigned long arc) {
  arcs_.append(static_cast<SmiUINT32>(arc));
  return *this;
}

Oid& Oid::operator+=(const Oid& tail) {
  arcs_.append(tail.arcs_);
  return *this;
}

// Empty pieces yield no arc.
Oid& Oid::operator+=(const char* text) {
  bool in_number = false;
  SmiUINT32 arc = 0;
  for (const char c : std::string_view(text != nullptr ? text : "")) {
    if (c >= '0' && c <= '9') {
      arc = arc * 10 + static_cast<SmiUINT32>(c - '0');
      in_number = true;
    } else if (c != '.') {
      arcs_.shorten(0);
      return *this;
    } else if (in_number) {
      arcs_.append(arc);
      arc = 0;
      in_number = false;
    }
  }
  if (in_number) {
    arcs_.append(arc);
  }
  return *this;
}

unsigned long Oid::operator[](unsigned long position) const {
  return position < arcs_.size() ? arcs_.data()[position] : 0;
}

void Oid::trim(unsigned long count) {
  arcs_.shorten(arcs_.size() - std::min<unsigned long>(count, arcs_.size()));
}

const char* Oid::get_printable() const {
  std::string text;
  for (const SmiUINT32 arc : arcs_) {
    text += (text.empty() ? "" : ".") + std::to_string(arc);
  }
  return text_.keep(std::move(text));
}

}  // namespace Snmp_pp
