// SPDX-License-Identifier: Apache-2.0
// The decoded SMBIOS records as JSON.
#ifndef TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
#define TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_

#include <ortinv/smbios_types.h>

#include <cstdint>

#include "ortinv/report.h"

// Appends the array that SmBiosGetRecords gave for this type to a list, as
// objects whose keys are those of the type's fields.
void append_smbios_records(Json& list, const SmbType& type, const void* records, uint32_t count);

#endif  // TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
