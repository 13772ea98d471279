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
  bytes->resize(bytes->size() + 4);
  put_u32(*bytes, bytes->size() - 4, value);
}

void append(Bytes* bytes, std::span<const uint8_t> more) {
  bytes->insert(bytes->end(), more.begin(), more.end());
}

Bytes as_bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

void append_binding(Bytes* pdu, const SentBinding& binding) {
  append_word(pdu, binding.type);
  append(pdu, oid_value(binding.name));
  append(pdu, binding.value);
}

std::optional<Bytes> value_from_text(Form form, std::string_view text) {
  switch (form) {
    case Form::kNothing:
      return text.empty() ? std::optional(Bytes{}) : std::nullopt;
    case Form::kWord: {
      const auto number = parse_word(text);
      return number ? std::optional(word_value(*number)) : std::nullopt;
    }
    case Form::kText:
      return octets_value(as_bytes(text));
    case Form::kHex: {
      const auto octets = parse_hex(text);
      return octets ? std::optional(octets_value(*octets)) : std::nullopt;
    }
    case Form::kAddress: {
      const auto address = parse_ipv4(text);
      return address ? std::optional(octets_value(*address)) : std::nullopt;
    }
    case Form::kObjectIdentifier: {
      const auto oid = parse_oid(text);
      return oid && is_encodable(*oid) ? std::optional(oid_value(*oid)) : std::nullopt;
    }
    case Form::kLongWord: {
      const auto number = parse_number(text, UINT64_MAX);
      return number ? std::optional(counter64_value(*number)) : std::nullopt;
    }
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

bool take_octets(Cursor* cursor, uint16_t type, std::string* text) {
  const uint64_t length = get_u32(cursor->bytes, cursor->at);
  const uint64_t padded = (length + 3) & ~uint64_t{3};
  if (!cursor->has(4) || cursor->bytes.size() - cursor->at - 4 < length) {
    return false;
  }
  *text = octets_text(type, cursor->bytes.subspan(cursor->at + 4, length));
  cursor->at += 4 + padded;
  return true;
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
    case Form::kWord: {
      const uint32_t number = get_u32(cursor->bytes, cursor->at);
      *text = std::string(type.name) + ":" +
              (type.type == agentx::type::kInteger ? std::to_string(static_cast<int32_t>(number))
                                                   : std::to_string(number));
      const bool whole = cursor->has(4);
      cursor->at += 4;
      return whole;
    }
    case Form::kLongWord: {
      const uint64_t high = get_u32(cursor->bytes, cursor->at + 4);
      *text = "counter64:" + std::to_string((high << 32) | get_u32(cursor->bytes, cursor->at));
      const bool whole = cursor->has(8);
      cursor->at += 8;
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
  cursor->at += 4;
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
  value.resize((value.size() + 3) & ~size_t{3});
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
  Bytes value = {static_cast<uint8_t>(rest.size()), static_cast<uint8_t>(oid[kInternet.size()]), 0,
                 0};
  for (const uint32_t number : rest) {
    append_word(&value, number);
  }
  return value;
}

Bytes build_notify(const SentNotification& notification) {
  Bytes pdu = {1, notification.pdu_type, 0, 0};
  append_word(&pdu, notification.session_id);
  append_word(&pdu, notification.transaction_id);
  append_word(&pdu, notification.packet_id);
  append_word(&pdu, 0);
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
