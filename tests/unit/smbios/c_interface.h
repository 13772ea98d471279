/* SPDX-License-Identifier: Apache-2.0 */
/* What c_interface.c finds with the library, for the test beside it. */
#ifndef TVUREV_TESTS_UNIT_SMBIOS_C_INTERFACE_H_
#define TVUREV_TESTS_UNIT_SMBIOS_C_INTERFACE_H_

/* NOLINTNEXTLINE(modernize-deprecated-headers): also read by C compilers */
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

uint32_t count_slots_from_c(void);
uint32_t count_structures_from_c(void);
uint32_t count_fields_from_c(void);
const char* pci_name_from_c(uint32_t segment, uint32_t bus);

#ifdef __cplusplus
}
#endif

#endif /* TVUREV_TESTS_UNIT_SMBIOS_C_INTERFACE_H_ */
