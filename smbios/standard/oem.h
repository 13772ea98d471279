// SPDX-License-Identifier: Apache-2.0
// The maker's types that the queries read and that have no records: 203, 233,
// 240 and 242. Only the fields that are known.
#ifndef TVUREV_SMBIOS_STANDARD_OEM_H_
#define TVUREV_SMBIOS_STANDARD_OEM_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbStandardField kCorrelationFields[] = {
    handle("device_handle", "Device Handle", 0x04, 0x06),
    number("nic_port", "NIC Port", 0x19, 1, 0x1A),
    text("pci_name", "PCI Name", 0x1E, 0x1F),
    text("pci_location", "PCI Location", 0x1F, 0x20),
    text("part_number", "Part Number", 0x22, 0x23),
    field(kSmbKindPciAddress, "pci_address", "PCI Address", 0x24, 4, 0x28),
};

inline constexpr SmbStandardField kNicFields[] = {
    field(kSmbKindPciAddress, "pci_address", "PCI Address", 0x04, 4, 0x08),
    number("port", "Port", 0x28, 1, 0x29),
};

inline constexpr SmbStandardField kDeviceTextFields[] = {
    handle("correlation_handle", "Device Correlation Handle", 0x04, 0x06),
    text("text", "Text", 0x0A, 0x0B),
};

inline constexpr SmbStandardField kDriveFields[] = {
    text("serial_number", "Serial Number", 0x27, 0x28),
    text("text", "Text", 0x28, 0x29),
    text("location", "Location", 0x2A, 0x2B),
};

inline constexpr SmbStandardType kOemTypes[] = {
    type(203, "OEM: Device Correlation", kCorrelationFields),
    type(233, "OEM: NIC", kNicFields),
    type(240, "OEM: Text of a Device", kDeviceTextFields),
    type(242, "OEM: Drive", kDriveFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_OEM_H_
