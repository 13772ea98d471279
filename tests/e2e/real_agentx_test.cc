// SPDX-License-Identifier: Apache-2.0
// Notifications written by the real agentxtrap, read back by the real
// snmptrapd: neither end is code of ours.
#include "lab/supervisor/trap_daemon.h"
#include "tests/e2e/agentx_master.h"
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;

constexpr const char* kReceiverAddress = "203.0.113.5";
constexpr uint8_t kByteOrderFlag = 0x10;
constexpr std::string_view kMark = "TRAP ";
constexpr const char* kFormat = "TRAP %a %N %w/%q @%T %P: %v\n";

void replace_all(std::string* text, std::string_view from, std::string_view to) {
  for (size_t at = 0; (at = text->find(from, at)) != text->npos; at += to.size()) {
    text->replace(at, from.size(), to);
  }
}

class RealAgentx : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    write_targets(std::string(kReceiverAddress) + "@162 public");
    ASSERT_EQ(trapd_.start(trap_daemon({kReceiverAddress}, {"-F", kFormat})), "");
    ASSERT_TRUE(run_until([] { return trap_ports_are_open({kReceiverAddress}); })) << trapd_.out();
    start_relay();
  }

  // Relays a notification on both roads. Returns what snmptrapd printed.
  std::vector<std::string> relay(const std::vector<std::string>& arguments) {
    const Capture capture = capture_agentxtrap(arguments);
    EXPECT_EQ(capture.error, "");
    EXPECT_EQ(capture.pdus.size(), 3U) << "Open, Notify, Close";
    if (capture.notify.empty()) {
      return {};
    }
    // A little-endian host's sender leaves the order as it is, and says so.
    EXPECT_EQ(capture.notify[2] & kByteOrderFlag, 0);
    push_notify(capture.notify);
    EXPECT_TRUE(run_until([&] { return printed_traps().size() == 1; })) << trapd_.out();
    LocalClient agent = connected_client();
    EXPECT_TRUE(agent.send(capture.notify));
    EXPECT_TRUE(run_until([&] { return printed_traps().size() == 2; })) << trapd_.out();
    return traps_;
  }

 private:
  // One line a trap, with blanks and bars between the bindings:
  //   192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @100 public: .1.3... = STRING: "fan 3"
  const std::vector<std::string>& printed_traps() {
    trapd_.pump();
    for (std::string& line : trapd_.take_lines()) {
      if (line.starts_with(kMark)) {
        line.erase(0, kMark.size());
        replace_all(&line, "\t", " | ");
        replace_all(&line, "/.", "/");
        replace_all(&line, "TRAP, SNMP v1, community ", "");
        traps_.push_back(line);
      }
    }
    return traps_;
  }

  Child trapd_;
  std::vector<std::string> traps_;
};

TEST_F(RealAgentx, TextAndNumber) {
  const char* expected =
      "192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @4711 public: "
      ".1.3.6.1.4.1.32473.1.1.1.0 = STRING: \"fan 3\" | .1.3.6.1.4.1.32473.1.1.2 = INTEGER: -5";
  EXPECT_THAT(relay({"-U", "4711", "1.3.6.1.4.1.32473.1.0.3", "1.3.6.1.4.1.32473.1.1.1.0", "s",
                     "fan 3", "1.3.6.1.4.1.32473.1.1.2", "i", "-5"}),
              ElementsAre(expected, expected));
}

TEST_F(RealAgentx, EveryTypeThatItCanWrite) {
  const char* expected =
      "192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @100 public: "
      ".1.3.6.1.4.1.32473.2.1 = INTEGER: 2147483647 | "
      ".1.3.6.1.4.1.32473.2.2 = INTEGER: 7 | "
      ".1.3.6.1.4.1.32473.2.3 = INTEGER: 8 | "
      ".1.3.6.1.4.1.32473.2.4 = Timeticks: (0) 0:00:00.00 | "
      ".1.3.6.1.4.1.32473.2.5 = \"\" | "
      ".1.3.6.1.4.1.32473.2.6 = STRING: \"abcde\" | "
      ".1.3.6.1.4.1.32473.2.7 = Hex-STRING: FF 01  | "
      ".1.3.6.1.4.1.32473.2.8 = IpAddress: 10.0.0.5 | "
      ".1.3.6.1.4.1.32473.2.9 = OID: .1.3.6.1.4.1.32473.9.1";
  EXPECT_THAT(relay({"-U",
                     "100",
                     "1.3.6.1.4.1.32473.1.0.3",  //
                     "1.3.6.1.4.1.32473.2.1",
                     "i",
                     "2147483647",  //
                     "1.3.6.1.4.1.32473.2.2",
                     "u",
                     "7",  //
                     "1.3.6.1.4.1.32473.2.3",
                     "c",
                     "8",  //
                     "1.3.6.1.4.1.32473.2.4",
                     "t",
                     "9",  //
                     "1.3.6.1.4.1.32473.2.5",
                     "s",
                     "",  //
                     "1.3.6.1.4.1.32473.2.6",
                     "s",
                     "abcde",  //
                     "1.3.6.1.4.1.32473.2.7",
                     "x",
                     "FF01",  //
                     "1.3.6.1.4.1.32473.2.8",
                     "a",
                     "10.0.0.5",  //
                     "1.3.6.1.4.1.32473.2.9",
                     "o",
                     "1.3.6.1.4.1.32473.9.1",
                     "1.3.6.1.4.1.32473.2.10",
                     "n",
                     ""}),
              ElementsAre(expected, expected));
}

TEST_F(RealAgentx, StandardTrap) {
  const char* expected =
      "192.0.2.20 .1.3.6.1.6.3.1.1.5 2/0 @1 public: "
      ".1.3.6.1.2.1.2.2.1.1.7 = INTEGER: 7";
  EXPECT_THAT(relay({"-U", "1", "1.3.6.1.6.3.1.1.5.3", "1.3.6.1.2.1.2.2.1.1.7", "i", "7"}),
              ElementsAre(expected, expected));
}

TEST_F(RealAgentx, ManyBindings) {
  std::vector<std::string> arguments = {"-U", "1", "1.3.6.1.4.1.32473.1.0.3"};
  std::string expected = "192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @1 public: ";
  for (int i = 1; i <= 30; ++i) {
    const std::string name = "1.3.6.1.4.1.32473.2." + std::to_string(i);
    arguments.insert(arguments.end(), {name, "s", "value " + std::to_string(i)});
    if (i <= 25) {
      expected += (i == 1 ? "." : " | .") + name + " = STRING: \"value " + std::to_string(i) + "\"";
    }
  }
  EXPECT_THAT(relay(arguments), ElementsAre(expected, expected));
}

TEST_F(RealAgentx, NameOutsideTheInternetTreeIsReadWithItsPrefixOfZero) {
  // 1.0.8802 cannot be written with a prefix; it is shown behind one all the same.
  const char* expected =
      "192.0.2.20 .1.3.6.1.4.1.32473.1 6/3 @1 public: "
      ".1.3.6.1.0.1.0.8802.1 = INTEGER: 7";
  EXPECT_THAT(relay({"-U", "1", "1.3.6.1.4.1.32473.1.0.3", "1.0.8802.1", "i", "7"}),
              ElementsAre(expected, expected));
}

}  // namespace
