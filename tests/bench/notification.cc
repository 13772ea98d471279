// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/notification.h"

#include <algorithm>
#include <array>

#include "wire/little_endian.h"

namespace {

constexpr const char* kTrapOid = "1.3.6.1.4.1.32473.1.0.7";
constexpr const char* kEnterprise = "1.3.6.1.4.1.32473.1";
constexpr const char* kSpecificTrap = "7";
constexpr const char* kObjectValue = "1.3.6.1.4.1.32473.1.2.3";
constexpr uint16_t kCmdNotification = 0x0194;

// Behind the header, the first binding's own header and its four numbers.
constexpr size_t kStampOffset = 20 + 8 + 16;

enum class Kind { kInteger, kGauge, kCounter, kText, kObject };
struct Binding {
  Kind kind;
  const char* text;
};

constexpr std::array<Binding, kUsualBindings> kPattern = {{
    {Kind::kInteger, "3"},
    {Kind::kText, "Fan 3 in zone 2"},
    {Kind::kGauge, "4200"},
    {Kind::kText, "System Board 1"},
    {Kind::kObject, kObjectValue},
    {Kind::kText, "SN-0123456789012"},
    {Kind::kCounter, "71"},
    {Kind::kText, "Degraded, redundant"},
}};

std::string name_of(int index) {
  return "1.3.6.1.4.1.32473.2." + std::to_string(index + 1);
}

const Binding& binding_at(int index) {
  return kPattern[static_cast<size_t>(index) % kPattern.size()];
}

void add_binding(NotifyBuilder* builder, int index) {
  const std::string name = name_of(index);
  const Binding& binding = binding_at(index);
  switch (binding.kind) {
    case Kind::kInteger:
      builder->integer(name, std::stoi(binding.text));
      break;
    case Kind::kGauge:
      builder->gauge32(name, static_cast<uint32_t>(std::stoul(binding.text)));
      break;
    case Kind::kCounter:
      builder->counter32(name, static_cast<uint32_t>(std::stoul(binding.text)));
      break;
    case Kind::kText:
      builder->octets(name, binding.text);
      break;
    case Kind::kObject:
      builder->object_id(name, binding.text);
      break;
  }
}

const char* snmptrap_type(Kind kind) {
  switch (kind) {
    case Kind::kText:
      return "s";
    case Kind::kObject:
      return "o";
    case Kind::kInteger:
    case Kind::kGauge:
    case Kind::kCounter:
      break;
  }
  return "i";
}

}  // namespace

Bytes notification_pdu(int bindings) {
  NotifyBuilder builder;
  builder.uptime(kFirstStamp).trap_oid(kTrapOid);
  for (int index = 0; index < bindings; ++index) {
    add_binding(&builder, index);
  }
  return builder.bytes();
}

Bytes notification_packet(int bindings) {
  return ChifBuilder(kCmdNotification).svc(13).agentx(notification_pdu(bindings)).bytes();
}

void put_stamp(std::span<uint8_t> bytes, size_t offset, uint32_t stamp) {
  put_u32(bytes, offset + kStampOffset, stamp);
}

bool carries_stamp(std::span<const uint8_t> trap, uint32_t stamp) {
  const auto byte = [&](int shift) { return static_cast<uint8_t>(stamp >> shift); };
  const std::array<uint8_t, 6> ticks = {0x43, 4, byte(24), byte(16), byte(8), byte(0)};
  return std::search(trap.begin(), trap.end(), ticks.begin(), ticks.end()) != trap.end();
}

std::vector<std::string> snmptrap_arguments(int bindings, uint32_t stamp,
                                            const std::string& receiver) {
  std::vector<std::string> arguments = {
      "snmptrap",           "-v",        "1",           "-c", "public",
      receiver + ":162",    kEnterprise, kAgentAddress, "6",  kSpecificTrap,
      std::to_string(stamp)};
  for (int index = 0; index < bindings; ++index) {
    const Binding& binding = binding_at(index);
    arguments.insert(arguments.end(), {name_of(index), snmptrap_type(binding.kind), binding.text});
  }
  return arguments;
}
