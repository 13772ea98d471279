// What the table knows about a PCI function.
#include <cstdlib>
#include <cstring>

#include "log/log.h"
#include "ortinv/oem_queries.h"
#include "smbios/device_record.h"
#include "smbios/table.h"

namespace {

constexpr uint8_t kLinkedText = 240;

// In a correlation structure.
constexpr size_t kDeviceHandleOffset = 4;
constexpr size_t kNameOffset = 30;
constexpr size_t kLocationOffset = 31;
constexpr size_t kPartNumberOffset = 34;
constexpr uint8_t kCorrelationWithPartNumber = 36;

const uint8_t* find_correlation(uint16_t handle) {
  return find_of_type(kDeviceCorrelation, [&](const uint8_t* candidate) {
    return word_at(candidate, kDeviceHandleOffset) == handle;
  });
}

const uint8_t* find_correlation_by_address(const PciFunction& wanted) {
  // Cut to the field: numbers beyond it match what they share its bits with.
  const uint32_t device_function = wanted.device << 3 | (wanted.function & 7);
  return find_correlation_at(wanted.segment, wanted.bus, static_cast<uint8_t>(device_function));
}

const char* string_or_null(const uint8_t* structure, size_t offset) {
  return structure == nullptr ? nullptr : string_at(structure, offset);
}

// A correlation too short for a part number ends the search, also one of another
// device (kept on purpose).
const char* part_number_of(uint16_t handle) {
  const uint8_t* found = find_of_type(kDeviceCorrelation, [&](const uint8_t* candidate) {
    return formatted_length(candidate) < kCorrelationWithPartNumber ||
           word_at(candidate, kDeviceHandleOffset) == handle;
  });
  if (found == nullptr || formatted_length(found) < kCorrelationWithPartNumber) {
    return nullptr;
  }
  return string_at(found, kPartNumberOffset);
}

}  // namespace

char* SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const uint16_t handle = device_handle({segment, bus, device, function});
  const uint8_t* correlation = handle == 0 ? nullptr : find_correlation(handle);
  if (correlation == nullptr) {
    return nullptr;
  }
  char* location = strdup(string_at(correlation, kLocationOffset));
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
  const uint8_t* first = next_of_type(kDeviceCorrelation, nullptr);
  if (first == nullptr) {
    return nullptr;
  }
  DebugLog("smbios: %s: Type 203 record length is [%d].\n", "SmbGetPartNumber",
           formatted_length(first));
  if (formatted_length(first) < kCorrelationWithAddress) {
    DebugLog(
        "smbios: %s: PCI Info not yet implemented in Type 203.  Return NULL for Part Number.\n",
        "SmbGetPartNumber");
    return nullptr;
  }
  DebugLog("smbios: %s: Using Type 203 record (DEVICE CORRELATION) to find Part Number...\n",
           "SmbGetPartNumber");
  return string_or_null(find_correlation_by_address(wanted), kPartNumberOffset);
}

const char* SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const PciFunction wanted = {segment, bus, device, function};
  const uint16_t handle = device_handle(wanted);
  if (handle != 0) {
    return string_or_null(find_correlation(handle), kNameOffset);
  }
  const uint8_t* first = next_of_type(kDeviceCorrelation, nullptr);
  if (first == nullptr) {
    return nullptr;
  }
  if (formatted_length(first) < kCorrelationWithAddress) {
    DebugLog("smbios: %s: PCI Info not yet implemented in Type 203.  Return NULL for PCI name.\n",
             "SmbGetPciName");
    return nullptr;
  }
  DebugLog("smbios: %s: Using Type 203 record (DEVICE CORRELATION) to find PCI name...\n",
           "SmbGetPciName");
  return string_or_null(find_correlation_by_address(wanted), kNameOffset);
}

const char* SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device, uint8_t function) {
  const uint16_t handle = device_handle({segment, bus, device, function});
  if (handle == 0) {
    return nullptr;
  }
  // Not every correlation of a device has a text linked to it; the first that has
  // one answers.
  const uint8_t* linked = nullptr;
  find_of_type(kDeviceCorrelation, [&](const uint8_t* correlation) {
    if (word_at(correlation, kDeviceHandleOffset) != handle) {
      return false;
    }
    linked = find_of_type(kLinkedText, [&](const uint8_t* candidate) {
      return word_at(candidate, 4) == handle_of(correlation);
    });
    return linked != nullptr;
  });
  return string_or_null(linked, 10);
}
