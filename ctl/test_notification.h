// SPDX-License-Identifier: Apache-2.0
// A notification as a host agent would hand it over, made for a test.
#ifndef TVUREV_CTL_TEST_NOTIFICATION_H_
#define TVUREV_CTL_TEST_NOTIFICATION_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// An object identifier below 1.3.6.1 and of at least six arcs, as a notification
// has it; nothing for any other text.
struct TestOid {
  uint8_t prefix = 0;
  std::vector<uint32_t> sub_identifiers;
};
std::optional<TestOid> parse_test_oid(std::string_view text);

// The longest text that a notification takes.
inline constexpr size_t kTestTextMax = 1024;

// A Notify-PDU with sysUpTime, the trap's identity and one binding, OID.1, with the
// text.
std::vector<uint8_t> build_test_notification(const TestOid& oid, std::string_view text,
                                             uint32_t uptime_ticks);

#endif  // TVUREV_CTL_TEST_NOTIFICATION_H_
