// SPDX-License-Identifier: Apache-2.0
#include "ctl/test_notification.h"

#include <algorithm>
#include <charconv>

#include "wire/agentx.h"
#include "wire/little_endian.h"

namespace {

constexpr std::string_view kInternet = "1.3.6.1.";
constexpr size_t kFewestArcs = 2;  // behind 1.3.6.1
constexpr size_t kMostArcs = 32;

// The names as a notification has them: the arc behind 1.3.6.1, and the rest.
const TestOid kSysUpTime = {2, {1, 1, 3, 0}};
const TestOid kSnmpTrapOid = {6, {3, 1, 1, 4, 1, 0}};

void append_u32(std::vector<uint8_t>& bytes, uint32_t value) {
  bytes.resize(bytes.size() + agentx::kWordSize);
  put_u32(bytes, bytes.size() - agentx::kWordSize, value);
}

void append_oid(std::vector<uint8_t>& bytes, const TestOid& oid) {
  bytes.push_back(static_cast<uint8_t>(oid.sub_identifiers.size()));
  bytes.push_back(oid.prefix);
  bytes.insert(bytes.end(), 2, 0);
  for (const uint32_t arc : oid.sub_identifiers) {
    append_u32(bytes, arc);
  }
}

void begin_binding(std::vector<uint8_t>& bytes, uint16_t type, const TestOid& name) {
  bytes.resize(bytes.size() + agentx::binding::kNameSubids);
  put_u16(bytes, bytes.size() - agentx::binding::kNameSubids, type);
  append_oid(bytes, name);
}

void append_octets(std::vector<uint8_t>& bytes, std::string_view text) {
  append_u32(bytes, static_cast<uint32_t>(text.size()));
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.resize((bytes.size() + agentx::kWordSize - 1) / agentx::kWordSize * agentx::kWordSize);
}

}  // namespace

std::optional<TestOid> parse_test_oid(std::string_view text) {
  if (!text.starts_with(kInternet)) {
    return std::nullopt;
  }
  text.remove_prefix(kInternet.size());
  std::vector<uint32_t> arcs;
  while (true) {
    const size_t end = std::min(text.find('.'), text.size());
    uint32_t arc = 0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + end, arc);
    if (error != std::errc{} || last != text.data() + end || end == 0) {
      return std::nullopt;
    }
    arcs.push_back(arc);
    if (end == text.size()) {
      break;
    }
    text.remove_prefix(end + 1);
  }
  if (arcs.size() < kFewestArcs || arcs.size() > kMostArcs || arcs.front() > UINT8_MAX) {
    return std::nullopt;
  }
  return TestOid{static_cast<uint8_t>(arcs.front()), {arcs.begin() + 1, arcs.end()}};
}

std::vector<uint8_t> build_test_notification(const TestOid& oid, std::string_view text,
                                             uint32_t uptime_ticks) {
  std::vector<uint8_t> bytes(agentx::header::kSize);
  begin_binding(bytes, agentx::type::kTimeTicks, kSysUpTime);
  append_u32(bytes, uptime_ticks);
  begin_binding(bytes, agentx::type::kObjectIdentifier, kSnmpTrapOid);
  append_oid(bytes, oid);
  TestOid name = oid;
  name.sub_identifiers.push_back(1);
  begin_binding(bytes, agentx::type::kOctetString, name);
  append_octets(bytes, text.substr(0, kTestTextMax));
  put_u8(bytes, agentx::header::kVersion, 1);
  put_u8(bytes, agentx::header::kType, agentx::kNotify);
  put_u32(bytes, agentx::header::kPayloadLength,
          static_cast<uint32_t>(bytes.size() - agentx::header::kSize));
  return bytes;
}
