// SPDX-License-Identifier: Apache-2.0
// The values to choose from where an argument or option has such: for checks,
// help and completion. Those that are looked up on the host are empty, and say
// nothing, where they cannot be.
#ifndef TVUREV_ORTINV_CHOICES_H_
#define TVUREV_ORTINV_CHOICES_H_

#include <string>
#include <vector>

using Words = std::vector<std::string>;

Words mode_choices();
Words selector_choices();
Words type_choices();
Words keyword_choices();

// Looked up.
Words pci_choices();
Words serial_choices();
Words package_choices();

// "1, 2 or 3".
std::string choice_text(const Words& choices);

#endif  // TVUREV_ORTINV_CHOICES_H_
