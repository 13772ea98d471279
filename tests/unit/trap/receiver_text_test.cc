// SPDX-License-Identifier: Apache-2.0
// Telling addresses, names and neither apart.
#include "trap/receiver_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Reading {
  std::string text;
  ReceiverKind kind;
  const char* name = "";
  const char* port = "";
};

class Receiver : public testing::TestWithParam<Reading> {};

TEST_P(Receiver, IsReadAs) {
  const ReceiverText text = read_receiver(GetParam().text);
  EXPECT_EQ(text.kind, GetParam().kind);
  EXPECT_EQ(text.name, GetParam().name);
  EXPECT_EQ(text.port, GetParam().port);
}

// Whatever has digits and dots only is never looked up, an address or not.
INSTANTIATE_TEST_SUITE_P(Numbers, Receiver,
                         testing::Values(Reading{"192.0.2.7", ReceiverKind::kNumeric},
                                         Reading{"  192.0.2.7 rest!", ReceiverKind::kNumeric},
                                         Reading{"127.1", ReceiverKind::kNumeric},
                                         Reading{"300.1.1.1", ReceiverKind::kNumeric},
                                         Reading{".", ReceiverKind::kNumeric},
                                         Reading{"192.0.2.7:1162", ReceiverKind::kNumeric},
                                         Reading{"192.0.2.7/x", ReceiverKind::kNumeric},
                                         Reading{"[192.0.2.7]:1162", ReceiverKind::kNumeric}));

INSTANTIATE_TEST_SUITE_P(
    Names, Receiver,
    testing::Values(Reading{"collector", ReceiverKind::kName, "collector"},
                    Reading{"a-b_c.example.", ReceiverKind::kName, "a-b_c.example."},
                    Reading{"192.0.2.7x", ReceiverKind::kName, "192.0.2.7x"},
                    Reading{" collector", ReceiverKind::kName, "collector"},
                    Reading{"collector:1162", ReceiverKind::kName, "collector", ":1162"},
                    Reading{"collector/1162", ReceiverKind::kName, "collector", "/1162"},
                    Reading{"[collector]:1162", ReceiverKind::kName, "collector", ":1162"},
                    Reading{"beef", ReceiverKind::kName, "beef"},
                    Reading{std::string(63, 'n'), ReceiverKind::kName,
                            "nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn"}));

INSTANTIATE_TEST_SUITE_P(Ipv6, Receiver,
                         testing::Values(Reading{"::1", ReceiverKind::kIpv6},
                                         Reading{"::", ReceiverKind::kIpv6},
                                         Reading{"2001:db8::7", ReceiverKind::kIpv6},
                                         Reading{" 2001:db8::7", ReceiverKind::kIpv6},
                                         Reading{"[2001:db8::7]", ReceiverKind::kIpv6},
                                         Reading{"[2001:db8::7]:162", ReceiverKind::kIpv6},
                                         Reading{"2001:db8::7/162", ReceiverKind::kIpv6},
                                         Reading{"fe80::1%vmk0", ReceiverKind::kIpv6},
                                         Reading{"::ffff:192.0.2.7", ReceiverKind::kIpv6}));

INSTANTIATE_TEST_SUITE_P(Others, Receiver,
                         testing::Values(Reading{"", ReceiverKind::kMalformed},
                                         Reading{"   ", ReceiverKind::kMalformed},
                                         Reading{"a b", ReceiverKind::kMalformed},
                                         Reading{"collector ", ReceiverKind::kMalformed},
                                         Reading{"collector:", ReceiverKind::kMalformed},
                                         Reading{"collector:0", ReceiverKind::kMalformed},
                                         Reading{"collector:65536", ReceiverKind::kMalformed},
                                         Reading{"collector:http", ReceiverKind::kMalformed},
                                         Reading{"collector:162x", ReceiverKind::kMalformed},
                                         Reading{":162", ReceiverKind::kMalformed},
                                         Reading{"[]", ReceiverKind::kMalformed},
                                         Reading{"[", ReceiverKind::kMalformed},
                                         Reading{"a:b:c", ReceiverKind::kMalformed},
                                         Reading{"%n", ReceiverKind::kMalformed},
                                         Reading{"n\xc3\xa4me", ReceiverKind::kMalformed},
                                         Reading{std::string(64, 'n'), ReceiverKind::kMalformed},
                                         Reading{"2001:db8::7::8", ReceiverKind::kMalformed}));

}  // namespace
