// SPDX-License-Identifier: Apache-2.0
// Who receives a notification.
#ifndef SNMP_PP_TARGET_H_
#define SNMP_PP_TARGET_H_

#include "snmp_pp/address.h"
#include "snmp_pp/octet.h"

namespace Snmp_pp {

// The message format. SNMPv1 is the one that these classes send.
enum snmp_version { version1 };

// A destination address with its protocol parameters. Valid exactly when the
// address is.
class SnmpTarget {
 public:
  SnmpTarget() = default;
  SnmpTarget(const SnmpTarget&) = default;
  SnmpTarget& operator=(const SnmpTarget&) = default;
  virtual ~SnmpTarget() = default;

  // A new copy, which the caller deletes.
  virtual SnmpTarget* clone() const = 0;

  // The community string that a trap to this target carries, and the address that
  // it goes to. They stay until the object changes. Not part of SNMP++.
  virtual const OctetStr& trap_community() const = 0;

  const GenAddress& address() const { return address_; }

  bool valid() const { return address_.valid(); }

  // Stores a copy in place of any earlier address, also when it is invalid:
  // no older address remains. Returns whether the target is valid now.
  bool set_address(const Address& address);
  // Copies the address; returns whether it is valid.
  bool get_address(GenAddress& address) const;

  void set_version(snmp_version version) { version_ = version; }
  snmp_version get_version() const { return version_; }

  // Hundredths of a second, and a count. A trap is neither answered nor
  // retried, so both rest.
  unsigned long get_timeout() const { return kTimeout; }
  int get_retry() const { return kRetries; }

 private:
  static constexpr unsigned long kTimeout = 100;
  static constexpr int kRetries = 1;

  GenAddress address_;
  snmp_version version_ = version1;
};

// A target with a community string, "public" at first. Traps use the read
// community, which may be any octets of any length, none included.
class CTarget : public SnmpTarget {
 public:
  // Invalid until it has an address.
  CTarget() : read_community_("public") {}

  void set_readcommunity(const char* community) { read_community_ = OctetStr(community); }
  void set_readcommunity(const OctetStr& community) { read_community_ = community; }
  void get_readcommunity(OctetStr& community) const { community = read_community_; }

  CTarget* clone() const override { return new CTarget(*this); }
  const OctetStr& trap_community() const override { return read_community_; }

 private:
  OctetStr read_community_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_TARGET_H_
