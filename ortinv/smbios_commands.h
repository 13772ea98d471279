// SPDX-License-Identifier: Apache-2.0
// What the firmware's SMBIOS table answers: record dumps, PCI devices, drives.
#ifndef TVUREV_ORTINV_SMBIOS_COMMANDS_H_
#define TVUREV_ORTINV_SMBIOS_COMMANDS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ortinv/report.h"

// The types that have a dump, ascending.
std::vector<uint32_t> dumped_types();

struct PciAddress {
  uint32_t segment;
  uint32_t bus;
  uint32_t device;
  uint32_t function;
};

// Reads "SSSS:BB:DD.F", hexadecimal; none for anything else.
std::optional<PciAddress> parse_pci_address(const std::string& text);
std::string pci_address_text(const PciAddress& address);

// Reads the table, once for all commands. Returns false, after adding a problem,
// when there is none.
bool open_smbios(Report& report);

// Adds the records of one type, or of all that have a dump.
void report_smbios(std::optional<uint32_t> type, Report& report);

// Prints the dumps of the same records to standard output, as they stand.
void dump_smbios(std::optional<uint32_t> type, Report& report);

void report_pci(const PciAddress& address, Report& report);
void report_drive(const std::string& serial, Report& report);

// Add every PCI device and every drive that the table knows something about.
void report_all_pci(Report& report);
void report_all_drives(Report& report);

#endif  // TVUREV_ORTINV_SMBIOS_COMMANDS_H_
