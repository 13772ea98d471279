// SPDX-License-Identifier: Apache-2.0
// Takes the secrets out of the host's SNMP settings, so that they can be given to
// others.
#ifndef TVUREV_CTL_MASKING_H_
#define TVUREV_CTL_MASKING_H_

#include <string>
#include <string_view>

inline constexpr std::string_view kMask = "******";

// The text with every community replaced by the mask: of each target, well-formed
// or not; what <communities> and the elements of users and keys hold; what follows
// an "@PORT " in any other place, as in a comment; and each of these texts
// wherever else it stands.
std::string masked_settings(std::string_view text);

// Any other text with what these settings hold of secrets replaced.
std::string masked_by(std::string_view settings, std::string text);

#endif  // TVUREV_CTL_MASKING_H_
