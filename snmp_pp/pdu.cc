// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/pdu.h"

#include <algorithm>
#include <utility>

#include "snmp_pp/config_snmp_pp.h"

namespace Snmp_pp {

Pdu& Pdu::operator+=(const Vb& binding) {
  if (!binding.valid() || get_vb_count() >= kMaxBindings) {
    return *this;
  }
  if (bindings_.empty()) {
    bindings_.reserve(kMaxBindings);
  }
  bindings_.push_back(binding);
  trap_buffer_ = {};
  return *this;
}

void Pdu::take_bindings(std::vector<Vb>&& bindings) {
  bindings_ = std::move(bindings);
  std::erase_if(bindings_, [](const Vb& binding) { return !binding.valid(); });
  bindings_.resize(std::min(bindings_.size(), size_t{kMaxBindings}));
  trap_buffer_ = {};
}

bool Pdu::get_vb(Vb& binding, int position) const {
  if (position < 0 || position >= get_vb_count()) {
    return false;
  }
  binding = bindings_[static_cast<size_t>(position)];
  return true;
}

bool Pdu::set_v1_trap_address(const Address& address) {
  trap_address_ = GenAddress(address);
  trap_buffer_ = {};
  return trap_address_.valid();
}

bool Pdu::get_v1_trap_address(GenAddress& address) const {
  address = trap_address_;
  return address.valid();
}

}  // namespace Snmp_pp
