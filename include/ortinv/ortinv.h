/* SPDX-License-Identifier: Apache-2.0 */
/* The whole inventory library: what firmware, hypervisor and BMC know about the
 * host. Each header can also be included alone. */
#ifndef ORTINV_ORTINV_H_
#define ORTINV_ORTINV_H_

/* The firmware's SMBIOS table: records, dumps, PCI devices, drives, NIC ports. */
#include <ortinv/oem_queries.h>
#include <ortinv/smbios_load.h>
#include <ortinv/smbios_records.h>
#include <ortinv/smbios_standard.h>
#include <ortinv/smbios_table.h>
#include <ortinv/smbios_types.h>

/* The hypervisor: release, memory, installed software. */
#include <ortinv/host_identity.h>
#include <ortinv/memory_info.h>
#include <ortinv/software_table.h>

/* The BMC: addresses, variables, and its registration with the host's agent. */
#include <ortinv/entity_mib.h>
#include <ortinv/interval.h>
#include <ortinv/network_address.h>
#include <ortinv/pci_support_check.h>
#include <ortinv/rev_mode.h>
#include <ortinv/support_check.h>
#include <ortinv/variables.h>

#include <ortinv/export.h>
#include <ortinv/library.h>
#include <ortinv/text_cut.h>

#endif /* ORTINV_ORTINV_H_ */
