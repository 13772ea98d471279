// SPDX-License-Identifier: Apache-2.0
// The decoded SMBIOS records as JSON.
#ifndef TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
#define TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_

#include <ortinv/smbios_types.h>

#include <cstdint>

#include "ortinv/report.h"

// Turns the array that SmBiosGetRecords gave for this type into a list of
// objects, whose keys are those of the type's fields.
Json smbios_records_json(const SmbType& type, const void* records, uint32_t count);

#endif  // TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
