// SPDX-License-Identifier: Apache-2.0
// What the text of a trap receiver is, told without asking anyone.
#ifndef TVUREV_TRAP_RECEIVER_TEXT_H_
#define TVUREV_TRAP_RECEIVER_TEXT_H_

#include <cstddef>
#include <string_view>

enum class ReceiverKind {
  kNumeric,    // digits and dots, with or without a port: never looked up
  kName,       // a host name, with or without a port
  kIpv6,       // an IPv6 address: an SNMPv1 trap is not sent there
  kMalformed,  // none of these
};

// The longest name that is looked up.
inline constexpr size_t kReceiverNameMax = 63;

// The views lie in the text that was read.
struct ReceiverText {
  ReceiverKind kind;
  std::string_view name;  // of kName; else empty
  std::string_view port;  // with its separator, "/162" or ":162"; empty without one
};

// Reads the text of a receiver: blanks before it are skipped; a port follows the
// last ":" or "/" and is not 0; the host may stand in brackets. A numeric text may
// still be no address ("300.1.1.1").
ReceiverText read_receiver(std::string_view text);

// As much of the text as may be shown to anyone: without the blanks before it, up to
// the next blank or ";", behind which a community may stand where an entry was
// written wrongly. The view lies in the text.
std::string_view shown_receiver(std::string_view text);

#endif  // TVUREV_TRAP_RECEIVER_TEXT_H_
