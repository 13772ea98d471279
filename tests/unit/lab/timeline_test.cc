#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "lab/timeline/child.h"
#include "lab/timeline/display.h"
#include "lab/timeline/probes.h"

namespace {

constexpr const char* kTitles =
    "   sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid\n";

std::vector<std::string> all_lines(Child* child) {
  std::vector<std::string> lines;
  while (child->output) {
    read_lines(child, [&](const std::string& line) { lines.push_back(line); });
  }
  while (!child->exit_status) {
    reap(child);
  }
  return lines;
}

}  // namespace

TEST(WithoutSyslogHeader, CutsDateAndHostName) {
  EXPECT_EQ(without_syslog_header("Nov 20 14:34:46 host daemon.err ortdv[9]: a b"),
            "daemon.err ortdv[9]: a b");
  EXPECT_EQ(without_syslog_header("Nov  2 04:34:46 host daemon.err x: y"), "daemon.err x: y");
}

TEST(WithoutSyslogHeader, LeavesLinesWithoutOneAlone) {
  for (const char* line : {"", "short", "exactly16letters", "longer-than-a-date-but-one-word"}) {
    EXPECT_EQ(without_syslog_header(line), line);
  }
}

TEST(WithoutControls, ReplacesWhatATerminalWouldObey) {
  EXPECT_EQ(without_controls("a\tb\033[31m\r\x7F\xC3\xA4"), "a\tb?[31m??\xC3\xA4");
}

TEST(TrapPortsAreEmpty, LooksAtTheReceiveQueueOfPort162Only) {
  const std::string titles = kTitles;
  EXPECT_TRUE(trap_ports_are_empty(titles));
  EXPECT_TRUE(trap_ports_are_empty(
      titles + "16344: 070200C0:00A2 00000000:0000 07 00000000:00000000 00:00000000 00000000 0\n"));
  EXPECT_TRUE(trap_ports_are_empty(
      titles + "16344: 070200C0:00A1 00000000:0000 07 00000000:00000240 00:00000000 00000000 0\n"));
  EXPECT_FALSE(trap_ports_are_empty(
      titles + "16344: 070200C0:00A2 00000000:0000 07 00000000:00000240 00:00000000 00000000 0\n"));
}

TEST(Child, GivesItsLinesAndItsStatus) {
  Child child;
  ASSERT_EQ(start_child(&child, "x", {"sh", "-c", "echo one; echo two >&2; printf three; exit 3"}),
            "");
  EXPECT_EQ(all_lines(&child), (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_EQ(child.exit_status, 3);
}

TEST(Child, HasTheEnvironmentAndInputItWasGiven) {
  Child child;
  ASSERT_EQ(start_child(&child, "x", {"sh", "-c", "cat; echo $LAB_TEST"}, {"LAB_TEST=yes"}), "");
  ASSERT_EQ(write(child.input.get(), "in\n", 3), 3);
  child.input.reset();
  EXPECT_EQ(all_lines(&child), (std::vector<std::string>{"in", "yes"}));
}

TEST(Child, ASignalCountsAsItsNumberAnd128) {
  Child child;
  ASSERT_EQ(start_child(&child, "x", {"cat"}), "");
  signal_child(child, SIGTERM);
  all_lines(&child);
  EXPECT_EQ(child.exit_status, 128 + SIGTERM);
}

TEST(Child, AProgramThatIsNotThereIsNamed) {
  Child child;
  EXPECT_EQ(start_child(&child, "x", {"/nonexistent/program"}),
            "x: cannot start /nonexistent/program: No such file or directory");
  EXPECT_FALSE(child.output);
}

TEST(Child, DestroyedItIsGone) {
  Child child;
  ASSERT_EQ(start_child(&child, "x", {"cat"}), "");
  destroy_child(&child);
  EXPECT_EQ(child.exit_status, 128 + SIGKILL);
  EXPECT_NE(kill(child.pid, 0), 0);
}
