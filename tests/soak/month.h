// SPDX-License-Identifier: Apache-2.0
// Lives a life: plays its events in simulated time, shows how far it is, and
// says whether everything balances.
#ifndef TVUREV_TESTS_SOAK_MONTH_H_
#define TVUREV_TESTS_SOAK_MONTH_H_

#include <string>
#include <vector>

#include "tests/soak/life.h"

// Prints progress and a table. Returns whether the account balances; what does
// not is printed with the command that shows it again.
bool live(const LifeSettings& settings, const std::string& clock_library);

#endif  // TVUREV_TESTS_SOAK_MONTH_H_
