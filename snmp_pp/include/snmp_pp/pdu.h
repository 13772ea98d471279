// SPDX-License-Identifier: Apache-2.0
// What a notification says, apart from who receives it.
#ifndef SNMP_PP_PDU_H_
#define SNMP_PP_PDU_H_

#include <span>
#include <vector>

#include "snmp_pp/address.h"
#include "snmp_pp/oid.h"
#include "snmp_pp/timetick.h"
#include "snmp_pp/trap_buffer.h"
#include "snmp_pp/vb.h"

namespace Snmp_pp {

// The fields of one notification and its variable bindings, in the order in
// which they were added. Copies carry everything. A Pdu is valid whatever is
// added or set; what cannot be sent shows in Snmp::trap.
class Pdu {
 public:
  // No bindings, timestamp 0, notify id and enterprise empty, no trap address.
  Pdu() = default;

  // Appends a copy. An invalid binding is refused silently and takes no place;
  // beyond 25 every binding is dropped silently.
  Pdu& operator+=(const Vb& binding);
  // Takes these in place of what it has: the valid ones, 25 of them at most. Not
  // part of SNMP++.
  void take_bindings(std::vector<Vb>&& bindings);

  int get_vb_count() const { return static_cast<int>(bindings_.size()); }

  // Copies the binding at a position counted from 0. Returns false, with
  // binding untouched, when there is none.
  bool get_vb(Vb& binding, int position) const;

  // The trap's identity: an SNMPv2 notification OID, from which enterprise,
  // generic-trap and specific-trap are made (Snmp::trap). Not checked here.
  void set_notify_id(const Oid& id) {
    notify_id_ = id;
    trap_buffer_ = {};
  }
  void get_notify_id(Oid& id) const { id = notify_id_; }

  // The sender's uptime in hundredths of a second, of which the low 32 bits are
  // sent. 0 is sent as 0.
  void set_notify_timestamp(const TimeTicks& timestamp) {
    notify_timestamp_ = timestamp;
    trap_buffer_ = {};
  }
  void get_notify_timestamp(TimeTicks& timestamp) const { timestamp = notify_timestamp_; }

  // The enterprise of the six standard traps; other traps have theirs from the
  // notify id. An empty one counts as not set.
  void set_notify_enterprise(const Oid& enterprise) {
    notify_enterprise_ = enterprise;
    trap_buffer_ = {};
  }
  void get_notify_enterprise(Oid& enterprise) const { enterprise = notify_enterprise_; }

  // The agent-addr field. Any valid address is taken, 0.0.0.0 and
  // 255.255.255.255 too; an invalid one counts as not set, returns false and
  // forgets an earlier one. Without an address Snmp::trap looks up the local
  // host name, which can block.
  bool set_v1_trap_address(const Address& address);
  // Copies the address; returns false, with an invalid address, when not set.
  bool get_v1_trap_address(GenAddress& address) const;

  bool valid() const { return true; }

  // What an encoder reads, until the object changes, and where it keeps the
  // result: every change of the Pdu empties the buffer. Not part of SNMP++.
  std::span<const Vb> bindings() const { return bindings_; }
  const Oid& notify_id() const { return notify_id_; }
  const TimeTicks& notify_timestamp() const { return notify_timestamp_; }
  const Oid& notify_enterprise() const { return notify_enterprise_; }
  const GenAddress& v1_trap_address() const { return trap_address_; }
  TrapBuffer& trap_buffer() { return trap_buffer_; }

 private:
  std::vector<Vb> bindings_;  // one block, for as many as there can be
  Oid notify_id_;
  TimeTicks notify_timestamp_;
  Oid notify_enterprise_;
  GenAddress trap_address_;
  TrapBuffer trap_buffer_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_PDU_H_
