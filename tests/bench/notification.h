// SPDX-License-Identifier: Apache-2.0
// The notification that the bench relays, in every form that a row takes it in.
// Each carries a stamp of its own as its time stamp, by which its trap is known
// among all others.
#ifndef TVUREV_TESTS_BENCH_NOTIFICATION_H_
#define TVUREV_TESTS_BENCH_NOTIFICATION_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tests/support/packets.h"

inline constexpr int kUsualBindings = 8;
inline constexpr size_t kUsualSize = 416;  // of the PDU with that many bindings

// Stamps begin here, so that each takes four bytes in a trap.
inline constexpr uint32_t kFirstStamp = 0x01000000;

// An AgentX Notify PDU: time stamp, trap OID, and this many bindings of the
// types that a BMC sends, in turn.
Bytes notification_pdu(int bindings);

// The same in a CHIF packet.
Bytes notification_packet(int bindings);

// Writes the stamp into a PDU that begins at offset.
void put_stamp(std::span<uint8_t> bytes, size_t offset, uint32_t stamp);

// Whether a trap carries the stamp.
bool carries_stamp(std::span<const uint8_t> trap, uint32_t stamp);

// The arguments of snmptrap that send the same trap to a receiver.
std::vector<std::string> snmptrap_arguments(int bindings, uint32_t stamp,
                                            const std::string& receiver);

// Where the agent of every trap is said to be: vmk0 of the sample host.
inline constexpr const char* kAgentAddress = "192.0.2.20";

#endif  // TVUREV_TESTS_BENCH_NOTIFICATION_H_
