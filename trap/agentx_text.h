// SPDX-License-Identifier: Apache-2.0
// The texts that the AgentX decoder makes of binary values: object identifiers,
// IP addresses and hexadecimal dumps.
#ifndef TVUREV_TRAP_AGENTX_TEXT_H_
#define TVUREV_TRAP_AGENTX_TEXT_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// A text of at most 255 characters and its terminating zero; longer ones are
// cut.
using OidText = std::array<char, 256>;

// Renders an AgentX object identifier: "1.3.6.1", the prefix (also a prefix of
// 0), then each of the 32-bit little-endian sub-identifiers as a signed decimal.
// Each piece is cut to 7 characters, its dot included, since receivers know the
// names so (docs/oddities.md: oid-pieces-of-7-characters): a sub-identifier of
// more than six digits keeps its first six, and 4294967295 reads -1.
OidText render_oid(uint8_t prefix, std::span<const uint8_t> sub_identifiers);

// Renders bytes as unsigned decimals joined by dots; no bytes give no text.
std::string render_dotted(std::span<const uint8_t> bytes);

// Renders the first length bytes of the text, zeros beyond its end included, as
// hexadecimal, each taken as a signed char and cut to 7 characters, as debug logs
// always showed them (docs/oddities.md: hex-of-signed-chars): 0x80 reads ffffff8.
// At most 255 characters.
OidText render_hex(std::string_view text, size_t length);

#endif  // TVUREV_TRAP_AGENTX_TEXT_H_
