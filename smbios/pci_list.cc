// SPDX-License-Identifier: Apache-2.0
// Every PCI function that the table knows an address of.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <tuple>

#include "ortinv/oem_queries.h"
#include "ortinv/smbios_table.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"

namespace {

struct AddressFields {
  uint8_t type;
  uint8_t least_length;
  size_t segment;
  size_t bus;
  size_t device_function;
};

constexpr std::array kAddressFields = {
    AddressFields{layout::slot::kType, layout::slot::kLengthWithAddress, layout::slot::kSegment,
                  layout::slot::kBus, layout::slot::kDeviceFunction},
    AddressFields{layout::onboard::kType, layout::onboard::kLengthWithAddress,
                  layout::onboard::kSegment, layout::onboard::kBus,
                  layout::onboard::kDeviceFunction},
    AddressFields{layout::correlation::kType, layout::correlation::kLengthWithAddress,
                  layout::correlation::kSegment, layout::correlation::kBus,
                  layout::correlation::kDeviceFunction},
    AddressFields{layout::nic::kType, layout::nic::kLengthWithAddress, layout::nic::kSegment,
                  layout::nic::kBus, layout::nic::kDeviceFunction},
};

// The bus of an empty slot.
constexpr uint8_t kNoBus = 0xFF;

// The fields of a structure that has an address, else null.
const AddressFields* address_fields_of(const uint8_t* structure) {
  for (const AddressFields& fields : kAddressFields) {
    if (byte_at(structure, 0) == fields.type) {
      const bool has_address = formatted_length(structure) >= fields.least_length &&
                               byte_at(structure, fields.bus) != kNoBus;
      return has_address ? &fields : nullptr;
    }
  }
  return nullptr;
}

SmbPciAddress address_at(const uint8_t* structure, const AddressFields& fields) {
  const uint8_t device_function = byte_at(structure, fields.device_function);
  return {word_at(structure, fields.segment), byte_at(structure, fields.bus),
          layout::device_of(device_function), layout::function_of(device_function)};
}

// Stores the addresses in table order, unless list is null. Returns how many.
uint32_t collect(SmbPciAddress* list) {
  uint32_t count = 0;
  const uint8_t* structure = nullptr;
  while (SmBiosNextStructure(&structure) == 1) {
    const AddressFields* fields = address_fields_of(structure);
    if (fields == nullptr) {
      continue;
    }
    if (list != nullptr) {
      list[count] = address_at(structure, *fields);
    }
    ++count;
  }
  return count;
}

auto sort_key(const SmbPciAddress& address) {
  return std::tie(address.segment, address.bus, address.device, address.function);
}

}  // namespace

int SmbListPciDevices(SmbPciAddress** addresses, uint32_t* count) {
  if (addresses == nullptr || count == nullptr) {
    return -1;
  }
  *addresses = nullptr;
  *count = 0;
  if (!table_initialised()) {
    return -1;
  }
  const uint32_t found = collect(nullptr);
  if (found == 0) {
    return 0;
  }
  auto* list = static_cast<SmbPciAddress*>(calloc(found, sizeof(SmbPciAddress)));
  if (list == nullptr) {
    return -1;
  }
  collect(list);
  std::sort(list, list + found, [](const SmbPciAddress& one, const SmbPciAddress& other) {
    return sort_key(one) < sort_key(other);
  });
  const SmbPciAddress* end =
      std::unique(list, list + found, [](const SmbPciAddress& one, const SmbPciAddress& other) {
        return sort_key(one) == sort_key(other);
      });
  *addresses = list;
  *count = static_cast<uint32_t>(end - list);
  return 0;
}
