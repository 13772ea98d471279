// The decoded SMBIOS records as JSON.
#ifndef TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
#define TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_

#include <cstdint>

#include "ortinv/report.h"

// Turns the array that SmBiosGetRecords gave for this type into a list of
// objects; an empty list for a type without records.
Json smbios_records_json(uint32_t type, const void* records, uint32_t count);

#endif  // TVUREV_ORTINV_SMBIOS_RECORDS_JSON_H_
