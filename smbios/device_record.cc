// SPDX-License-Identifier: Apache-2.0
#include "smbios/device_record.h"

#include "smbios/oem_layout.h"
#include "smbios/table.h"

namespace correlation = layout::correlation;
namespace onboard = layout::onboard;
namespace slot = layout::slot;

const uint8_t* SmbFindDeviceRecord(const PciFunction& wanted) {
  const uint8_t* found = find_of_type(slot::kType, [&](const uint8_t* candidate) {
    return word_at(candidate, slot::kSegment) == wanted.segment &&
           byte_at(candidate, slot::kBus) == wanted.bus;
  });
  if (found != nullptr) {
    return found;
  }
  return find_of_type(onboard::kType, [&](const uint8_t* candidate) {
    const uint8_t device_function = byte_at(candidate, onboard::kDeviceFunction);
    return word_at(candidate, onboard::kSegment) == wanted.segment &&
           byte_at(candidate, onboard::kBus) == wanted.bus &&
           layout::device_of(device_function) == wanted.device &&
           layout::function_of(device_function) == wanted.function;
  });
}

uint16_t device_handle(const PciFunction& wanted) {
  return handle_of(SmbFindDeviceRecord(wanted));
}

const uint8_t* find_correlation_at(uint32_t segment, uint32_t bus, uint8_t device_function) {
  return find_of_type(correlation::kType, [&](const uint8_t* candidate) {
    return word_at(candidate, correlation::kSegment) == segment &&
           byte_at(candidate, correlation::kBus) == bus &&
           byte_at(candidate, correlation::kDeviceFunction) == device_function;
  });
}
