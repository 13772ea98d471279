// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/packets.h"

#include <algorithm>

#include "lab/sim/notification.h"

namespace {

// A notification's command: any that is not spoken for would do.
constexpr uint16_t kCmdNotification = 0x0194;

// A kind of packet: its word in scenarios and, for people, what it is; whether
// its number is told with that.
struct Kind {
  PacketKind kind;
  std::string_view name;
  std::string_view description;
  bool numbered = false;
};
constexpr std::array<Kind, 12> kKinds = {{
    {PacketKind::kHello, "hello", "hello", true},
    {PacketKind::kConnect, "connect", "connect", true},
    {PacketKind::kBye, "bye", "goodbye", true},
    {PacketKind::kStatusQuery, "status", "status query"},
    {PacketKind::kNvramGet, "nvram-get", "read of variable "},
    {PacketKind::kNvramSet, "nvram-set", "write of variable "},
    {PacketKind::kOtherKcs, "kcs", "KCS request", true},
    {PacketKind::kIpv4Query, "ipv4", "IPv4 address query"},
    {PacketKind::kIpv6Query, "ipv6", "IPv6 address query"},
    {PacketKind::kLogAck, "ack-log", "log text acknowledged", true},
    {PacketKind::kShutdownAck, "ack-shutdown", "shutdown request acknowledged", true},
    {PacketKind::kUnknown, "unknown", "unknown packet "},
}};

const Kind& row_of(PacketKind kind) {
  return *std::ranges::find(kKinds, kind, &Kind::kind);
}

PacketKind classify_session(uint16_t subcommand) {
  switch (subcommand) {
    case chif::session_request::kHello:
      return PacketKind::kHello;
    case chif::session_request::kBye:
      return PacketKind::kBye;
    case chif::session_request::kConnect:
      return PacketKind::kConnect;
    default:
      return PacketKind::kUnknown;
  }
}

PacketKind classify_kcs(std::span<const uint8_t> packet) {
  if (get_u8(packet, kcs::kNetworkFunction) != kcs::kOemNetworkFunction
                                                   << kcs::kNetworkFunctionShift ||
      get_u8(packet, kcs::kCommand) != kcs::kOemNvramCommand) {
    return PacketKind::kOtherKcs;
  }
  switch (get_u8(packet, kcs::request::kData + nvram::request::kOperation)) {
    case nvram::request::kGet:
      return PacketKind::kNvramGet;
    case nvram::request::kSet:
      return PacketKind::kNvramSet;
    default:
      return PacketKind::kOtherKcs;
  }
}

Bytes empty_packet(size_t size, uint16_t seqno, uint16_t cmdno, uint16_t svc) {
  Bytes packet(size);
  chif::put_header(packet, static_cast<uint16_t>(size), seqno, cmdno, svc);
  return packet;
}

Bytes reply_to(std::span<const uint8_t> request, size_t size) {
  return empty_packet(size, get_u16(request, chif::header::kSeqno),
                      get_u16(request, chif::header::kCmdno) | chif::kResponseBit,
                      get_u16(request, chif::header::kSvc));
}

// A packet of the proxy service with text from offset 16 and a zero byte after
// it. Text beyond a packet's end is left out.
Bytes text_packet(uint16_t cmdno, std::string_view text) {
  const size_t length = std::min(text.size(), chif::kPacketMax - chif::kBodyStart - 1);
  Bytes packet = empty_packet(chif::kBodyStart + length + 1, 0, cmdno, chif::kSvcProxy);
  std::copy_n(text.begin(), length, packet.begin() + chif::kBodyStart);
  return packet;
}

std::string hex_word(uint16_t value) {
  const std::array<uint8_t, 2> bytes = {static_cast<uint8_t>(value >> 8),
                                        static_cast<uint8_t>(value & 0xFF)};
  return "0x" + hex_text(bytes);
}

std::string with_seqno(std::string_view what, std::span<const uint8_t> packet) {
  return std::string(what) + ", seqno " + std::to_string(get_u16(packet, chif::header::kSeqno));
}

std::span<const uint8_t> from(std::span<const uint8_t> packet, size_t offset) {
  return packet.subspan(std::min(offset, packet.size()));
}

std::string text_at(std::span<const uint8_t> packet, size_t offset) {
  const auto rest = from(packet, offset);
  return quoted(rest.first(static_cast<size_t>(std::ranges::find(rest, 0) - rest.begin())));
}

std::string describe_shutdown(std::span<const uint8_t> packet) {
  const uint32_t action = get_u32(packet, chif::shutdown::kAction);
  const auto delay = static_cast<int32_t>(get_u32(packet, chif::shutdown::kDelay));
  const std::string reason = text_at(packet, chif::shutdown::kReason);
  if ((action & chif::shutdown::kReboot) != 0) {
    return "reboot request, in " + std::to_string(delay) + " s, reason " + reason;
  }
  if ((action & chif::shutdown::kAbort) != 0) {
    return "shutdown abort, reason " + reason;
  }
  return "shutdown request, in " + std::to_string(delay) + " s, reason " + reason;
}

std::string describe_kcs_reply(std::span<const uint8_t> packet) {
  std::string text = with_seqno("KCS reply", packet) + ", completion code " +
                     std::to_string(get_u8(packet, kcs::response::kCompletionCode));
  if (get_u8(packet, kcs::kNetworkFunction) == (kcs::kOemNetworkFunction + 1)
                                                   << kcs::kNetworkFunctionShift &&
      get_u8(packet, kcs::kCommand) == kcs::kOemNvramCommand) {
    text += ", data " + hex_text(from(packet, kcs::response::kData));
  }
  return text;
}

std::string describe_session_reply(std::span<const uint8_t> packet) {
  std::string text = with_seqno("session reply", packet);
  if (const uint32_t error = get_u32(packet, chif::session_reply::kErrcode); error != 0) {
    text += ", errcode " + std::to_string(error);
  }
  if (const uint16_t more = get_u16(packet, chif::session_reply::kMore); more != 0) {
    text += ", more " + std::to_string(more);
  }
  return text + ", " + std::to_string(packet.size()) + " bytes";
}

std::string describe_agentx(std::span<const uint8_t> packet) {
  const auto payload = from(packet, chif::notification::kPdu);
  const size_t claimed = get_u32(packet, chif::notification::kAgentxRespLen);
  std::string text = describe_notify(payload.first(std::min(claimed, payload.size())));
  const uint16_t cmdno = get_u16(packet, chif::header::kCmdno);
  if (cmdno == chif::kCmdStatus || cmdno == chif::kCmdStatusShortResponse ||
      cmdno == chif::kCmdStatusResponse) {
    return "status " + hex_word(cmdno) + ", error " +
           std::to_string(get_u32(packet, chif::notification::kErrcode)) + ", " + text;
  }
  return text;
}

}  // namespace

PacketKind classify(std::span<const uint8_t> packet) {
  if (packet.size() < chif::header::kSize) {
    return PacketKind::kUnknown;
  }
  const uint16_t svc = get_u16(packet, chif::header::kSvc);
  switch (get_u16(packet, chif::header::kCmdno)) {
    case chif::kCmdKcs:
      return svc == chif::kSvcKcs ? classify_kcs(packet) : PacketKind::kUnknown;
    case chif::kCmdMoxStatus:
      return PacketKind::kStatusQuery;
    case chif::kCmdIpv4Address:
      return PacketKind::kIpv4Query;
    case chif::kCmdIpv6Address:
      return PacketKind::kIpv6Query;
    case chif::kCmdHello:
    case chif::kCmdHelloShort:
      return classify_session(get_u16(packet, chif::session_request::kSubcommand));
    case chif::kCmdImlLogAck:
      return PacketKind::kLogAck;
    case chif::kCmdShutdownAck:
      return PacketKind::kShutdownAck;
    default:
      return PacketKind::kUnknown;
  }
}

bool is_answered(PacketKind kind) {
  return kind != PacketKind::kLogAck && kind != PacketKind::kShutdownAck &&
         kind != PacketKind::kUnknown;
}

std::string_view kind_name(PacketKind kind) {
  return row_of(kind).name;
}

std::optional<PacketKind> kind_from_name(std::string_view name) {
  const auto* entry = std::ranges::find(kKinds, name, &Kind::name);
  return entry == kKinds.end() ? std::nullopt : std::optional(entry->kind);
}

std::string describe_to_bmc(std::span<const uint8_t> packet) {
  const Kind& row = row_of(classify(packet));
  const std::string text =
      row.numbered ? with_seqno(row.description, packet) : std::string(row.description);
  if (row.kind == PacketKind::kConnect) {
    return text + ", parameter " +
           std::to_string(get_u32(packet, chif::session_request::kParameter));
  }
  if (row.kind == PacketKind::kNvramGet) {
    return text + nvram_name(packet);
  }
  if (row.kind == PacketKind::kNvramSet) {
    return text + nvram_name(packet) + "=" + hex_text(nvram_value(packet));
  }
  if (row.kind == PacketKind::kOtherKcs) {
    return text + ", " + hex_text(from(packet, kcs::kNetworkFunction));
  }
  return row.kind == PacketKind::kUnknown ? text + hex_text(packet) : text;
}

std::string describe_from_bmc(std::span<const uint8_t> packet) {
  if (packet.size() <= chif::header::kSize) {
    return packet.empty() ? "empty read" : "packet " + hex_text(packet);
  }
  switch (get_u16(packet, chif::header::kCmdno)) {
    case chif::kCmdHelloResponse:
    case chif::kCmdHelloShortResponse:
      return describe_session_reply(packet);
    case chif::kCmdMoxStatus | chif::kResponseBit:
      return "status reply, generation " +
             std::to_string(static_cast<int8_t>(get_u8(packet, chif::mox_status::kApplication))) +
             ", firmware " +
             std::to_string(get_u8(packet, chif::mox_status::kFirmwareVersion + 1)) + "." +
             std::to_string(get_u8(packet, chif::mox_status::kFirmwareVersion));
    case chif::kCmdKcs | chif::kResponseBit:
      return describe_kcs_reply(packet);
    case chif::kCmdIpv4Address | chif::kResponseBit:
      return "IPv4 address reply";
    case chif::kCmdIpv6Address | chif::kResponseBit:
      return "IPv6 address reply";
    case chif::kCmdImlLog:
      return "log text " + text_at(packet, chif::log_text::kText);
    case chif::kCmdShutdown:
      return describe_shutdown(packet);
    default:
      return describe_agentx(packet);
  }
}

void change_fields(Bytes* packet, const FieldChanges& changes) {
  if (changes.size) {
    packet->resize(*changes.size);
    put_u16(*packet, chif::header::kPktsize, static_cast<uint16_t>(*changes.size));
  }
  for (const Field& field : kFields) {
    const auto change = changes.values.find(field.name);
    for (size_t i = 0; change != changes.values.end() && i < field.size; ++i) {
      put_u8(*packet, field.offset + i, static_cast<uint8_t>(change->second >> (8 * i)));
    }
  }
}

Bytes notification_packet(std::span<const uint8_t> pdu) {
  Bytes packet =
      empty_packet(chif::notification::kPdu + pdu.size(), 0, kCmdNotification, chif::kSvcProxy);
  put_u32(packet, chif::notification::kAgentxRespLen, static_cast<uint32_t>(pdu.size()));
  std::ranges::copy(pdu, packet.begin() + chif::notification::kPdu);
  return packet;
}

Bytes log_packet(std::string_view text) {
  Bytes packet = text_packet(chif::kCmdImlLog, text);
  put_u16(packet, chif::log_text::kLength,
          static_cast<uint16_t>(packet.size() - chif::log_text::kText - 1));
  return packet;
}

Bytes shutdown_packet(uint32_t action, int32_t delay_seconds, std::string_view reason) {
  Bytes packet = text_packet(chif::kCmdShutdown, reason);
  put_u32(packet, chif::shutdown::kAction, action);
  put_u32(packet, chif::shutdown::kDelay, static_cast<uint32_t>(delay_seconds));
  return packet;
}

Bytes status_packet(uint16_t command, uint32_t error) {
  Bytes packet = empty_packet(chif::kBodyStart + 4, 0, command, chif::kSvcProxy);
  put_u32(packet, chif::notification::kErrcode, error);
  return packet;
}

Bytes hello_response_packet(uint16_t command) {
  return empty_packet(chif::kBodyStart + 4, 0, command, chif::kSvcProxy);
}

uint32_t pack_date(uint32_t year, uint32_t month, uint32_t day) {
  return ((year - chif::mox_status::kFirstYear) << chif::mox_status::kYearShift) |
         (month << chif::mox_status::kMonthShift) | (day << chif::mox_status::kDayShift);
}

Bytes session_reply(std::span<const uint8_t> request, size_t size) {
  return reply_to(request, size);
}

Bytes status_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, chif::mox_status::kSize);
  put_u8(packet, chif::mox_status::kFirmwareVersion, identity.firmware_minor);
  put_u8(packet, chif::mox_status::kFirmwareVersion + 1, identity.firmware_major);
  put_u32(packet, chif::mox_status::kFirmwareDate, identity.firmware_date);
  put_u8(packet, chif::mox_status::kApplication, static_cast<uint8_t>(identity.generation));
  return packet;
}

Bytes ipv4_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, chif::ipv4_address::kSize);
  std::ranges::reverse_copy(identity.ipv4, packet.begin() + chif::ipv4_address::kLastOctet);
  return packet;
}

Bytes ipv6_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, chif::ipv6_address::kSize);
  put_u32(packet, chif::ipv6_address::kOptions, identity.ipv6_options);
  for (size_t i = 0; i < chif::ipv6_address::kEntries; ++i) {
    const size_t entry = i * chif::ipv6_address::kEntrySize;
    if (i < identity.ipv6_entries.size()) {
      std::ranges::copy(
          identity.ipv6_entries[i].address,
          packet.begin() + static_cast<std::ptrdiff_t>(chif::ipv6_address::kFirstAddress + entry));
      put_u8(packet, chif::ipv6_address::kFirstState + entry, identity.ipv6_entries[i].state);
    } else {
      put_u8(packet, chif::ipv6_address::kFirstState + entry, UINT8_MAX);  // not in use
    }
  }
  return packet;
}

Bytes kcs_reply(std::span<const uint8_t> request, uint8_t completion_code,
                std::span<const uint8_t> data) {
  const size_t length = std::min(data.size(), chif::kPacketMax - kcs::response::kData);
  Bytes packet = reply_to(request, kcs::response::kData + length);
  put_u8(packet, kcs::kNetworkFunction,
         static_cast<uint8_t>(get_u8(request, kcs::kNetworkFunction) +
                              (1 << kcs::kNetworkFunctionShift)));
  put_u8(packet, kcs::kCommand, get_u8(request, kcs::kCommand));
  put_u8(packet, kcs::response::kCompletionCode, completion_code);
  std::copy_n(data.begin(), length, packet.begin() + kcs::response::kData);
  return packet;
}

Bytes nvram_get_reply(std::span<const uint8_t> request, const Variables& variables) {
  const auto variable = variables.find(nvram_name(request));
  if (variable == variables.end()) {
    Bytes data(nvram::response::kValue);
    put_u8(data, nvram::response::kStatus, nvram::response::kNotFound);
    return kcs_reply(request, kcs::kCompletionOk, data);
  }
  const Bytes& value = variable->second;
  Bytes data(nvram::response::kValue);
  put_u16(data, nvram::response::kLength, static_cast<uint16_t>(value.size()));
  data.insert(data.end(), value.begin(), value.end());
  return kcs_reply(request, kcs::kCompletionOk, data);
}

Bytes nvram_set_reply(std::span<const uint8_t> request) {
  return kcs_reply(request, kcs::kCompletionOk, Bytes(nvram::response::kStatus + 1));
}

std::string nvram_name(std::span<const uint8_t> request) {
  const auto rest = from(request, kcs::request::kData + nvram::request::kName);
  return {rest.begin(), std::ranges::find(rest, 0)};
}

Bytes nvram_value(std::span<const uint8_t> request) {
  const auto value =
      from(request, kcs::request::kData + nvram::request::kName + nvram_name(request).size() + 1);
  const size_t length = std::min<size_t>(
      get_u16(request, kcs::request::kData + nvram::request::kLength), value.size());
  return {value.begin(), value.begin() + static_cast<std::ptrdiff_t>(length)};
}
