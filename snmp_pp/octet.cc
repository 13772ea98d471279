#include "snmp_pp/octet.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

namespace Snmp_pp {

OctetStr::OctetStr(const char* text) {
  if (text != nullptr) {
    const size_t length = std::strlen(text);
    store(reinterpret_cast<const unsigned char*>(text), length);
  }
}

OctetStr::OctetStr(const unsigned char* octets, unsigned long length) {
  store(octets, length);
}

OctetStr::OctetStr(const OctetStr& other) : SnmpSyntax(other) {
  store(other.data(), other.len());
  valid_ = valid_ && other.valid_;
}

OctetStr& OctetStr::operator=(const OctetStr& other) {
  OctetStr copy(other);
  octets_.swap(copy.octets_);
  valid_ = copy.valid_;
  return *this;
}

SnmpSyntax& OctetStr::operator=(const SnmpSyntax& other) {
  const auto* string = dynamic_cast<const OctetStr*>(&other);
  return *this = string != nullptr ? *string : OctetStr();
}

void OctetStr::store(const unsigned char* octets, unsigned long length) {
  if (octets == nullptr) {
    return;
  }
  try {
    octets_.resize(length);
    std::copy_n(octets, length, octets_.begin());
  } catch (const std::bad_alloc&) {
    valid_ = false;
  } catch (const std::length_error&) {
    valid_ = false;
  }
}

const char* OctetStr::get_printable() const {
  const auto printable = [](unsigned char octet) { return octet >= 0x20 && octet < 0x7F; };
  if (std::all_of(octets_.begin(), octets_.end(), printable)) {
    text_.assign(octets_.begin(), octets_.end());
    return text_.c_str();
  }
  text_.clear();
  for (const unsigned char octet : octets_) {
    std::array<char, 4> piece{};
    std::snprintf(piece.data(), piece.size(), "%s%02x", text_.empty() ? "" : " ", octet);
    text_ += piece.data();
  }
  return text_.c_str();
}

}  // namespace Snmp_pp
