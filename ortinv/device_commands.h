// SPDX-License-Identifier: Apache-2.0
// What the SMBIOS table says of PCI devices and drives.
#ifndef TVUREV_ORTINV_DEVICE_COMMANDS_H_
#define TVUREV_ORTINV_DEVICE_COMMANDS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "ortinv/report.h"
#include "ortinv/request.h"

struct PciAddress {
  uint32_t segment;
  uint32_t bus;
  uint32_t device;
  uint32_t function;

  bool operator==(const PciAddress&) const = default;
};

// Reads "SSSS:BB:DD.F", hexadecimal; none for anything else.
std::optional<PciAddress> parse_pci_address(const std::string& text);
std::string pci_address_text(const PciAddress& address);

// Adds the device at the request's address, also one of which the table knows
// nothing but that it is there.
void report_pci(const Request& request, Report& report);

// Adds the drives of the request's serial number; those that only begin with it
// when there is no other, and when the request does not want exact ones.
void report_drive(const Request& request, Report& report);

// Add every PCI device and every drive of the table, in its order.
void report_all_pci(const Request& request, Report& report);
void report_all_drives(const Request& request, Report& report);

#endif  // TVUREV_ORTINV_DEVICE_COMMANDS_H_
