#include "snmp_pp/oid.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace Snmp_pp {
namespace {

// The arcs of a text of digits and dots; nothing for any other text. Empty
// pieces yield no arc.
std::optional<std::vector<SmiUINT32>> parse_arcs(std::string_view text) {
  std::vector<SmiUINT32> arcs;
  bool in_number = false;
  for (const char c : text) {
    if (c == '.') {
      in_number = false;
    } else if (c < '0' || c > '9') {
      return std::nullopt;
    } else {
      if (!in_number) {
        arcs.push_back(0);
        in_number = true;
      }
      arcs.back() = arcs.back() * 10 + static_cast<SmiUINT32>(c - '0');
    }
  }
  return arcs;
}

}  // namespace

Oid::Oid(const char* text) {
  *this += text;
}

Oid::Oid(const unsigned long* arcs, int length) {
  if (arcs == nullptr || length <= 0) {
    return;
  }
  arcs_.reserve(static_cast<size_t>(length));
  std::transform(arcs, arcs + length, std::back_inserter(arcs_),
                 [](unsigned long arc) { return static_cast<SmiUINT32>(arc); });
}

Oid& Oid::operator=(const char* text) {
  // The text may be this object's own printable form.
  const Oid parsed(text);
  return *this = parsed;
}

SnmpSyntax& Oid::operator=(const SnmpSyntax& other) {
  const auto* oid = dynamic_cast<const Oid*>(&other);
  return *this = oid != nullptr ? *oid : Oid();
}

Oid& Oid::operator+=(unsigned long arc) {
  arcs_.push_back(static_cast<SmiUINT32>(arc));
  return *this;
}

Oid& Oid::operator+=(const Oid& tail) {
  // A copy, because the tail may be this object.
  const std::vector<SmiUINT32> arcs = tail.arcs_;
  arcs_.insert(arcs_.end(), arcs.begin(), arcs.end());
  return *this;
}

Oid& Oid::operator+=(const char* text) {
  const auto tail = parse_arcs(text != nullptr ? text : "");
  if (tail) {
    arcs_.insert(arcs_.end(), tail->begin(), tail->end());
  } else {
    arcs_.clear();
  }
  return *this;
}

unsigned long Oid::operator[](unsigned long position) const {
  return position < arcs_.size() ? arcs_[position] : 0;
}

void Oid::trim(unsigned long count) {
  arcs_.resize(arcs_.size() - std::min<unsigned long>(count, arcs_.size()));
}

const char* Oid::get_printable() const {
  text_.clear();
  for (const SmiUINT32 arc : arcs_) {
    text_ += (text_.empty() ? "" : ".") + std::to_string(arc);
  }
  return text_.c_str();
}

}  // namespace Snmp_pp
