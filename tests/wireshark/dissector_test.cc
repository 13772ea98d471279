// SPDX-License-Identifier: Apache-2.0
// What the dissector shows of each kind of packet: every field, by the name that
// one filters with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/sim/notification.h"
#include "lab/sim/packets.h"
#include "tests/wireshark/tshark.h"

namespace {

using testing::HasSubstr;
using testing::Not;

// A record and what must be shown of it.
struct Case {
  Bytes record;
  Shown shown;
};

// All of these must be shown exactly so, by one run of tshark.
void expect_shown(LinkType type, const std::vector<Case>& cases,
                  const std::vector<std::string>& fields) {
  std::vector<Bytes> records;
  std::ranges::transform(cases, std::back_inserter(records), &Case::record);
  const Output output = show(type, records, fields);
  EXPECT_EQ(output.status, 0) << output.errors;
  EXPECT_THAT(output.errors, Not(HasSubstr("Lua")));
  ASSERT_EQ(output.records.size(), cases.size()) << output.errors;
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(output.records[i], cases[i].shown) << "frame " << i + 1;
  }
}

const std::vector<std::string> kHeaderFields = {"tvurev_record.version",
                                                "tvurev_record.direction",
                                                "tvurev_record.source",
                                                "chif.channel",
                                                "chif.pktsize",
                                                "chif.seqno",
                                                "chif.cmdno",
                                                "chif.svc",
                                                "chif.data"};
const std::vector<std::string> kLinkFields = {"chif.request_in", "chif.response_in", "chif.time"};
const std::vector<std::string> kNotifyFields = {"tvurev_notify.version",
                                                "tvurev_notify.type",
                                                "tvurev_notify.flags",
                                                "tvurev_notify.session_id",
                                                "tvurev_notify.transaction_id",
                                                "tvurev_notify.packet_id",
                                                "tvurev_notify.payload_length",
                                                "tvurev_notify.trap_oid",
                                                "tvurev_notify.binding.type",
                                                "tvurev_notify.binding.name_subids",
                                                "tvurev_notify.binding.name_prefix",
                                                "tvurev_notify.binding.name",
                                                "tvurev_notify.value.integer",
                                                "tvurev_notify.value.word",
                                                "tvurev_notify.value.counter64",
                                                "tvurev_notify.value.object_id",
                                                "tvurev_notify.value.address",
                                                "tvurev_notify.value.text",
                                                "tvurev_notify.octets.length",
                                                "tvurev_notify.octets.octets",
                                                "tvurev_notify.object_id.subids",
                                                "tvurev_notify.object_id.prefix"};

std::vector<std::string> fields_of(const std::vector<std::vector<std::string>>& lists) {
  std::vector<std::string> all;
  for (const auto& list : lists) {
    all.insert(all.end(), list.begin(), list.end());
  }
  all.insert(all.end(), {kExpert, kLuaError});
  return all;
}

// The host's session requests: hello, goodbye, connect.
Bytes session_request(uint16_t seqno, uint16_t subcommand, uint32_t parameter = 0) {
  return ChifBuilder(0x0193)
      .seqno(seqno)
      .svc(13)
      .u16_at(8, subcommand)
      .u32_at(12, parameter)
      .bytes();
}

Bytes query(uint16_t cmdno) {
  return ChifBuilder(cmdno).seqno(0xDEAD).bytes();
}

Bytes kcs_request(uint16_t seqno, uint8_t function, uint8_t command, const Bytes& data) {
  return ChifBuilder(0)
      .seqno(seqno)
      .svc(1)
      .u8_at(8, static_cast<uint8_t>(function << 2))
      .u8_at(9, command)
      .bytes_at(10, data)
      .bytes();
}

// Data of the variable requests: operation, length, name and zero, value.
Bytes get_data() {
  return bytes_of("04 0100 4b5848564d36 00");
}
Bytes set_data() {
  return bytes_of("05 0400 4b5848564d41 00 78563412");
}

Bytes numbered(Bytes packet, uint16_t seqno) {
  put_u16(packet, chif::header::kSeqno, seqno);
  return packet;
}

TEST(Dissector, ShowsEveryRecordsHeader) {
  expect_shown(
      LinkType::kChannel,
      {{to_bmc(15, query(0x0002)),
        {"channel 15: BMC status query",
         {"tvurev_record.version=1", "tvurev_record.direction=0", "tvurev_record.source=15",
          "channel=15", "pktsize=8", "seqno=57005", "cmdno=0x0002", "svc=0"}}},
       {from_bmc(15, {}),
        {"channel 15: empty read",
         {"tvurev_record.version=1", "tvurev_record.direction=1", "tvurev_record.source=15"}}},
       {to_bmc(3, {}),
        {"channel 3: empty write",
         {"tvurev_record.version=1", "tvurev_record.direction=0", "tvurev_record.source=3"}}},
       {to_bmc(0, ChifBuilder(0x4321).seqno(7).svc(2).u32_at(8, 0x01020304).bytes()),
        {"channel 0: unknown packet",
         {"tvurev_record.version=1", "tvurev_record.direction=0", "tvurev_record.source=0",
          "channel=0", "pktsize=12", "seqno=7", "cmdno=0x4321", "svc=2", "data=04030201",
          "_ws.expert.message=No packet of this command goes to the BMC"}}},
       {bytes_of("02 00 0000 0f000000 0800 adde 0200 0000"),
        {"not a record of the simulated host", {"_ws.expert.message=Version 1 is known, not 2"}}}},
      fields_of({kHeaderFields}));
}

TEST(Dissector, LinksAHandshakesRequestsAndReplies) {
  const Bytes hello = session_request(5, 1);
  const Bytes connect = session_request(0, 3, 77);
  const Bytes bye = session_request(0, 2);
  const Bytes short_bye = ChifBuilder(0x0093).svc(13).u16_at(8, 2).u16_at(10, 4).bytes();
  const Bytes more =
      ChifBuilder(0x8193).seqno(6).svc(13).u16_at(12, 9).u16_at(14, 1).sized(20).bytes();
  expect_shown(
      LinkType::kChannel,
      {{to_bmc(15, hello),
        {"channel 15: hello",
         {"session_request.subcommand=1", "session_request.parameter=0", "response_in=2;4"}}},
       {from_bmc(15, more),
        {"channel 15: reply to hello, more follow",
         {"session_reply.errcode=0", "session_reply.idx=9", "session_reply.more=1", "request_in=1",
          "time=0.001000000"}}},
       {from_bmc(14, session_reply(hello, 20)),  // of another channel
        {"channel 14: session reply",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0",
          "_ws.expert.message=No request that this answers was seen"}}},
       {from_bmc(15, numbered(session_reply(hello, 20), 7)),
        {"channel 15: reply to hello",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0", "request_in=1",
          "time=0.003000000"}}},
       {to_bmc(15, connect),
        {"channel 15: connect, parameter 77",
         {"session_request.subcommand=3", "session_request.parameter=77", "response_in=7"}}},
       {from_bmc(15, numbered(session_reply(connect, 16), 3)),  // 0 to 2 would do
        {"channel 15: session reply",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0",
          "_ws.expert.message=No request that this answers was seen"}}},
       {from_bmc(15, ChifBuilder(0x8193).svc(13).errcode(19).sized(16).bytes()),
        {"channel 15: reply to connect, error 19",
         {"session_reply.errcode=19", "session_reply.idx=0", "session_reply.more=0", "request_in=5",
          "time=0.002000000", "_ws.expert.message=Error 19"}}},
       {to_bmc(15, hello),
        {"channel 15: hello",
         {"session_request.subcommand=1", "session_request.parameter=0", "response_in=9"}}},
       {from_bmc(15, session_reply(hello, 16)),
        {"channel 15: reply to hello",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0", "request_in=8",
          "time=0.001000000",
          "_ws.expert.message=A reply to a hello needs more than 16 bytes; the daemon fails"}}},
       {to_bmc(15, bye),
        {"channel 15: goodbye",
         {"session_request.subcommand=2", "session_request.parameter=0", "response_in=11"}}},
       {from_bmc(15, session_reply(bye, 4084)),
        {"channel 15: reply to goodbye",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0", "request_in=10",
          "time=0.001000000"}}},
       {to_bmc(15, short_bye),
        {"channel 15: goodbye",
         {"session_request.subcommand=2", "session_request.value=4", "response_in=13"}}},
       {from_bmc(15, ChifBuilder(0x8093).svc(13).sized(20).bytes()),
        {"channel 15: reply to goodbye",
         {"session_reply.errcode=0", "session_reply.idx=0", "session_reply.more=0", "request_in=12",
          "time=0.001000000"}}},
       {to_bmc(15, session_request(0, 9)),
        {"channel 15: session request",
         {"session_request.subcommand=9", "session_request.parameter=0",
          "_ws.expert.message=No subcommand 9 is known"}}}},
      fields_of({{"chif.session_request.subcommand", "chif.session_request.value",
                  "chif.session_request.parameter", "chif.session_reply.errcode",
                  "chif.session_reply.idx", "chif.session_reply.more"},
                 kLinkFields}));
}

TEST(Dissector, ShowsUtilityQueriesAndTheirReplies) {
  BmcIdentity identity;
  identity.ipv6_entries = {{{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 2},
                           identity.ipv6_entries[0]};
  identity.ipv6_options = 1;
  Bytes no_ipv6 = ipv6_reply(query(0x0120), identity);
  put_u32(no_ipv6, 8, 5);
  const std::string unused = ";::;::;::;::;::;::;::;::;::;::";
  const std::string unused_states = ";255;255;255;255;255;255;255;255;255;255";
  const std::vector<std::string> entries = {
      "ipv6_address.first_address=2001:db8::1;fe80::1122:33ff:fe44:5566" + unused,
      "ipv6_address.first_state=2;0" + unused_states};
  expect_shown(
      LinkType::kChannel,
      {{to_bmc(4, query(0x0002)), {"channel 4: BMC status query", {"response_in=2"}}},
       {from_bmc(4, status_reply(query(0x0002), identity)),
        {"channel 4: BMC status, firmware 2.10, generation 6",
         {"mox_status.firmware_version=0x020a", "mox_status.firmware_date=0x8d2e0000",
          "mox_status.application=6", "request_in=1", "time=0.001000000"}}},
       {to_bmc(4, query(0x0032)), {"channel 4: IPv4 address query", {"response_in=4"}}},
       {from_bmc(4, ipv4_reply(query(0x0032), identity)),
        {"channel 4: IPv4 address 192.0.2.200",
         {"ipv4_address.last_octet=192.0.2.200", "request_in=3", "time=0.001000000"}}},
       // The first of these was not answered.
       {to_bmc(4, query(0x0120)), {"channel 4: IPv6 address query", {}}},
       {to_bmc(4, query(0x0120)), {"channel 4: IPv6 address query", {"response_in=7"}}},
       {from_bmc(4, ipv6_reply(query(0x0120), identity)),
        {"channel 4: IPv6 addresses, entry 1 counts",
         {"ipv6_address.error=0", "ipv6_address.options=0x00000001", "ipv6_address.ipv6_enabled=1",
          "ipv6_address.ipv4_enabled=0", entries[0], entries[1], "request_in=6",
          "time=0.001000000"}}},
       {from_bmc(4, no_ipv6),
        {"channel 4: IPv6 addresses, entry 1 counts",
         {"ipv6_address.error=5", "ipv6_address.options=0x00000001", "ipv6_address.ipv6_enabled=1",
          "ipv6_address.ipv4_enabled=0", entries[0], entries[1],
          "_ws.expert.message=No request that this answers was seen;Error 5: no addresses"}}}},
      fields_of({{"chif.mox_status.firmware_version", "chif.mox_status.firmware_date",
                  "chif.mox_status.application", "chif.ipv4_address.last_octet",
                  "chif.ipv6_address.error", "chif.ipv6_address.options",
                  "chif.ipv6_address.ipv6_enabled", "chif.ipv6_address.ipv4_enabled",
                  "chif.ipv6_address.first_address", "chif.ipv6_address.first_state"},
                 kLinkFields}));
}

TEST(Dissector, ShowsKcsAndVariables) {
  const Bytes get = kcs_request(1, 0x36, 2, get_data());
  const Bytes set = kcs_request(2, 0x36, 2, set_data());
  const Bytes get_missing = kcs_request(3, 0x36, 2, get_data());
  const Bytes device_id = kcs_request(64, 0x06, 1, {});
  const Bytes other = kcs_request(5, 0x0A, 0x43, bytes_of("aabb"));
  const std::string function = "kcs.network_function=";
  expect_shown(
      LinkType::kChannel,
      {{to_bmc(4, get),
        {"channel 4: get variable KXHVM6",
         {function + "0x36", "kcs.command=0x02", "nvram.request.operation=4",
          "nvram.request.length=1", "nvram.request.name=KXHVM6", "response_in=2"}}},
       {from_bmc(4, nvram_get_reply(get, {{"KXHVM6", {0xA5}}})),
        {"channel 4: variable KXHVM6 = a5",
         {function + "0x37", "kcs.command=0x02", "kcs.response.completion_code=0x00",
          "nvram.response.name=KXHVM6", "nvram.response.status=0x00", "nvram.response.length=1",
          "nvram.response.value=a5", "request_in=1", "time=0.001000000"}}},
       {to_bmc(4, set),
        {"channel 4: set variable KXHVMA = 78563412",
         {function + "0x36", "kcs.command=0x02", "nvram.request.operation=5",
          "nvram.request.length=4", "nvram.request.name=KXHVMA", "nvram.request.value=78563412",
          "response_in=4"}}},
       {from_bmc(4, nvram_set_reply(set)),
        {"channel 4: variable KXHVMA: success",
         {function + "0x37", "kcs.command=0x02", "kcs.response.completion_code=0x00",
          "nvram.response.name=KXHVMA", "nvram.response.status=0x00", "request_in=3",
          "time=0.001000000"}}},
       {to_bmc(4, get_missing),
        {"channel 4: get variable KXHVM6",
         {function + "0x36", "kcs.command=0x02", "nvram.request.operation=4",
          "nvram.request.length=1", "nvram.request.name=KXHVM6", "response_in=6"}}},
       {from_bmc(4, nvram_get_reply(get_missing, {})),
        {"channel 4: variable KXHVM6: no such variable",
         {function + "0x37", "kcs.command=0x02", "kcs.response.completion_code=0x00",
          "nvram.response.name=KXHVM6", "nvram.response.status=0x88", "request_in=5",
          "time=0.001000000", "_ws.expert.message=Status no such variable"}}},
       {to_bmc(4, device_id),
        {"channel 4: KCS request, function 0x06, command 0x01",
         {function + "0x06", "kcs.command=0x01", "response_in=8"}}},
       {from_bmc(4, kcs_reply(device_id, 0xC1, {})),
        {"channel 4: KCS response, completion code 0xc1",
         {function + "0x07", "kcs.command=0x01", "kcs.response.completion_code=0xc1",
          "request_in=7", "time=0.001000000", "_ws.expert.message=Completion code 0xc1"}}},
       {to_bmc(4, other),
        {"channel 4: KCS request, function 0x0a, command 0x43",
         {function + "0x0a", "kcs.command=0x43", "kcs.request.data=aabb", "response_in=10"}}},
       {from_bmc(4, kcs_reply(numbered(device_id, 5), 0, bytes_of("010203"))),
        {"channel 4: KCS response",
         {function + "0x07", "kcs.command=0x01", "kcs.response.completion_code=0x00",
          "kcs.response.data=010203", "request_in=9", "time=0.001000000",
          "_ws.expert.message=Function or command is not the request's; the daemon fails"}}}},
      fields_of(
          {{"chif.kcs.network_function", "chif.kcs.command", "chif.kcs.request.data",
            "chif.kcs.response.completion_code", "chif.kcs.response.data",
            "chif.nvram.request.operation", "chif.nvram.request.length", "chif.nvram.request.name",
            "chif.nvram.request.value", "chif.nvram.response.name", "chif.nvram.response.status",
            "chif.nvram.response.length", "chif.nvram.response.value"},
           kLinkFields}));
}

TEST(Dissector, ShowsWhatTheHostIsToLogAndWhenItIsToStop) {
  const Bytes log_ack = ChifBuilder(0x8095).svc(13).seqno(44).sized(16).bytes();
  const auto shutdown_ack = [](uint16_t seqno) {
    return ChifBuilder(0x8195).svc(13).seqno(seqno).sized(12).bytes();
  };
  Bytes long_text = log_packet("hot");
  put_u16(long_text, 8, 9);
  expect_shown(
      LinkType::kChannel,
      {{from_bmc(15, log_packet("Fan 3\x01 failed")),
        {"channel 15: log text: Fan 3? failed",
         {"log_text.length=13", "log_text.text=Fan 3? failed", "response_in=3"}}},
       {from_bmc(15, long_text),
        {"channel 15: log text: hot",
         {"log_text.length=9", "log_text.text=hot", "response_in=4",
          "_ws.expert.message=The text is longer than the packet"}}},
       {to_bmc(15, log_ack),
        {"channel 15: log text acknowledged", {"request_in=1", "time=0.002000000"}}},
       {to_bmc(15, log_ack),
        {"channel 15: log text acknowledged", {"request_in=2", "time=0.002000000"}}},
       {to_bmc(15, log_ack),
        {"channel 15: log text acknowledged",
         {"_ws.expert.message=No request that this answers was seen"}}},
       {from_bmc(15, numbered(shutdown_packet(0, 60, "too hot"), 0xFFFF)),
        {"channel 15: power off request in 60 s: too hot",
         {"shutdown.action=0x00000000", "shutdown.reboot=0", "shutdown.abort=0",
          "shutdown.meaning=power off", "shutdown.delay=60", "shutdown.reason=too hot",
          "response_in=7"}}},
       {to_bmc(15, shutdown_ack(0)),
        {"channel 15: shutdown request acknowledged", {"request_in=6", "time=0.001000000"}}},
       {from_bmc(15, numbered(shutdown_packet(3, -5, "update"), 8)),
        {"channel 15: reboot request in -5 s: update",
         {"shutdown.action=0x00000003", "shutdown.reboot=1", "shutdown.abort=1",
          "shutdown.meaning=reboot", "shutdown.delay=-5", "shutdown.reason=update",
          "response_in=10"}}},
       {from_bmc(15, numbered(shutdown_packet(2, 0, "cool"), 9)),
        {"channel 15: abort request: cool",
         {"shutdown.action=0x00000002", "shutdown.reboot=0", "shutdown.abort=1",
          "shutdown.meaning=abort", "shutdown.delay=0", "shutdown.reason=cool"}}},
       {to_bmc(15, shutdown_ack(9)),
        {"channel 15: shutdown request acknowledged", {"request_in=8", "time=0.002000000"}}},
       {from_bmc(15, numbered(shutdown_packet(4, 7, ""), 10)),
        {"channel 15: power off in the log, reboot in fact request in 7 s: ",
         {"shutdown.action=0x00000004", "shutdown.reboot=0", "shutdown.abort=0",
          "shutdown.meaning=power off in the log, reboot in fact", "shutdown.delay=7",
          "_ws.expert.message=Any action but 0 reboots, although the log says shutdown"}}}},
      fields_of({{"chif.log_text.length", "chif.log_text.text", "chif.shutdown.action",
                  "chif.shutdown.reboot", "chif.shutdown.abort", "chif.shutdown.meaning",
                  "chif.shutdown.delay", "chif.shutdown.reason"},
                 kLinkFields}));
}

// Every type of value, as the BMC sends it.
SentNotification every_type() {
  SentNotification sent;
  sent.uptime = 4711;
  sent.trap_oid = {1, 3, 6, 1, 4, 1, 32473, 1, 0, 3};
  std::string error;
  for (const char* binding :
       {"1.3.6.1.4.1.32473.1.1=integer:-3", "1.3.6.1.4.1.32473.1.2=counter32:4294967295",
        "1.3.6.1.4.1.32473.1.3=octets:fan", "1.3.6.1.4.1.32473.1.4=ipaddress:192.0.2.1",
        "1.3.6.1.4.1.32473.1.5=oid:1.3.6.1.4.1.32473.9", "1.3.6.1.4.1.32473.1.6=opaque-hex:6100",
        "1.3.6.1.4.1.32473.1.7=counter64:18446744073709551615", "1.3.6.1.4.1.32473.1.8=null"}) {
    sent.bindings.push_back(parse_binding(binding, &error).value());
  }
  return sent;
}

// What a binding of the documentation enterprise has for a name.
std::string names_up_to(int last) {
  std::string names = "1.3.6.1.2.1.1.3.0;1.3.6.1.6.3.1.1.4.1.0";
  for (int i = 1; i <= last; ++i) {
    names += ";1.3.6.1.4.1.32473.1." + std::to_string(i);
  }
  return "tvurev_notify.binding.name=" + names;
}

// The fields of every_type().
std::vector<std::string> shown_of_every_type() {
  return {"tvurev_notify.version=1",
          "tvurev_notify.type=12",
          "tvurev_notify.flags=0x00",
          "tvurev_notify.session_id=1",
          "tvurev_notify.transaction_id=0",
          "tvurev_notify.packet_id=0",
          "tvurev_notify.payload_length=332",
          "tvurev_notify.trap_oid=1.3.6.1.4.1.32473.1.0.3",
          "tvurev_notify.binding.type=67;6;2;65;4;64;6;68;70;5",
          "tvurev_notify.binding.name_subids=4;6;4;4;4;4;4;4;4;4",
          "tvurev_notify.binding.name_prefix=2;6;4;4;4;4;4;4;4;4",
          names_up_to(8),
          "tvurev_notify.value.integer=-3",
          "tvurev_notify.value.word=4711;4294967295",
          "tvurev_notify.value.counter64=18446744073709551615",
          "tvurev_notify.value.object_id=1.3.6.1.4.1.32473.1.0.3;1.3.6.1.4.1.32473.9",
          "tvurev_notify.value.address=192.0.2.1",
          "tvurev_notify.value.text=fan;a",
          "tvurev_notify.octets.length=3;4;2",
          "tvurev_notify.octets.octets=66616e;c0000201;6100",
          "tvurev_notify.object_id.subids=5;3",
          "tvurev_notify.object_id.prefix=4;4"};
}

TEST(Dissector, ShowsNotificationsOfTheBmc) {
  const Bytes pdu = build_notify(every_type());
  const std::string length = "notification.agentx_resp_len=" + std::to_string(pdu.size());
  std::vector<std::string> all = {"notification.errcode=0", length,
                                  "notification.pdu=" + hex_text(pdu)};
  const auto shown = shown_of_every_type();
  all.insert(all.end(), shown.begin(), shown.end());
  all.push_back(
      "_ws.expert.message=The daemon reads text up to its first zero byte;"
      "Counter64 has no place in the trap;Null has no place in the trap");
  auto status = all;
  status[0] = "notification.errcode=5";
  status.back().insert(status.back().find('=') + 1, "Error 5: the daemon drops the packet;");
  Bytes with_error = notification_packet(pdu);
  put_u16(with_error, chif::header::kCmdno, chif::kCmdStatusResponse);
  put_u32(with_error, chif::notification::kErrcode, 5);
  const std::string line = "notification 1.3.6.1.4.1.32473.1.0.3";
  expect_shown(LinkType::kChannel,
               {{from_bmc(15, notification_packet(pdu)), {"channel 15: " + line, all}},
                {from_bmc(15, with_error), {"channel 15: status, error 5, " + line, status}},
                {from_bmc(15, status_packet(0x0094, 0)),
                 {"channel 15: status, error 0",
                  {"notification.errcode=0", "notification.agentx_resp_len=0",
                   "_ws.expert.message=No PDU: the daemon does nothing"}}}},
               fields_of({{"chif.notification.errcode", "chif.notification.agentx_resp_len",
                           "chif.notification.pdu"},
                          kNotifyFields}));
}

TEST(Dissector, HandsOtherPdusToWiresharksOwnDissector) {
  SentNotification ping;
  ping.pdu_type = 13;
  ping.session_id = 9;
  const Bytes pdu = build_notify(ping);
  // In network byte order, with four bytes behind the header: an empty context.
  const Bytes big_endian =
      bytes_of("01 0d 18 00 00 00 00 09 00 00 00 00 00 00 00 00 00 00 00 04 00 00 00 00");
  const Bytes cut(big_endian.begin(), big_endian.end() - 1);
  expect_shown(LinkType::kChannel,
               {{from_bmc(15, notification_packet(pdu)),
                 {"channel 15: AgentX PDU of type 13",
                  {"agentx.type=13", "agentx.session_id=9", "notification.agentx_resp_len=20",
                   "_ws.expert.message=Not a Notify PDU: the daemon drops it"}}},
                {from_bmc(15, notification_packet(big_endian)),
                 {"channel 15: AgentX PDU of type 13",
                  {"agentx.type=13", "agentx.session_id=9", "notification.agentx_resp_len=24",
                   "_ws.expert.message=Not a Notify PDU: the daemon drops it"}}},
                {from_bmc(15, notification_packet(cut)),
                 {"channel 15: AgentX PDU of type 13",
                  {"notification.agentx_resp_len=23",
                   "_ws.expert.message=Not a Notify PDU: the daemon drops it;The PDU ends before "
                   "its last byte"}}}},
               fields_of({{"agentx.type", "agentx.session_id", "tvurev_notify.type",
                           "chif.notification.agentx_resp_len"}}));
}

TEST(Dissector, ShowsWhatAReceiveAtTheAgentsSocketGave) {
  const Bytes pdu = build_notify(every_type());
  Bytes two = pdu;
  two.insert(two.end(), pdu.begin(), pdu.end());
  Bytes big_endian = NotifyBuilder().flags(0x10).trap_oid("1.3.6.1.4.1.32473.1.0.1").bytes();
  const Bytes piece(pdu.begin(), pdu.end() - 12);
  const Bytes rest(pdu.end() - 12, pdu.end());
  const std::string line = "notification 1.3.6.1.4.1.32473.1.0.3";
  const std::string zero = "The daemon reads text up to its first zero byte";
  const std::string usual = zero + ";Counter64 has no place in the trap";
  const std::string oid = "tvurev_notify.trap_oid=1.3.6.1.4.1.32473.1.0.3";
  expect_shown(
      LinkType::kAgent,
      {{from_agent(77, pdu),
        {line,
         {"tvurev_agent.process=77", "tvurev_agent.pdu=" + hex_text(pdu), oid,
          "_ws.expert.message=" + usual + ";Null has no place in the trap"}}},
       {from_agent(77, two),
        {line + ", and bytes behind it",
         {"tvurev_agent.process=77", "tvurev_agent.pdu=" + hex_text(pdu),
          "tvurev_agent.rest=" + hex_text(pdu), oid,
          "_ws.expert.message=The daemon drops the 352 bytes behind the first notification of a "
          "receive;" +
              usual + ";Null has no place in the trap"}}},
       {from_agent(78, piece),
        {line,
         {"tvurev_agent.process=78", "tvurev_agent.pdu=" + hex_text(piece), oid,
          "_ws.expert.message=The last 12 bytes of the PDU are missing; the daemon reads zeros;" +
              usual + ";The PDU ends before the binding does; the daemon reads zeros"}}},
       {from_agent(78, rest),
        {"notification",
         {"tvurev_agent.process=78", "tvurev_agent.pdu=" + hex_text(rest),
          "_ws.expert.message=An AgentX header has 20 bytes, this PDU 12"}}},
       {from_agent(79, big_endian),
        {"notification 1.3.6.1.4.1.32473.1.0.1",
         {"tvurev_agent.process=79", "tvurev_agent.pdu=" + hex_text(big_endian),
          "tvurev_notify.trap_oid=1.3.6.1.4.1.32473.1.0.1",
          "_ws.expert.message=Network byte order: the daemon reads little-endian numbers only"}}},
       {from_agent(77, {}), {"end of the agent's stream", {}}}},
      fields_of({{"tvurev_agent.process", "tvurev_agent.pdu", "tvurev_agent.rest",
                  "tvurev_notify.trap_oid"}}));
}

}  // namespace
