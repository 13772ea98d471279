// SPDX-License-Identifier: Apache-2.0
// What the table knows about a PCI function.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "ortinv/oem_queries.h"
#include "smbios/device_record.h"
#include "smbios/index.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"

namespace {

namespace correlation = layout::correlation;

const uint8_t* find_correlation(uint16_t handle) {
  return first_by(By::kCorrelationDevice, handle);
}

const uint8_t* find_correlation_by_address(const PciFunction& wanted) {
  // Device and function are cut to the field: numbers beyond it match what they
  // share its bits with.
  return find_correlation_at(wanted.segment, wanted.bus,
                             layout::device_function_of(wanted.device, wanted.function));
}

const char* string_or_null(const uint8_t* structure, size_t offset) {
  return structure == nullptr ? nullptr : string_at(structure, offset);
}

// A correlation too short for a part number ends the search, also one of another
// device, kept on purpose: callers see this miss (docs/oddities.md:
// smbios-part-number-short-ends).
const char* part_number_of(uint16_t handle) {
  const uint8_t* found = find_correlation(handle);
  const uint8_t* too_short = first_by(By::kShortCorrelation, 0);
  const bool meets_it = too_short != nullptr && too_short <= found;
  return meets_it ? nullptr : string_or_null(found, correlation::kPartNumber);
}

}  // namespace

char* SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const uint16_t handle = device_handle({segment, bus, device, function});
  const uint8_t* found = handle == 0 ? nullptr : find_correlation(handle);
  if (found == nullptr) {
    return nullptr;
  }
  char* location = strdup(string_at(found, correlation::kLocation));
  if (location == nullptr) {
    return nullptr;
  }
  DebugLog("smbios_vmw: %s : pci location from smbios is [%d].\n", "SmbGetPciLocation",
           static_cast<int>(reinterpret_cast<intptr_t>(location)));
  return location;
}

const char* SmbGetPartNumber(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const PciFunction wanted = {segment, bus, device, function};
  const uint16_t handle = device_handle(wanted);
  // A device that has a record of its own is found through it or not at all.
  if (handle != 0) {
    return part_number_of(handle);
  }
  const uint8_t* first = first_by(By::kCorrelation, 0);
  if (first == nullptr) {
    return nullptr;
  }
  DebugLog("smbios: %s: Type 203 record length is [%d].\n", "SmbGetPartNumber",
           formatted_length(first));
  if (formatted_length(first) < correlation::kLengthWithAddress) {
    DebugLog(
        "smbios: %s: PCI Info not yet implemented in Type 203.  Return NULL for Part Number.\n",
        "SmbGetPartNumber");
    return nullptr;
  }
  DebugLog("smbios: %s: Using Type 203 record (DEVICE CORRELATION) to find Part Number...\n",
           "SmbGetPartNumber");
  return string_or_null(find_correlation_by_address(wanted), correlation::kPartNumber);
}

const char* SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const PciFunction wanted = {segment, bus, device, function};
  const uint16_t handle = device_handle(wanted);
  if (handle != 0) {
    return string_or_null(find_correlation(handle), correlation::kName);
  }
  const uint8_t* first = first_by(By::kCorrelation, 0);
  if (first == nullptr) {
    return nullptr;
  }
  if (formatted_length(first) < correlation::kLengthWithAddress) {
    DebugLog("smbios: %s: PCI Info not yet implemented in Type 203.  Return NULL for PCI name.\n",
             "SmbGetPciName");
    return nullptr;
  }
  DebugLog("smbios: %s: Using Type 203 record (DEVICE CORRELATION) to find PCI name...\n",
           "SmbGetPciName");
  return string_or_null(find_correlation_by_address(wanted), correlation::kName);
}

const char* SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device, uint8_t function) {
  const uint16_t handle = device_handle({segment, bus, device, function});
  if (handle == 0) {
    return nullptr;
  }
  // Not every correlation of a device has a text linked to it; the first that has
  // one answers.
  return string_or_null(first_by(By::kLinkedDevice, handle), layout::linked_text::kText);
}
