// SPDX-License-Identifier: Apache-2.0
// What every fuzz target is made of. A target is one file, NAME_fuzz.cc, that
// defines LLVMFuzzerTestOneInput; libFuzzer drives it in the "fuzz" preset,
// replay.cc runs it over its corpus in every other.
#ifndef TVUREV_TESTS_FUZZ_TARGET_H_
#define TVUREV_TESTS_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// libFuzzer's name for it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the process, after saying which property was broken, unless it holds:
// libFuzzer keeps the input then.
void require(bool holds, const char* property);

// Executes one input twice. outcome_of() resets whatever an earlier execution
// left behind, requires what must hold, and returns what can be seen from
// outside. Requires that both outcomes are the same, that the second execution
// left no memory behind, reachable or not, and that both left the process's
// descriptors as they were.
void execute(std::span<const uint8_t> bytes, std::string (*outcome_of)(std::span<const uint8_t>));

#endif  // TVUREV_TESTS_FUZZ_TARGET_H_
