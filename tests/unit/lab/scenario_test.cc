// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/unit/lab/temporary_directory.h"
#include "wire/little_endian.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

template <typename Kind>
Kind parsed(const std::string& line) {
  const ParsedEvent result = parse_event(line);
  EXPECT_EQ(result.error, "");
  const Kind* event = result.event ? std::get_if<Kind>(&*result.event) : nullptr;
  EXPECT_NE(event, nullptr) << line;
  return event == nullptr ? Kind{} : *event;
}

std::string error_of(const std::string& line) {
  const ParsedEvent result = parse_event(line);
  EXPECT_FALSE(result.event.has_value()) << line;
  return result.error;
}

}  // namespace

TEST(ParseEvent, EmptyLinesAndCommentsAreNoEvents) {
  for (const char* line : {"", "   ", "# wait 3", "\t# x"}) {
    EXPECT_FALSE(parse_event(line).event.has_value());
    EXPECT_EQ(parse_event(line).error, "");
  }
}

TEST(ParseEvent, WaitTakesFractions) {
  EXPECT_DOUBLE_EQ(parsed<WaitEvent>("wait 0.25").seconds, 0.25);
  for (const char* line : {"wait", "wait x", "wait -1", "wait 1 2", "wait inf", "wait 1e9"}) {
    EXPECT_EQ(error_of(line), "wait needs a number of seconds") << line;
  }
}

TEST(ParseEvent, ExpectKnowsItsThings) {
  EXPECT_EQ(parsed<ExpectEvent>("expect hello").kind, PacketKind::kHello);
  EXPECT_DOUBLE_EQ(parsed<ExpectEvent>("expect hello").limit_seconds, 30);
  EXPECT_DOUBLE_EQ(parsed<ExpectEvent>("expect bye limit=0.5").limit_seconds, 0.5);
  EXPECT_EQ(parsed<ExpectEvent>("expect ack log").kind, PacketKind::kLogAck);
  EXPECT_EQ(parsed<ExpectEvent>("expect ack shutdown").kind, PacketKind::kShutdownAck);
  EXPECT_EQ(parsed<ExpectEvent>("expect open").what, ExpectEvent::What::kOpened);
  EXPECT_EQ(parsed<ExpectEvent>("expect close").what, ExpectEvent::What::kClosed);
  EXPECT_EQ(parsed<ExpectEvent>("expect drained").what, ExpectEvent::What::kDrained);
  EXPECT_EQ(error_of("expect helo"), "unknown thing to expect: helo");
  EXPECT_EQ(error_of("expect hello limit=soon"), "not a number of seconds: limit=soon");
  EXPECT_EQ(error_of("expect hello twice"), "unknown option: twice");
  EXPECT_EQ(error_of("expect"), "unknown thing to expect: ");
}

TEST(ParseEvent, NotifyBuildsTheWholePacket) {
  const Bytes packet =
      parsed<PushEvent>("notify 1.3.6.1.4.1 uptime=9 1.3.6.1.4.2=integer:3").packet;
  EXPECT_EQ(packet.size(), 16U + 20U + 28U + 40U + 4U * 0U + 16U);
  EXPECT_EQ(get_u16(packet, 0), packet.size());
  EXPECT_EQ(get_u16(packet, 4), 0x0194);
  EXPECT_EQ(get_u32(packet, 12), packet.size() - 16);
  EXPECT_EQ(packet[17], 12);
  EXPECT_EQ(get_u32(packet, 32), packet.size() - 36);
}

TEST(ParseEvent, NotifyWithoutATrapOid) {
  EXPECT_THAT(parsed<PushEvent>("notify -").packet, SizeIs(36));
  EXPECT_EQ(parsed<PushEvent>("notify - type=3").packet.at(17), 3);
  EXPECT_EQ(get_u32(parsed<PushEvent>("notify - payload=0xffffffff").packet, 32), 0xFFFFFFFF);
}

TEST(ParseEvent, NotifySaysWhatIsWrong) {
  EXPECT_EQ(error_of("notify 1.3"),
            "notify needs a trap OID that begins with 1.3.6.1, or - for none: 1.3");
  EXPECT_EQ(error_of("notify - 1.3.6.1.4=integer:x"), "not a value of type integer: x");
  EXPECT_EQ(error_of("notify - uptime=x"), "not a good value: uptime=x");
  EXPECT_EQ(error_of("notify - speed=3"), "not a binding of the form OID=type:value: speed=3");
  EXPECT_EQ(error_of("notify - 1.3.6.1.4=octets:" + std::string(5000, 'x')),
            "the notification has 5048 bytes, and a packet at most 4096");
}

TEST(ParseEvent, AnyFieldOfAPushCanBeSet) {
  const PushEvent event = parsed<PushEvent>(
      "notify - pktsize=1 seqno=2 cmdno=0x8094 svc=3 errcode=4 resplen=0x00060005 size=20");
  EXPECT_TRUE(event.keep_seqno);
  EXPECT_THAT(std::span(event.packet).first(16),
              ElementsAre(1, 0, 2, 0, 0x94, 0x80, 3, 0, 4, 0, 0, 0, 5, 0, 6, 0));
  EXPECT_THAT(event.packet, SizeIs(20));
  EXPECT_FALSE(parsed<PushEvent>("notify -").keep_seqno);
  EXPECT_EQ(error_of("log a size=4097"), "not a good value: size=4097");
}

TEST(ParseEvent, ResetHoldsTheNumberOfAReset) {
  const Bytes packet = parsed<PushEvent>("reset").packet;
  EXPECT_EQ(get_u32(packet, packet.size() - 4), 6061U);
}

TEST(ParseEvent, LogTakesOneText) {
  const Bytes packet = parsed<PushEvent>("log \"two words\" length=65535").packet;
  EXPECT_EQ(get_u16(packet, 8), 65535);
  EXPECT_EQ(std::string(packet.begin() + 16, packet.end() - 1), "two words");
  EXPECT_EQ(error_of("log two words"), "unknown option: words");
  EXPECT_EQ(error_of("log"), "something is missing at the end");
}

TEST(ParseEvent, ShutdownRequestsDifferInTheirAction) {
  EXPECT_EQ(get_u32(parsed<PushEvent>("shutdown delay=30 reason=heat").packet, 8), 0U);
  EXPECT_EQ(get_u32(parsed<PushEvent>("shutdown delay=30 reason=heat").packet, 12), 30U);
  EXPECT_EQ(get_u32(parsed<PushEvent>("shutdown delay=-1").packet, 12), 0xFFFFFFFF);
  EXPECT_EQ(get_u32(parsed<PushEvent>("reboot").packet, 8), 1U);
  EXPECT_EQ(get_u32(parsed<PushEvent>("abort").packet, 8), 2U);
  EXPECT_EQ(get_u32(parsed<PushEvent>("shutdown action=4").packet, 8), 4U);
  EXPECT_EQ(error_of("shutdown now"), "unknown option: now");
}

TEST(ParseEvent, StatusAndHelloResponse) {
  const Bytes status = parsed<PushEvent>("status 0x8094 error=11").packet;
  EXPECT_EQ(get_u16(status, 4), 0x8094);
  EXPECT_EQ(get_u32(status, 8), 11U);
  EXPECT_GT(status.size(), 16U);
  EXPECT_EQ(get_u16(parsed<PushEvent>("hello-response").packet, 4), 0x8193);
  EXPECT_EQ(get_u16(parsed<PushEvent>("hello-response cmdno=0x8093").packet, 4), 0x8093);
  EXPECT_EQ(error_of("status x"), "status needs a command code, 0x0094, 0x8094 or 0x8194");
}

TEST(ParseEvent, RawIsSentAsItIs) {
  EXPECT_THAT(parsed<PushEvent>("raw 01 02:ff").packet, ElementsAre(1, 2, 0xFF));
  EXPECT_TRUE(parsed<PushEvent>("raw 01").keep_seqno);
  EXPECT_EQ(error_of("raw 1"), "raw needs pairs of hexadecimal digits");
  EXPECT_EQ(error_of("raw " + std::string(8194, '0')), "a packet has at most 4096 bytes");
}

TEST(ParseEvent, AnswersAreChangedOrLeftOut) {
  EXPECT_TRUE(parsed<AnswerEvent>("answer hello silent").silent);
  EXPECT_TRUE(parsed<AnswerEvent>("answer any normal").normal);
  EXPECT_EQ(parsed<AnswerEvent>("answer any normal").kind, std::nullopt);
  const auto event = parsed<AnswerEvent>("answer nvram-get seqno=-1 status=0x88 times=3");
  EXPECT_EQ(event.kind, PacketKind::kNvramGet);
  EXPECT_EQ(event.seqno_offset, -1);
  EXPECT_EQ(event.fields.values.at("status"), 0x88U);
  EXPECT_EQ(event.times, 3);
  EXPECT_EQ(parsed<AnswerEvent>("answer hello seqno=3").fields.values.at("seqno"), 3U);
  EXPECT_EQ(error_of("answer ack-log silent"), "not a request that is answered: ack-log");
  EXPECT_EQ(error_of("answer hello loud"), "unknown option: loud");
  EXPECT_EQ(error_of("answer hello seqno=+x"),
            "seqno needs a number, with + or - for one relative to the request's");
  EXPECT_EQ(error_of("answer hello raw=0"), "raw needs pairs of hexadecimal digits");
}

TEST(ParseEvent, FaultsHaveACallAnErrorAndACount) {
  const auto busy = parsed<FaultEvent>("busy 30");
  EXPECT_EQ(busy.call, FaultEvent::Call::kWrite);
  EXPECT_EQ(busy.error, EBUSY);
  EXPECT_EQ(busy.times, 30);
  EXPECT_EQ(parsed<FaultEvent>("busy always").times, -1);
  EXPECT_EQ(parsed<FaultEvent>("busy off").times, 0);
  const auto fault = parsed<FaultEvent>("fail read nothing times=10");
  EXPECT_EQ(fault.call, FaultEvent::Call::kRead);
  EXPECT_EQ(fault.error, 0);
  EXPECT_EQ(fault.times, 10);
  EXPECT_EQ(parsed<FaultEvent>("fail write EIO").times, 1);
  EXPECT_EQ(parsed<FaultEvent>("fail write 19").error, ENODEV);
  EXPECT_EQ(error_of("fail close EIO"), "fail needs write or read");
  EXPECT_EQ(error_of("fail write EWHAT"), "fail needs an error such as EIO, or nothing");
  EXPECT_EQ(error_of("busy"), "busy needs a number of writes, always or off");
}

TEST(ParseEvent, ChannelsAreOccupiedAndReleased) {
  EXPECT_EQ(parsed<OccupyEvent>("occupy 3").last, 3);
  EXPECT_EQ(parsed<OccupyEvent>("occupy 0-15").last, 15);
  EXPECT_FALSE(parsed<OccupyEvent>("release 2-4").occupied);
  for (const char* line : {"occupy", "occupy 16", "occupy 4-2", "release 1 2", "occupy 1-"}) {
    EXPECT_EQ(error_of(line), "a channel is a number from 0 to 15, and several are FIRST-LAST");
  }
}

TEST(ParseEvent, VariablesAreSetOrRemoved) {
  EXPECT_EQ(parsed<VariableEvent>("nvram KXHVM6=01").value, Bytes{1});
  EXPECT_EQ(parsed<VariableEvent>("nvram KXHVM6 absent").value, std::nullopt);
  EXPECT_EQ(error_of("nvram KXHVM6"), "nvram needs NAME=HEX or NAME absent");
  EXPECT_EQ(error_of("nvram =01"), "nvram needs NAME=HEX or NAME absent");
}

TEST(ParseEvent, IdentityIsReadInItsUsualForms) {
  const auto event = parsed<IdentityEvent>(
      "bmc generation=5 firmware=2.44 date=2025-04-23 ipv4=192.0.2.1 ipv6=2001:db8::1/2,fe80::1");
  EXPECT_EQ(event.generation, 5);
  EXPECT_EQ(event.firmware, (std::pair<uint8_t, uint8_t>(2, 44)));
  EXPECT_EQ(event.firmware_date, 0x8D2E0000U);
  ASSERT_EQ(event.ipv6_entries->size(), 2U);
  EXPECT_EQ(event.ipv6_entries->at(0).state, 2);
  EXPECT_EQ(event.ipv6_entries->at(1).state, 0);
  for (const char* wrong : {"firmware=2", "date=2025-13-01", "date=1989-01-01", "ipv4=1.2.3",
                            "ipv6=2001:db8::1/x", "generation=128"}) {
    EXPECT_EQ(error_of(std::string("bmc ") + wrong), std::string("not a good value: ") + wrong);
  }
}

TEST(ParseEvent, UnknownWordsAndBadQuotesAreErrors) {
  EXPECT_EQ(error_of("explode"), "unknown event: explode");
  EXPECT_EQ(error_of("log \"x"), "no closing quote");
  EXPECT_EQ(error_of("hangup now"), "hangup has no options");
}

TEST(ParseScenario, KeepsLineNumbers) {
  const Scenario scenario = parse_scenario("# first\n\nexpect hello\nlog x\n", "s");
  EXPECT_EQ(scenario.error, "");
  ASSERT_THAT(scenario.lines, SizeIs(2));
  EXPECT_EQ(scenario.lines[0].number, 3);
  EXPECT_EQ(scenario.lines[1].text, "log x");
}

TEST(ParseScenario, ABackslashJoinsTheNextLine) {
  const Scenario scenario = parse_scenario("log \\\n  x\nnvram \\\nA=01 \\\n# end\nwrong\n", "s");
  ASSERT_THAT(scenario.lines, SizeIs(2));
  EXPECT_EQ(scenario.lines[1].number, 3);
  EXPECT_EQ(scenario.error, "s:6: unknown event: wrong");
}

TEST(ParseScenario, NamesFileAndLineOfTheFirstError) {
  EXPECT_EQ(parse_scenario("log x\nlogg x\nfoo\n", "a.scenario").error,
            "a.scenario:2: unknown event: logg");
}

TEST(LoadScenario, ReadsAFileAndSaysWhenItCannot) {
  const TemporaryDirectory directory;
  std::ofstream(directory / "s") << "quit\n";
  EXPECT_THAT(load_scenario(directory / "s").lines, SizeIs(1));
  std::ofstream(directory / "empty").close();
  EXPECT_EQ(load_scenario(directory / "empty").error, "");
  EXPECT_EQ(load_scenario(directory / "none").error,
            (directory / "none") + ": cannot read: No such file or directory");
  EXPECT_EQ(load_scenario(directory.path()).error,
            directory.path() + ": cannot read: Is a directory");
}

namespace {

// Without changes of the font (\fB) and with plain hyphens (\-).
std::string without_roff(std::string_view line) {
  std::string plain;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line.substr(i, 2) == "\\f") {
      i += 2;
    } else if (line.substr(i, 2) != "\\-") {
      plain += line[i];
    }
  }
  return plain;
}

// The tags of the man page's events: the lines after .TP and .TQ between its
// sections SCENARIOS and EXAMPLE, without what roff makes of them.
std::vector<std::string> tags_of_man_page() {
  std::ifstream file(MAN_PAGE);
  std::vector<std::string> tags;
  std::string before;
  bool inside = false;
  for (std::string line; std::getline(file, line); before = line) {
    inside = (inside && line != ".SH EXAMPLE") || line == ".SH SCENARIOS";
    if (inside && (before == ".TP" || before == ".TQ")) {
      tags.push_back(without_roff(line));
    }
  }
  return tags;
}

}  // namespace

TEST(Verbs, AreExactlyThoseOfTheManPage) {
  std::vector<std::string> usages;
  std::ranges::transform(verbs(), std::back_inserter(usages), usage);
  EXPECT_EQ(tags_of_man_page(), usages);
}

TEST(Verbs, AreListedByHelpWithWhatTheyDo) {
  const std::string text = parsed<NoteEvent>("help").text;
  EXPECT_EQ(std::ranges::count(text, '\n') + 1, std::ssize(verbs()));
  for (const Verb& verb : verbs()) {
    EXPECT_THAT("\n" + text + "\n",
                testing::HasSubstr("\n" + usage(verb) + ": " + std::string(verb.help) + "\n"));
  }
  EXPECT_EQ(error_of("help me"), "help has no options");
}
