// SPDX-License-Identifier: Apache-2.0
// The port number of a NIC.
#include "log/log.h"
#include "ortinv/oem_queries.h"
#include "smbios/device_record.h"
#include "smbios/index.h"
#include "smbios/oem_layout.h"
#include "smbios/table.h"

namespace {

namespace correlation = layout::correlation;

// 0 when the NIC is not there or its port is not given.
uint8_t port_from_nic_info(uint8_t segment, uint8_t bus, uint8_t device_function) {
  DebugLog("smbios: SmbGetNicPortNum: Using Type 233 record (NIC_INFO)...\n");
  const uint8_t* nic = first_by(By::kNicAddress, address_value(segment, bus, device_function));
  if (nic == nullptr) {
    return 0;
  }
  DebugLog("smbios: SmbGetNicPortNum: NIC FOUND in Type 233 record (NIC_INFO)...\n");
  return byte_at(nic, layout::nic::kPort);
}

uint8_t port_from_correlation(uint8_t segment, uint8_t bus, uint8_t device_function) {
  DebugLog("smbios: SmbGetNicPortNum: Using Type 203 record (DEVICE CORRELATION)...\n");
  const uint8_t* nic = find_correlation_at(segment, bus, device_function);
  if (nic == nullptr) {
    return 0;
  }
  DebugLog("smbios: SmbGetNicPortNum: NIC FOUND in Type 203 record (DEVICE CORRELATION)...\n");
  return byte_at(nic, correlation::kNicPort);
}

}  // namespace

uint8_t SmbGetNicPortNum(uint8_t segment, uint8_t bus, uint8_t device_function) {
  DebugLog("smbios: SmbGetNicPortNum: for PCI segment [0x%x] bus [0x%x] devfunc [0x%x]...\n",
           segment, bus, device_function);
  // Without correlations the type 233 structures are not asked either, kept on
  // purpose: callers see this 0 (docs/oddities.md: smbios-nic-needs-correlation).
  const uint8_t* first_correlation = first_by(By::kCorrelation, 0);
  if (first_correlation == nullptr) {
    return 0;
  }
  const uint8_t port = port_from_nic_info(segment, bus, device_function);
  if (port != 0) {
    return port;
  }
  // Also after a NIC without port number was found, kept on purpose: readers of
  // the log know the pair (docs/oddities.md: smbios-nic-found-not-found).
  DebugLog("smbios: SmbGetNicPortNum: NIC NOT FOUND in Type 233 record (NIC_INFO)!\n");
  if (formatted_length(first_correlation) < correlation::kLengthWithAddress) {
    return 0;
  }
  return port_from_correlation(segment, bus, device_function);
}
