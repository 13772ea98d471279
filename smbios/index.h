// SPDX-License-Identifier: Apache-2.0
// The structures by what the queries look for, so that asking about each device
// of a table costs a look-up each and not a walk each. Made by the first query,
// thrown away with the table and whenever its bytes change; kept in index.cc.
//
// Takes no lock: queries may run in parallel with each other, and when two of
// them make an index at the same time, one is kept. Throwing it away must not run
// in parallel with queries, nor may what changes the table.
#ifndef TVUREV_SMBIOS_INDEX_H_
#define TVUREV_SMBIOS_INDEX_H_

#include <cstdint>

// What is looked for, and what its value is made of.
enum class By : uint8_t {
  kSlotBus,             // slots: segment and bus
  kOnboardAddress,      // onboard devices: PCI address
  kCorrelation,         // correlations: 0
  kShortCorrelation,    // those too short for a part number: 0
  kCorrelationDevice,   // correlations: the device's handle
  kCorrelationAddress,  // correlations: PCI address
  kNicAddress,          // NICs: PCI address
  kLinkedCorrelation,   // linked texts: the correlation's handle
  // The linked text of the first correlation that has one among those of a
  // device: the device's handle.
  kLinkedDevice,
};

// Values. A segment or bus that no structure can hold makes one that none has.
uint64_t bus_value(uint32_t segment, uint32_t bus);
uint64_t address_value(uint32_t segment, uint32_t bus, uint8_t device_function);

// Returns the first structure in table order that has this value, or null.
// Without memory for an index it walks the table.
const uint8_t* first_by(By by, uint64_t value);

// To be called when bytes of the table change, and when it goes.
void drop_index();

#endif  // TVUREV_SMBIOS_INDEX_H_
