#include "lab/sim/packets.h"

#include <algorithm>

#include "bmc/chif.h"
#include "lab/sim/notification.h"

namespace {

constexpr uint16_t kResponseBit = 0x8000;
constexpr uint16_t kCmdNotification = 0x0194;
constexpr size_t kStatusReplySize = 100;
constexpr size_t kIpv4ReplySize = 276;
constexpr size_t kIpv6ReplySize = 512;
constexpr size_t kIpv6Entries = 12;

// KCS in CHIF: network function and command, then the data of a request, or
// the completion code and the data of a response.
constexpr size_t kKcsFunction = 8;
constexpr size_t kKcsCommand = 9;
constexpr size_t kKcsRequestData = 10;
constexpr size_t kKcsCompletion = 10;
constexpr size_t kKcsResponseData = 11;
constexpr uint8_t kOemFunction = 0x36;
constexpr uint8_t kNvramCommand = 0x02;
constexpr uint8_t kNvramGetOperation = 4;
constexpr uint8_t kNvramSetOperation = 5;
constexpr size_t kNvramLength = 11;
constexpr size_t kNvramName = 13;

struct KindName {
  PacketKind kind;
  std::string_view name;
};
constexpr std::array<KindName, 12> kKindNames = {{
    {PacketKind::kHello, "hello"},
    {PacketKind::kConnect, "connect"},
    {PacketKind::kBye, "bye"},
    {PacketKind::kStatusQuery, "status"},
    {PacketKind::kNvramGet, "nvram-get"},
    {PacketKind::kNvramSet, "nvram-set"},
    {PacketKind::kOtherKcs, "kcs"},
    {PacketKind::kIpv4Query, "ipv4"},
    {PacketKind::kIpv6Query, "ipv6"},
    {PacketKind::kLogAck, "ack-log"},
    {PacketKind::kShutdownAck, "ack-shutdown"},
    {PacketKind::kUnknown, "unknown"},
}};

PacketKind classify_session(uint16_t subcommand) {
  switch (subcommand) {
    case kSubHello:
      return PacketKind::kHello;
    case kSubBye:
      return PacketKind::kBye;
    case kSubConnect:
      return PacketKind::kConnect;
    default:
      return PacketKind::kUnknown;
  }
}

PacketKind classify_kcs(std::span<const uint8_t> packet) {
  if (get_u8(packet, kKcsFunction) != kOemFunction << 2 ||
      get_u8(packet, kKcsCommand) != kNvramCommand) {
    return PacketKind::kOtherKcs;
  }
  switch (get_u8(packet, kKcsRequestData)) {
    case kNvramGetOperation:
      return PacketKind::kNvramGet;
    case kNvramSetOperation:
      return PacketKind::kNvramSet;
    default:
      return PacketKind::kOtherKcs;
  }
}

Bytes empty_packet(size_t size, uint16_t seqno, uint16_t cmdno, uint16_t svc) {
  Bytes packet(size);
  put_chif_header(packet, static_cast<uint16_t>(size), seqno, cmdno, svc);
  return packet;
}

Bytes reply_to(std::span<const uint8_t> request, size_t size) {
  return empty_packet(size, get_u16(request, kChifSeqno),
                      get_u16(request, kChifCmdno) | kResponseBit, get_u16(request, kChifSvc));
}

// A packet of the proxy service with text from offset 16 and a zero byte after
// it. Text beyond a packet's end is left out.
Bytes text_packet(uint16_t cmdno, std::string_view text) {
  const size_t length = std::min(text.size(), kChifPacketMax - kChifPayload - 1);
  Bytes packet = empty_packet(kChifPayload + length + 1, 0, cmdno, kSvcProxy);
  std::copy_n(text.begin(), length, packet.begin() + kChifPayload);
  return packet;
}

std::string hex_word(uint16_t value) {
  const std::array<uint8_t, 2> bytes = {static_cast<uint8_t>(value >> 8),
                                        static_cast<uint8_t>(value & 0xFF)};
  return "0x" + hex_text(bytes);
}

std::string with_seqno(std::string_view what, std::span<const uint8_t> packet) {
  return std::string(what) + ", seqno " + std::to_string(get_u16(packet, kChifSeqno));
}

std::span<const uint8_t> from(std::span<const uint8_t> packet, size_t offset) {
  return packet.subspan(std::min(offset, packet.size()));
}

std::string text_at(std::span<const uint8_t> packet, size_t offset) {
  const auto rest = from(packet, offset);
  return quoted(rest.first(static_cast<size_t>(std::ranges::find(rest, 0) - rest.begin())));
}

std::string describe_shutdown(std::span<const uint8_t> packet) {
  const uint32_t action = get_u32(packet, kChifErrcode);
  const auto delay = static_cast<int32_t>(get_u32(packet, kChifAgentxRespLen));
  const std::string reason = text_at(packet, kChifPayload);
  if ((action & kActionReboot) != 0) {
    return "reboot request, in " + std::to_string(delay) + " s, reason " + reason;
  }
  if ((action & kActionAbort) != 0) {
    return "shutdown abort, reason " + reason;
  }
  return "shutdown request, in " + std::to_string(delay) + " s, reason " + reason;
}

std::string describe_kcs_reply(std::span<const uint8_t> packet) {
  std::string text = with_seqno("KCS reply", packet) + ", completion code " +
                     std::to_string(get_u8(packet, kKcsCompletion));
  if (get_u8(packet, kKcsFunction) == (kOemFunction + 1) << 2 &&
      get_u8(packet, kKcsCommand) == kNvramCommand) {
    text += ", data " + hex_text(from(packet, kKcsResponseData));
  }
  return text;
}

std::string describe_session_reply(std::span<const uint8_t> packet) {
  std::string text = with_seqno("session reply", packet);
  if (const uint32_t error = get_u32(packet, kChifErrcode); error != 0) {
    text += ", errcode " + std::to_string(error);
  }
  if (const uint16_t more = get_u16(packet, kChifMore); more != 0) {
    text += ", more " + std::to_string(more);
  }
  return text + ", " + std::to_string(packet.size()) + " bytes";
}

std::string describe_agentx(std::span<const uint8_t> packet) {
  const auto payload = from(packet, kChifPayload);
  const size_t claimed = get_u32(packet, kChifAgentxRespLen);
  std::string text = describe_notify(payload.first(std::min(claimed, payload.size())));
  const uint16_t cmdno = get_u16(packet, kChifCmdno);
  if (cmdno == kCmdStatus || cmdno == kCmdStatusShortResponse || cmdno == kCmdStatusResponse) {
    return "status " + hex_word(cmdno) + ", error " +
           std::to_string(get_u32(packet, kChifErrcode)) + ", " + text;
  }
  return text;
}

}  // namespace

PacketKind classify(std::span<const uint8_t> packet) {
  if (packet.size() < kChifHeaderSize) {
    return PacketKind::kUnknown;
  }
  const uint16_t svc = get_u16(packet, kChifSvc);
  switch (get_u16(packet, kChifCmdno)) {
    case kCmdKcs:
      return svc == kSvcKcs ? classify_kcs(packet) : PacketKind::kUnknown;
    case kCmdMoxStatus:
      return PacketKind::kStatusQuery;
    case kCmdIpv4Address:
      return PacketKind::kIpv4Query;
    case kCmdIpv6Address:
      return PacketKind::kIpv6Query;
    case kCmdHello:
    case kCmdHelloShort:
      return classify_session(get_u16(packet, kChifErrcode));
    case kCmdImlLogAck:
      return PacketKind::kLogAck;
    case kCmdShutdownAck:
      return PacketKind::kShutdownAck;
    default:
      return PacketKind::kUnknown;
  }
}

std::string_view kind_name(PacketKind kind) {
  const auto* entry = std::ranges::find(kKindNames, kind, &KindName::kind);
  return entry == kKindNames.end() ? "unknown" : entry->name;
}

std::optional<PacketKind> kind_from_name(std::string_view name) {
  const auto* entry = std::ranges::find(kKindNames, name, &KindName::name);
  return entry == kKindNames.end() ? std::nullopt : std::optional(entry->kind);
}

std::string describe_to_bmc(std::span<const uint8_t> packet) {
  switch (classify(packet)) {
    case PacketKind::kHello:
      return with_seqno("hello", packet);
    case PacketKind::kConnect:
      return with_seqno("connect", packet) + ", parameter " +
             std::to_string(get_u32(packet, kChifAgentxRespLen));
    case PacketKind::kBye:
      return with_seqno("goodbye", packet);
    case PacketKind::kStatusQuery:
      return "status query";
    case PacketKind::kNvramGet:
      return "read of variable " + nvram_name(packet);
    case PacketKind::kNvramSet:
      return "write of variable " + nvram_name(packet) + "=" + hex_text(nvram_value(packet));
    case PacketKind::kOtherKcs:
      return with_seqno("KCS request", packet) + ", " + hex_text(from(packet, kKcsFunction));
    case PacketKind::kIpv4Query:
      return "IPv4 address query";
    case PacketKind::kIpv6Query:
      return "IPv6 address query";
    case PacketKind::kLogAck:
      return with_seqno("log text acknowledged", packet);
    case PacketKind::kShutdownAck:
      return with_seqno("shutdown request acknowledged", packet);
    case PacketKind::kUnknown:
      break;
  }
  return "unknown packet " + hex_text(packet);
}

std::string describe_from_bmc(std::span<const uint8_t> packet) {
  if (packet.size() <= kChifHeaderSize) {
    return packet.empty() ? "empty read" : "packet " + hex_text(packet);
  }
  switch (get_u16(packet, kChifCmdno)) {
    case kCmdHelloResponse:
    case kCmdHelloShortResponse:
      return describe_session_reply(packet);
    case kCmdMoxStatus | kResponseBit:
      return "status reply, generation " + std::to_string(static_cast<int8_t>(get_u8(packet, 71))) +
             ", firmware " + std::to_string(get_u8(packet, 17)) + "." +
             std::to_string(get_u8(packet, 16));
    case kCmdKcs | kResponseBit:
      return describe_kcs_reply(packet);
    case kCmdIpv4Address | kResponseBit:
      return "IPv4 address reply";
    case kCmdIpv6Address | kResponseBit:
      return "IPv6 address reply";
    case kCmdImlLog:
      return "log text " + text_at(packet, kChifPayload);
    case kCmdShutdown:
      return describe_shutdown(packet);
    default:
      return describe_agentx(packet);
  }
}

void change_fields(Bytes* packet, const FieldChanges& changes) {
  if (changes.size) {
    packet->resize(*changes.size);
    put_u16(*packet, kChifPktsize, static_cast<uint16_t>(*changes.size));
  }
  const auto put_16 = [packet](size_t offset, std::optional<uint16_t> value) {
    if (value) {
      put_u16(*packet, offset, *value);
    }
  };
  const auto put_32 = [packet](size_t offset, std::optional<uint32_t> value) {
    if (value) {
      put_u32(*packet, offset, *value);
    }
  };
  put_16(kChifPktsize, changes.pktsize);
  put_16(kChifSeqno, changes.seqno);
  put_16(kChifCmdno, changes.cmdno);
  put_16(kChifSvc, changes.svc);
  put_32(kChifErrcode, changes.errcode);
  put_32(kChifAgentxRespLen, changes.resplen);
  put_16(kChifIdx, changes.idx);
  put_16(kChifMore, changes.more);
}

Bytes notification_packet(std::span<const uint8_t> pdu) {
  Bytes packet = empty_packet(kChifPayload + pdu.size(), 0, kCmdNotification, kSvcProxy);
  put_u32(packet, kChifAgentxRespLen, static_cast<uint32_t>(pdu.size()));
  std::ranges::copy(pdu, packet.begin() + kChifPayload);
  return packet;
}

Bytes log_packet(std::string_view text) {
  Bytes packet = text_packet(kCmdImlLog, text);
  put_u16(packet, kChifErrcode, static_cast<uint16_t>(packet.size() - kChifPayload - 1));
  return packet;
}

Bytes shutdown_packet(uint32_t action, int32_t delay_seconds, std::string_view reason) {
  Bytes packet = text_packet(kCmdShutdown, reason);
  put_u32(packet, kChifErrcode, action);
  put_u32(packet, kChifAgentxRespLen, static_cast<uint32_t>(delay_seconds));
  return packet;
}

Bytes status_packet(uint16_t command, uint32_t error) {
  Bytes packet = empty_packet(kChifPayload + 4, 0, command, kSvcProxy);
  put_u32(packet, kChifErrcode, error);
  return packet;
}

Bytes hello_response_packet(uint16_t command) {
  return empty_packet(kChifPayload + 4, 0, command, kSvcProxy);
}

uint32_t pack_date(uint32_t year, uint32_t month, uint32_t day) {
  return ((year - 1990) << 26) | (month << 22) | (day << 17);
}

Bytes session_reply(std::span<const uint8_t> request, size_t size) {
  return reply_to(request, size);
}

Bytes status_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, kStatusReplySize);
  put_u8(packet, 16, identity.firmware_minor);
  put_u8(packet, 17, identity.firmware_major);
  put_u32(packet, 18, identity.firmware_date);
  put_u8(packet, 71, static_cast<uint8_t>(identity.generation));
  return packet;
}

Bytes ipv4_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, kIpv4ReplySize);
  std::ranges::reverse_copy(identity.ipv4, packet.begin() + 32);
  return packet;
}

Bytes ipv6_reply(std::span<const uint8_t> request, const BmcIdentity& identity) {
  Bytes packet = reply_to(request, kIpv6ReplySize);
  put_u32(packet, 12, identity.ipv6_options);
  for (size_t i = 0; i < kIpv6Entries; ++i) {
    const size_t entry = 20 + 20 * i;
    if (i < identity.ipv6_entries.size()) {
      std::ranges::copy(identity.ipv6_entries[i].address,
                        packet.begin() + static_cast<std::ptrdiff_t>(entry));
      put_u8(packet, entry + 18, identity.ipv6_entries[i].state);
    } else {
      put_u8(packet, entry + 18, UINT8_MAX);  // not in use
    }
  }
  return packet;
}

Bytes kcs_reply(std::span<const uint8_t> request, uint8_t completion_code,
                std::span<const uint8_t> data) {
  const size_t length = std::min(data.size(), kChifPacketMax - kKcsResponseData);
  Bytes packet = reply_to(request, kKcsResponseData + length);
  put_u8(packet, kKcsFunction, static_cast<uint8_t>(get_u8(request, kKcsFunction) + (1 << 2)));
  put_u8(packet, kKcsCommand, get_u8(request, kKcsCommand));
  put_u8(packet, kKcsCompletion, completion_code);
  std::copy_n(data.begin(), length, packet.begin() + kKcsResponseData);
  return packet;
}

Bytes nvram_get_reply(std::span<const uint8_t> request, const Variables& variables) {
  const auto variable = variables.find(nvram_name(request));
  if (variable == variables.end()) {
    return kcs_reply(request, 0, std::to_array<uint8_t>({0, kNvramNotFound, 0, 0}));
  }
  const Bytes& value = variable->second;
  Bytes data(4);
  put_u16(data, 2, static_cast<uint16_t>(value.size()));
  data.insert(data.end(), value.begin(), value.end());
  return kcs_reply(request, 0, data);
}

Bytes nvram_set_reply(std::span<const uint8_t> request) {
  return kcs_reply(request, 0, std::to_array<uint8_t>({0, 0}));
}

std::string nvram_name(std::span<const uint8_t> request) {
  const auto rest = from(request, kNvramName);
  return {rest.begin(), std::ranges::find(rest, 0)};
}

Bytes nvram_value(std::span<const uint8_t> request) {
  const auto value = from(request, kNvramName + nvram_name(request).size() + 1);
  const size_t length = std::min<size_t>(get_u16(request, kNvramLength), value.size());
  return {value.begin(), value.begin() + static_cast<std::ptrdiff_t>(length)};
}
