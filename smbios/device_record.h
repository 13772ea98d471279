// SPDX-License-Identifier: Apache-2.0
// Finds the structure that describes a PCI function, from which the maker's OEM
// structures are reached.
#ifndef TVUREV_SMBIOS_DEVICE_RECORD_H_
#define TVUREV_SMBIOS_DEVICE_RECORD_H_

#include <cstdint>

struct PciFunction {
  uint32_t segment;
  uint32_t bus;
  uint32_t device;
  uint32_t function;
};

// Returns the first slot (type 9) on the function's segment and bus, whatever
// its device and function, kept on purpose: what sits in a slot may show any
// device number (docs/oddities.md: smbios-first-slot-on-bus); else the onboard
// device (type 41) with the whole address; else null.
const uint8_t* SmbFindDeviceRecord(const PciFunction& wanted);

// Returns the handle of that structure, 0 when there is none or it has none.
uint16_t device_handle(const PciFunction& wanted);

// Returns the first correlation structure with this PCI address, or null.
//   device_function  device in bits 7..3, function in bits 2..0.
const uint8_t* find_correlation_at(uint32_t segment, uint32_t bus, uint8_t device_function);

#endif  // TVUREV_SMBIOS_DEVICE_RECORD_H_
