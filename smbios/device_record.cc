#include "smbios/device_record.h"

#include "smbios/table.h"

namespace {

constexpr uint8_t kSystemSlot = 9;
constexpr uint8_t kOnboardDevice = 41;

}  // namespace

const uint8_t* SmbFindDeviceRecord(const PciFunction& wanted) {
  // What sits in a slot may show any device number on the slot's bus.
  const uint8_t* slot = find_of_type(kSystemSlot, [&](const uint8_t* candidate) {
    return word_at(candidate, 13) == wanted.segment && byte_at(candidate, 15) == wanted.bus;
  });
  if (slot != nullptr) {
    return slot;
  }
  return find_of_type(kOnboardDevice, [&](const uint8_t* candidate) {
    const unsigned device_function = byte_at(candidate, 10);
    return word_at(candidate, 7) == wanted.segment && byte_at(candidate, 9) == wanted.bus &&
           device_function >> 3 == wanted.device && (device_function & 7) == wanted.function;
  });
}

uint16_t device_handle(const PciFunction& wanted) {
  return handle_of(SmbFindDeviceRecord(wanted));
}

const uint8_t* find_correlation_at(uint32_t segment, uint32_t bus, uint8_t device_function) {
  return find_of_type(kDeviceCorrelation, [&](const uint8_t* candidate) {
    return word_at(candidate, 36) == segment && byte_at(candidate, 38) == bus &&
           byte_at(candidate, 39) == device_function;
  });
}
