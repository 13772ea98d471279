// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/target.h"

namespace Snmp_pp {

bool SnmpTarget::set_address(const Address& address) {
  address_ = GenAddress(address);
  return address_.valid();
}

bool SnmpTarget::get_address(GenAddress& address) const {
  address = address_;
  return address.valid();
}

}  // namespace Snmp_pp
