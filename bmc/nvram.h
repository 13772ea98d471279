// SPDX-License-Identifier: Apache-2.0
// Reads and writes one named variable (EV) of the BMC's non-volatile memory on
// an open channel. All messages go through DebugLog.
#ifndef TVUREV_BMC_NVRAM_H_
#define TVUREV_BMC_NVRAM_H_

#include <cstdint>

// Reads variable name into value, which holds capacity bytes. Returns 1 when
// the exchange failed or there is no memory. Otherwise returns 0 and sets
// status; length is the number of bytes copied, 0 when status is not nvram::response::kSuccess
// or the variable is longer than capacity (value is then untouched).
int OsGetEV(int fd, const char* name, uint8_t* value, uint16_t capacity, uint8_t* status,
            uint16_t* length);

// Writes value_length bytes to variable name. Returns 1 when the exchange
// failed, the request does not fit a KCS packet or there is no memory;
// otherwise 0, with the BMC's answer in status.
int OsSetEV(int fd, const char* name, const uint8_t* value, uint16_t value_length, uint8_t* status);

#endif  // TVUREV_BMC_NVRAM_H_
