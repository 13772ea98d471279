// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/notification.h"

#include <algorithm>
#include <array>

#include "wire/little_endian.h"

namespace {

constexpr std::array<uint32_t, 4> kInternet = {1, 3, 6, 1};
constexpr std::array<uint32_t, 9> kSysUpTime = {1, 3, 6, 1, 2, 1, 1, 3, 0};
constexpr std::array<uint32_t, 11> kSnmpTrapOid = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
constexpr size_t kMostSubidentifiers = 255;

enum class Form { kNothing, kWord, kText, kHex, kAddress, kObjectIdentifier, kLongWord };

struct TypeName {
  std::string_view name;
  uint16_t type;
  Form form;
};

constexpr std::array<TypeName, 15> kTypes = {{
    {"integer", agentx::type::kInteger, Form::kWord},
    {"counter32", agentx::type::kCounter32, Form::kWord},
    {"gauge32", agentx::type::kGauge32, Form::kWord},
    {"timeticks", agentx::type::kTimeTicks, Form::kWord},
    {"octets", agentx::type::kOctetString, Form::kText},
    {"hex", agentx::type::kOctetString, Form::kHex},
    {"opaque", agentx::type::kOpaque, Form::kText},
    {"opaque-hex", agentx::type::kOpaque, Form::kHex},
    {"ipaddress", agentx::type::kIpAddress, Form::kAddress},
    {"oid", agentx::type::kObjectIdentifier, Form::kObjectIdentifier},
    {"counter64", agentx::type::kCounter64, Form::kLongWord},
    {"null", agentx::type::kNull, Form::kNothing},
    {"noSuchObject", agentx::type::kNoSuchObject, Form::kNothing},
    {"noSuchInstance", agentx::type::kNoSuchInstance, Form::kNothing},
    {"endOfMibView", agentx::type::kEndOfMibView, Form::kNothing},
}};

void append_word(Bytes* bytes, uint32_t value) {
  bytes->resize(bytes->size() + agentx::kWordSize);
  put_u32(*bytes, bytes->size() - agentx::kWordSize, value);
}

void append(Bytes* bytes, std::span<const uint8_t> more) {
  bytes->insert(bytes->end(), more.begin(), more.end());
}

void append_binding(Bytes* pdu, const SentBinding& binding) {
  append_word(pdu, binding.type);
  append(pdu, oid_value(binding.name));
  append(pdu, binding.value);
}

// What encode makes of what was read, if anything was.
template <typename Value, typename Encode>
std::optional<Bytes> encoded(const std::optional<Value>& value, Encode encode) {
  return value ? std::optional<Bytes>(encode(*value)) : std::nullopt;
}

std::optional<Bytes> value_from_text(Form form, std::string_view text) {
  switch (form) {
    case Form::kNothing:
      return text.empty() ? std::optional(Bytes{}) : std::nullopt;
    case Form::kWord:
      return encoded(parse_word(text), word_value);
    case Form::kText:
      return octets_value(Bytes(text.begin(), text.end()));
    case Form::kHex:
      return encoded(parse_hex(text), octets_value);
    case Form::kAddress:
      return encoded(parse_ipv4(text), octets_value);
    case Form::kObjectIdentifier: {
      const auto oid = parse_oid(text);
      return oid && is_encodable(*oid) ? std::optional(oid_value(*oid)) : std::nullopt;
    }
    case Form::kLongWord:
      return encoded(parse_number(text, UINT64_MAX), counter64_value);
  }
  return std::nullopt;
}

// "raw:CODE:HEX" after the "raw:".
bool read_raw_value(std::string_view text, SentBinding* binding) {
  const size_t colon = text.find(':');
  const auto type = parse_number(text.substr(0, colon), UINT16_MAX);
  const auto value =
      colon == std::string_view::npos ? std::nullopt : parse_hex(text.substr(colon + 1));
  if (!type || !value) {
    return false;
  }
  binding->type = static_cast<uint16_t>(*type);
  binding->value = *value;
  return true;
}

// Reading back, for the display: a cursor that stays inside the bytes.
struct Cursor {
  std::span<const uint8_t> bytes;
  size_t at = 0;

  bool has(size_t count) const { return at <= bytes.size() && bytes.size() - at >= count; }
};

bool take_oid(Cursor* cursor, OidNumbers* oid) {
  const size_t count = get_u8(cursor->bytes, cursor->at + agentx::object_id::kSubids);
  const size_t size = agentx::object_id::kArcs + agentx::kWordSize * count;
  if (!cursor->has(size)) {
    return false;
  }
  oid->assign(kInternet.begin(), kInternet.end());
  oid->push_back(get_u8(cursor->bytes, cursor->at + agentx::object_id::kPrefix));
  for (size_t i = 0; i < count; ++i) {
    oid->push_back(
        get_u32(cursor->bytes, cursor->at + agentx::object_id::kArcs + agentx::kWordSize * i));
  }
  cursor->at += size;
  return true;
}

std::string dotted(std::span<const uint8_t> octets) {
  OidNumbers numbers(octets.begin(), octets.end());
  return oid_text(numbers);
}

bool is_text(std::span<const uint8_t> octets) {
  return std::all_of(octets.begin(), octets.end(),
                     [](uint8_t octet) { return octet >= 0x20 && octet <= 0x7E; });
}

std::string octets_text(uint16_t type, std::span<const uint8_t> octets) {
  if (type == agentx::type::kIpAddress) {
    return "ipaddress:" + dotted(octets);
  }
  const std::string prefix = type == agentx::type::kOpaque ? "opaque" : "";
  if (is_text(octets)) {
    return (prefix.empty() ? "octets" : prefix) + ":" + quoted(octets);
  }
  return (prefix.empty() ? "hex" : "opaque-hex") + (":" + hex_text(octets));
}

// As much as fills whole words.
uint64_t padded(uint64_t length) {
  return (length + agentx::kWordSize - 1) / agentx::kWordSize * agentx::kWordSize;
}

bool take_octets(Cursor* cursor, uint16_t type, std::string* text) {
  const uint64_t length = get_u32(cursor->bytes, cursor->at + agentx::octets::kLength);
  if (!cursor->has(agentx::octets::kOctets + length)) {
    return false;
  }
  *text = octets_text(type, cursor->bytes.subspan(cursor->at + agentx::octets::kOctets, length));
  cursor->at += agentx::octets::kOctets + padded(length);
  return true;
}

// The next number of so many words; false when it is not all there.
bool take_number(Cursor* cursor, size_t words, uint64_t* number) {
  const size_t size = words * agentx::kWordSize;
  const uint64_t high = words > 1 ? get_u32(cursor->bytes, cursor->at + agentx::kWordSize) : 0;
  *number = high << 32 | get_u32(cursor->bytes, cursor->at);
  const bool whole = cursor->has(size);
  cursor->at += size;
  return whole;
}

// Takes the value of a binding whose type the table knows.
bool take_value(Cursor* cursor, const TypeName& type, std::string* text) {
  switch (type.form) {
    case Form::kText:
    case Form::kHex:
    case Form::kAddress:
      return take_octets(cursor, type.type, text);
    case Form::kObjectIdentifier: {
      OidNumbers oid;
      const bool taken = take_oid(cursor, &oid);
      *text = "oid:" + oid_text(oid);
      return taken;
    }
    case Form::kWord:
    case Form::kLongWord: {
      uint64_t number = 0;
      const bool whole = take_number(cursor, type.form == Form::kWord ? 1 : 2, &number);
      *text = std::string(type.name) + ":" +
              (type.type == agentx::type::kInteger ? std::to_string(static_cast<int32_t>(number))
                                                   : std::to_string(number));
      return whole;
    }
    case Form::kNothing:
      *text = type.name;
      return true;
  }
  return false;
}

// Takes one binding and appends its word. False ends the walk.
bool take_binding(Cursor* cursor, std::string* description) {
  const uint16_t code = get_u16(cursor->bytes, cursor->at + agentx::binding::kType);
  OidNumbers name;
  if (!cursor->has(agentx::binding::kName)) {
    return false;
  }
  cursor->at += agentx::binding::kNameSubids;
  if (!take_oid(cursor, &name)) {
    return false;
  }
  const auto* type = std::find_if(kTypes.begin(), kTypes.end(),
                                  [&](const TypeName& entry) { return entry.type == code; });
  if (type == kTypes.end()) {
    *description += " " + oid_text(name) + "=raw:" + std::to_string(code) + ":...";
    return false;
  }
  std::string value;
  if (!take_value(cursor, *type, &value)) {
    return false;
  }
  if (code == agentx::type::kTimeTicks && std::ranges::equal(name, kSysUpTime)) {
    *description += " uptime=" + value.substr(value.find(':') + 1);
  } else if (code == agentx::type::kObjectIdentifier && std::ranges::equal(name, kSnmpTrapOid)) {
    *description += " " + value.substr(value.find(':') + 1);
  } else {
    *description += " " + oid_text(name) + "=" + value;
  }
  return true;
}

}  // namespace

Bytes word_value(uint32_t number) {
  Bytes value;
  append_word(&value, number);
  return value;
}

Bytes octets_value(std::span<const uint8_t> octets) {
  Bytes value = word_value(static_cast<uint32_t>(octets.size()));
  append(&value, octets);
  value.resize(padded(value.size()));
  return value;
}

Bytes counter64_value(uint64_t number) {
  Bytes value = word_value(static_cast<uint32_t>(number & UINT32_MAX));
  append_word(&value, static_cast<uint32_t>(number >> 32));
  return value;
}

bool is_encodable(std::span<const uint32_t> oid) {
  return oid.size() > kInternet.size() &&
         oid.size() <= kInternet.size() + 1 + kMostSubidentifiers &&
         std::equal(kInternet.begin(), kInternet.end(), oid.begin()) &&
         oid[kInternet.size()] <= UINT8_MAX;
}

Bytes oid_value(std::span<const uint32_t> oid) {
  const auto rest = oid.subspan(kInternet.size() + 1);
  Bytes value(agentx::object_id::kArcs);
  put_u8(value, agentx::object_id::kSubids, static_cast<uint8_t>(rest.size()));
  put_u8(value, agentx::object_id::kPrefix, static_cast<uint8_t>(oid[kInternet.size()]));
  for (const uint32_t number : rest) {
    append_word(&value, number);
  }
  return value;
}

Bytes build_notify(const SentNotification& notification) {
  Bytes pdu(agentx::header::kSize);
  put_u8(pdu, agentx::header::kVersion, 1);
  put_u8(pdu, agentx::header::kType, notification.pdu_type);
  put_u32(pdu, agentx::header::kSessionId, notification.session_id);
  put_u32(pdu, agentx::header::kTransactionId, notification.transaction_id);
  put_u32(pdu, agentx::header::kPacketId, notification.packet_id);
  if (notification.uptime) {
    append_binding(&pdu, {{kSysUpTime.begin(), kSysUpTime.end()},
                          agentx::type::kTimeTicks,
                          word_value(*notification.uptime)});
  }
  if (!notification.trap_oid.empty()) {
    append_binding(&pdu, {{kSnmpTrapOid.begin(), kSnmpTrapOid.end()},
                          agentx::type::kObjectIdentifier,
                          oid_value(notification.trap_oid)});
  }
  for (const SentBinding& binding : notification.bindings) {
    append_binding(&pdu, binding);
  }
  const auto true_length = static_cast<uint32_t>(pdu.size() - agentx::header::kSize);
  put_u32(pdu, agentx::header::kPayloadLength, notification.payload_length.value_or(true_length));
  return pdu;
}

std::optional<SentBinding> parse_binding(std::string_view text, std::string* error) {
  const size_t equals = text.find('=');
  const auto name = parse_oid(text.substr(0, equals));
  if (equals == std::string_view::npos || !name) {
    *error = "not a binding of the form OID=type:value: " + std::string(text);
    return std::nullopt;
  }
  SentBinding binding;
  binding.name = *name;
  if (!is_encodable(binding.name)) {
    *error = "an object identifier must begin with 1.3.6.1 and a number below 256: " +
             oid_text(binding.name);
    return std::nullopt;
  }
  const std::string_view typed = text.substr(equals + 1);
  const size_t colon = typed.find(':');
  const std::string_view type_name = typed.substr(0, colon);
  const std::string_view value =
      colon == std::string_view::npos ? std::string_view() : typed.substr(colon + 1);
  if (type_name == "raw" && read_raw_value(value, &binding)) {
    return binding;
  }
  const auto* type = std::find_if(kTypes.begin(), kTypes.end(),
                                  [&](const TypeName& entry) { return entry.name == type_name; });
  if (type == kTypes.end()) {
    *error = type_name == "raw" ? "raw needs CODE:HEX: " + std::string(value)
                                : "unknown type of a binding: " + std::string(type_name);
    return std::nullopt;
  }
  auto bytes = value_from_text(type->form, value);
  if (!bytes) {
    *error = "not a value of type " + std::string(type_name) + ": " + std::string(value);
    return std::nullopt;
  }
  binding.type = type->type;
  binding.value = std::move(*bytes);
  return binding;
}

std::string describe_notify(std::span<const uint8_t> pdu) {
  if (pdu.size() < agentx::header::kSize) {
    return "AgentX PDU of " + std::to_string(pdu.size()) + " bytes";
  }
  std::string description = "notify";
  if (get_u8(pdu, agentx::header::kType) != agentx::kNotify) {
    description += " type=" + std::to_string(get_u8(pdu, agentx::header::kType));
  }
  Cursor cursor = {pdu, agentx::header::kSize};
  while (cursor.at < pdu.size()) {
    if (!take_binding(&cursor, &description)) {
      return description + " (the rest cannot be read)";
    }
  }
  return description;
}
