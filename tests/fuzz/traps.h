// SPDX-License-Identifier: Apache-2.0
// For the targets whose input may become a trap.
#ifndef TVUREV_TESTS_FUZZ_TRAPS_H_
#define TVUREV_TESTS_FUZZ_TRAPS_H_

#include "tests/fuzz/fake_host.h"

// One receiver, to whom each notification's trap goes.
void receive_traps();

// Whatever was sent is an SNMPv1 trap from its first byte to its last, for that
// receiver's community, with 25 bindings at most.
void require_good_traps(const FakeHost& host);

#endif  // TVUREV_TESTS_FUZZ_TRAPS_H_
