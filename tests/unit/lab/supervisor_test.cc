// SPDX-License-Identifier: Apache-2.0
// What the timeline and the end-to-end tests start and listen to a host with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "lab/sim/text.h"
#include "lab/supervisor/child.h"
#include "lab/supervisor/syslog_socket.h"
#include "lab/supervisor/trap_daemon.h"
#include "lab/supervisor/trap_reader.h"

using testing::ElementsAre;

namespace {

// A line of /proc/net/udp.
std::string udp_line(const std::string& local, const std::string& unread) {
  return "   sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid\n"
         "16344: " +
         local + " 00000000:0000 07 00000000:" + unread + " 00:00000000 00000000 0\n";
}

Program shell(const std::string& script) {
  return {.arguments = {"sh", "-c", script}, .output = Program::kMerged};
}

// Everything to its end; the kernel says when.
std::vector<std::string> all_lines(Child* child) {
  std::vector<std::string> lines;
  while (child->running()) {
    std::vector<pollfd> descriptors;
    child->add_descriptors(&descriptors);
    poll(descriptors.data(), descriptors.size(), -1);
    child->pump();
    std::ranges::move(child->take_lines(), std::back_inserter(lines));
  }
  return lines;
}

// A trap with one binding, 1.3.6.1.4.1.1 of this value in hexadecimal.
std::string trap_of(const std::string& value) {
  const size_t size = parse_hex(value)->size();
  const auto length = [&](size_t others) {
    const auto octet = static_cast<uint8_t>(size + others);
    return hex_text({&octet, 1});
  };
  return trap_text(parse_hex("30" + length(51) + "020100 04067075626c6963 a4" + length(38) +
                             "06082b0601040181fd59 4004c0000214 020106 020103 4302 1267" + "30" +
                             length(10) + "30" + length(8) + "06062b0601040101" + value)
                       .value());
}

constexpr const char* kTrapStart = "public 1.3.6.1.4.1.32473 192.0.2.20 6/3 @4711 1.3.6.1.4.1.1=";

}  // namespace

TEST(Child, GivesItsLinesAndItsStatus) {
  Child child;
  ASSERT_EQ(child.start(shell("echo one; echo two >&2; printf three; exit 3")), "");
  EXPECT_THAT(all_lines(&child), ElementsAre("one", "two", "three"));
  EXPECT_EQ(child.status(), 3);
}

TEST(Child, KeepsOutputAndErrorsApartUnlessTold) {
  Child child;
  ASSERT_EQ(child.start({.arguments = {"sh", "-c", "echo one; echo two >&2"}}), "");
  EXPECT_THAT(all_lines(&child), ElementsAre("one"));
  EXPECT_EQ(child.err(), "two\n");
}

TEST(Child, HasTheEnvironmentAndInputItWasGiven) {
  Program program = shell("cat; echo $LAB_TEST");
  program.environment = {"LAB_TEST=yes"};
  program.has_input = true;
  Child child;
  ASSERT_EQ(child.start(program), "");
  ASSERT_EQ(write(child.input.get(), "in\n", 3), 3);
  child.input.reset();
  EXPECT_THAT(all_lines(&child), ElementsAre("in", "yes"));
}

TEST(Child, ASignalCountsAsItsNumberAnd128) {
  Child child;
  ASSERT_EQ(child.start(shell("kill -TERM $$")), "");
  all_lines(&child);
  EXPECT_EQ(child.status(), 128 + SIGTERM);
}

TEST(Child, AProgramThatIsNotThereIsNamed) {
  Child child;
  EXPECT_EQ(child.start({.arguments = {"/nonexistent/program"}}),
            "/nonexistent/program: No such file or directory");
  EXPECT_FALSE(child.running());
}

TEST(Child, EndedItIsGone) {
  Child child;
  ASSERT_EQ(child.start({.arguments = {"cat"}, .has_input = true}), "");
  child.end();
  EXPECT_EQ(child.status(), 128 + SIGKILL);
  EXPECT_NE(kill(child.pid(), 0), 0);
}

TEST(TrapPorts, AreEmptyWhenTheQueuesOfPort162Are) {
  EXPECT_TRUE(trap_ports_are_empty(udp_line("070200C0:00A2", "00000000")));
  EXPECT_TRUE(trap_ports_are_empty(udp_line("070200C0:00A1", "00000240")));
  EXPECT_FALSE(trap_ports_are_empty(udp_line("070200C0:00A2", "00000240")));
}

TEST(TrapPorts, AreOpenAtTheirOwnAddresses) {
  EXPECT_TRUE(trap_port_is_open(udp_line("070200C0:00A2", "00000000"), "192.0.2.7"));
  EXPECT_FALSE(trap_port_is_open(udp_line("070200C0:00A1", "00000000"), "192.0.2.7"));
  EXPECT_FALSE(trap_port_is_open(udp_line("080200C0:00A2", "00000000"), "192.0.2.7"));
  EXPECT_TRUE(trap_port_is_open(udp_line("B80D0120000000000000000007000000:00A2", "00000000"),
                                "2001:db8::7"));
}

TEST(ParseLogLine, GivesPriorityIdentityAndText) {
  const LogLine line = parse_log_line("<27>Nov  2 04:00:00 ortdv[17]: a: [b] <c>\n\n");
  EXPECT_EQ(line.pid, 17);
  EXPECT_EQ(line.text, "3 ortdv: a: [b] <c>\n");
  EXPECT_EQ(parse_log_line("<9>Nov 20 12:00:00 x: y").text, "facility 1 1 x: y");
  EXPECT_EQ(parse_log_line("<30>clock[5]: poll 1000 -> 0").text, "clock: poll 1000 -> 0");
  EXPECT_EQ(parse_log_line("no such line").text, "no such line");
}

TEST(TrapText, WritesEveryKindOfValue) {
  const std::string start = kTrapStart;
  EXPECT_EQ(trap_of("0201fb"), start + "-5");
  EXPECT_EQ(trap_of("0403612280"), start + "\"a\\\"\\x80\"");
  EXPECT_EQ(trap_of("06082b0601040181fd59"), start + "1.3.6.1.4.1.32473");
  EXPECT_EQ(trap_of("40040a000005"), start + "ip:10.0.0.5");
  EXPECT_EQ(trap_of("430100"), start + "ticks:0");
  EXPECT_EQ(trap_of("4601ff"), start + "tag-46:ff");
}

TEST(TrapText, ReadsLengthsOfSeveralOctets) {
  const std::string text(200, 'x');
  const std::string head =
      "3081f6020100 04067075626c6963 a481e8 06022b06 4004c0000214 020106 020103 430112"
      "3081d2 3081cf 06022b01 0481c8";
  EXPECT_EQ(trap_text(parse_hex(head + hex_text(Bytes(text.begin(), text.end()))).value()),
            "public 1.3.6 192.0.2.20 6/3 @18 1.3.1=\"" + text + "\"");
}

TEST(TrapText, AnythingElseIsNoTrap) {
  EXPECT_EQ(trap_text({}), "not a trap: ");
  EXPECT_EQ(trap_text(parse_hex("3003020101").value()), "not a trap: 3003020101");
  // A binding that says more than there is.
  EXPECT_THAT(trap_of("0205fb"), testing::StartsWith("not a trap: 30"));
}
