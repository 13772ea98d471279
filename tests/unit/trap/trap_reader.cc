// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/trap/trap_reader.h"

#include <array>
#include <cstdio>

#include "lab/supervisor/trap_reader.h"

namespace {

std::string tagged_text(const TrapMessage::Binding& binding) {
  constexpr uint8_t kOctetString = 0x04;
  std::array<char, 4> tag = {};
  snprintf(tag.data(), tag.size(), "%02x:", binding.tag);
  if (binding.tag == kOctetString) {
    return tag.data() + std::string(binding.contents.begin(), binding.contents.end());
  }
  // The tag stands for the type's name, as in "ip:10.0.0.5".
  const std::string text = value_text(binding);
  return tag.data() + text.substr(text.find(':') + 1);
}

}  // namespace

ReadTrap read_trap(std::span<const uint8_t> message) {
  const auto trap = read_trap_message(message);
  if (!trap) {
    return {"not a trap", {}};
  }
  ReadTrap read = {trap->community + " " + trap->enterprise + " " + trap->agent + " " +
                       trap->generic + " " + trap->specific + " " + trap->time_stamp,
                   {}};
  for (const TrapMessage::Binding& binding : trap->bindings) {
    read.bindings.push_back(binding.name + " " + tagged_text(binding));
  }
  return read;
}
