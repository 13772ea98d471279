// SPDX-License-Identifier: Apache-2.0
#include "smbios/device_record.h"

#include "smbios/index.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"

const uint8_t* SmbFindDeviceRecord(const PciFunction& wanted) {
  const uint8_t* slot = first_by(By::kSlotBus, bus_value(wanted.segment, wanted.bus));
  if (slot != nullptr) {
    return slot;
  }
  const uint8_t device_function = layout::device_function_of(wanted.device, wanted.function);
  // Numbers beyond their bits are no onboard device's.
  if (layout::device_of(device_function) != wanted.device ||
      layout::function_of(device_function) != wanted.function) {
    return nullptr;
  }
  return first_by(By::kOnboardAddress, address_value(wanted.segment, wanted.bus, device_function));
}

uint16_t device_handle(const PciFunction& wanted) {
  return handle_of(SmbFindDeviceRecord(wanted));
}

const uint8_t* find_correlation_at(uint32_t segment, uint32_t bus, uint8_t device_function) {
  return first_by(By::kCorrelationAddress, address_value(segment, bus, device_function));
}
