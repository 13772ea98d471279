// SPDX-License-Identifier: Apache-2.0
// The SMBIOS table of the sample host: a two-socket server with eight slots,
// four onboard devices and four drives, everything correlated by the maker's OEM
// structures.
//
//   bus   device                         handles: device  203     240
//   0x11  slot 3, dual-port adapter               0x0903  0x2003  0x2403
//   0x14  slot 4, storage adapter                 0x0904  0x2004  0x2404
//   0x02  onboard NIC ports 1 and 2 (f 0, 1)      0x2900  0x2010  0x2410
//                                                 0x2901  0x2011
//   0x03  onboard storage                         0x2902  0x2012
//   0x01  onboard video                           0x2903  none
//   0x60  accelerator, neither slot nor onboard   none    0x2020
#ifndef TVUREV_TESTS_SUPPORT_SMBIOS_SAMPLE_HOST_H_
#define TVUREV_TESTS_SUPPORT_SMBIOS_SAMPLE_HOST_H_

#include "tests/support/smbios/table_builder.h"

SmbiosTable sample_host_table();

#endif  // TVUREV_TESTS_SUPPORT_SMBIOS_SAMPLE_HOST_H_
