// SPDX-License-Identifier: Apache-2.0
// The host's SNMP configuration: enabled or not, and the trap destinations.
#include "trap/host_snmp.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "log/debug_flags.h"
#include "tests/support/call_script.h"

namespace {

constexpr const char* kFile = "/etc/vmware/snmp.xml";

void clear() {
  trap_destinations.clear();
  trap_communities.clear();
  snmp_enabled_flag = 0;
  trap_target_count = 0;
}

class HostSnmp : public testing::Test {
 protected:
  void SetUp() override { clear(); }
  void TearDown() override {
    clear();
    g_daemon_debug_flag = 0;
  }

  int read(const std::string& content) {
    script.fopen(kFile, "re").prints(content);
    return snmpEnabled();
  }

  // An enabled file with this line.
  void read_targets(const std::string& line) {
    EXPECT_EQ(read("<enable>true</enable>\n" + line + "\n"), 1);
  }

  CallScript script;
};

// Enabled or not.

TEST_F(HostSnmp, IsDisabledWithoutAFile) {
  snmp_enabled_flag = 1;
  script.fopen(kFile, "re").fails(ENOENT);
  EXPECT_EQ(snmpEnabled(), 0);
  EXPECT_EQ(snmp_enabled_flag, 0);
}

TEST_F(HostSnmp, IsDisabledByAnEmptyFile) {
  snmp_enabled_flag = 1;
  EXPECT_EQ(read(""), 0);
  EXPECT_EQ(snmp_enabled_flag, 0);
}

TEST_F(HostSnmp, IsEnabledByATextAnywhereInALine) {
  EXPECT_EQ(read("<config><snmpSettings><enable>true</enable><port>161</port>"), 1);
  EXPECT_EQ(snmp_enabled_flag, 1);
  EXPECT_TRUE(trap_destinations.empty());
  EXPECT_TRUE(trap_communities.empty());
}

TEST_F(HostSnmp, IsEnabledAlthoughAnotherLineSaysFalse) {
  EXPECT_EQ(read("<enable>true</enable>\n<enable>false</enable>\n"), 1);
  EXPECT_EQ(read("<enable>false</enable>\n<!-- <enable>trueish -->\n"), 1);
}

TEST_F(HostSnmp, IsDisabledByAnythingElse) {
  EXPECT_EQ(read("<enable>false</enable>\n"), 0);
  EXPECT_EQ(read("<enable> true</enable>\n"), 0);
  EXPECT_EQ(read("<Enable>true</Enable>\n"), 0);
  EXPECT_EQ(read("<enable>True</enable>\n"), 0);
  EXPECT_EQ(read("<enable>\ntrue</enable>\n"), 0);
}

TEST_F(HostSnmp, LoadsNoTargetsWhenDisabled) {
  EXPECT_EQ(read("<enable>false</enable>\n<targets>192.0.2.7@162 public</targets>\n"), 0);
  EXPECT_TRUE(trap_destinations.empty());
}

TEST_F(HostSnmp, ReadsLinesInPiecesOf4095Characters) {
  EXPECT_EQ(read(std::string(4095, 'x') + "<enable>true\n"), 1);
  EXPECT_EQ(read(std::string(4090, 'x') + "<enable>true\n"), 0);
  EXPECT_EQ(read(std::string(4083, 'x') + "<enable>true\n"), 1);
}

TEST_F(HostSnmp, WritesItsStartDown) {
  g_daemon_debug_flag = 1;
  read("<enable>true <targets>192.0.2.7@162 public</targets>");
  EXPECT_EQ(script.logs(), Lines({"6 snmpEnabled() start\n"}));
}

TEST_F(HostSnmp, IsDisabledWhenReadingBreaksOffBeforeTheEnd) {
  snmp_enabled_flag = 1;
  script.fopen(kFile, "re").prints("<enable>true\n").breaks_off(EIO);
  EXPECT_EQ(snmpEnabled(), 0);
  EXPECT_EQ(snmp_enabled_flag, 0);
}

TEST_F(HostSnmp, IsDisabledWhenReadingTheTargetsBreaksOff) {
  snmp_enabled_flag = 1;
  script.fopen(kFile, "re")
      .prints("<enable>true\n<targets>192.0.2.7@162 public</targets>\n")
      .breaks_off(EIO, 1);
  EXPECT_EQ(snmpEnabled(), 0);
  EXPECT_EQ(snmp_enabled_flag, 0);
  EXPECT_EQ(script.logs(), Lines());
}

// Usable targets.

constexpr const char* kNoUsableTarget =
    "3 snmpEnabled(): /etc/vmware/snmp.xml names no usable trap target: no trap will reach anyone. "
    "Mend the file and start again.\n";

class UnusableTargets : public HostSnmp, public testing::WithParamInterface<const char*> {};

TEST_P(UnusableTargets, AreReportedAtTheStart) {
  read_targets(GetParam());
  EXPECT_EQ(script.logs(), Lines({kNoUsableTarget}));
}

INSTANTIATE_TEST_SUITE_P(Lines, UnusableTargets,
                         testing::Values("", "<targets></targets>", "<targets>a@162</targets>",
                                         "<targets>2001:db8::7@162 public</targets>",
                                         "<targets>300.1.1.1@162 a;%n@162 b;@162 c</targets>"));

class UsableTargets : public HostSnmp, public testing::WithParamInterface<const char*> {};

TEST_P(UsableTargets, AreNoMatterForTheLog) {
  read_targets(GetParam());
  EXPECT_EQ(script.logs(), Lines());
}

// A name may resolve by the time of the first trap.
INSTANTIATE_TEST_SUITE_P(Lines, UsableTargets,
                         testing::Values("<targets>192.0.2.7@162 public</targets>",
                                         "<targets>collector.example@162 public</targets>",
                                         "<targets>::1@162 a;%n@162 b; 192.0.2.7@1 c</targets>"));

TEST_F(HostSnmp, SaysNothingOfTargetsWhenDisabled) {
  EXPECT_EQ(read("<enable>false\n"), 0);
  EXPECT_EQ(script.logs(), Lines());
}

// Targets.

TEST_F(HostSnmp, LoadsDestinationsAndCommunities) {
  read_targets("<targets>192.0.2.7@162 public;198.51.100.9@1162 ops</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7", "198.51.100.9"}));
  EXPECT_EQ(trap_communities, Lines({"public", "ops"}));
  EXPECT_EQ(trap_target_count, 2);
}

TEST_F(HostSnmp, LoadsTargetsOfTheLineThatEnables) {
  EXPECT_EQ(read("<a><enable>true</enable><targets>192.0.2.7@162 public</targets></a>"), 1);
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
}

TEST_F(HostSnmp, LoadsTargetsFromBeforeTheLineThatEnables) {
  EXPECT_EQ(read("<targets>192.0.2.7@162 public</targets>\n<enable>true</enable>\n"), 1);
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
}

TEST_F(HostSnmp, KeepsThreeTargetsAndCountsTheFourth) {
  read_targets(
      "<targets>192.0.2.1@1 a;192.0.2.2@2 b;192.0.2.3@3 c;192.0.2.4@4 d;192.0.2.5@5 e"
      "</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.1", "192.0.2.2", "192.0.2.3"}));
  EXPECT_EQ(trap_communities, Lines({"a", "b", "c"}));
  EXPECT_EQ(trap_target_count, 4);
}

TEST_F(HostSnmp, ScansEveryTargetsLineUntilThreeAreKept) {
  read_targets(
      "<targets>192.0.2.1@1 a;192.0.2.2@2 b</targets>\n"
      "<targets>192.0.2.3@3 c;192.0.2.4@4 d</targets>\n"
      "<targets>192.0.2.5@5 e</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.1", "192.0.2.2", "192.0.2.3"}));
  EXPECT_EQ(trap_target_count, 5);
}

TEST_F(HostSnmp, AppendsWhenItIsReadAgain) {
  read_targets("<targets>192.0.2.1@1 a</targets>");
  read_targets("<targets>192.0.2.2@2 b</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.1", "192.0.2.2"}));
  EXPECT_EQ(trap_target_count, 1);
}

TEST_F(HostSnmp, KeepsTheDestinationExactlyAsItIsWritten) {
  read_targets("<targets>  host.example@162 public; 2001:db8::1@162 ops</targets>");
  EXPECT_EQ(trap_destinations, Lines({"  host.example", " 2001:db8::1"}));
  EXPECT_EQ(trap_communities, Lines({"public", "ops"}));
}

TEST_F(HostSnmp, KeepsEmptyPieces) {
  read_targets("<targets>@162 public;192.0.2.7@ ;192.0.2.8@ c</targets>");
  EXPECT_EQ(trap_destinations, Lines({"", "192.0.2.7", "192.0.2.8"}));
  EXPECT_EQ(trap_communities, Lines({"public", "", "c"}));
}

TEST_F(HostSnmp, CommunityBeginsAfterTheFirstBlankAndHoldsTheOthers) {
  read_targets("<targets>192.0.2.7@162  my  word ;192.0.2.8@162 b</targets>");
  EXPECT_EQ(trap_communities, Lines({" my  word ", "b"}));
}

TEST_F(HostSnmp, CommunityMayHoldAnAtSign) {
  read_targets("<targets>192.0.2.7@162 a@b;192.0.2.8@162 c</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7", "192.0.2.8"}));
  EXPECT_EQ(trap_communities, Lines({"a@b", "c"}));
}

TEST_F(HostSnmp, LastSemicolonMayBeThere) {
  read_targets("<targets>192.0.2.7@162 public;</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
  EXPECT_EQ(trap_communities, Lines({"public"}));
}

TEST_F(HostSnmp, EntryWithoutABlankIsSkipped) {
  read_targets("<targets>192.0.2.7@162</targets>\n<targets>192.0.2.8@162 b</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.8"}));
  EXPECT_EQ(trap_communities, Lines({"b"}));
}

TEST_F(HostSnmp, EntryWithoutABlankTakesTheNextOnes) {
  read_targets("<targets>192.0.2.7@162;192.0.2.8@162 b</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
  EXPECT_EQ(trap_communities, Lines({"b"}));
}

struct NoTargets {
  const char* name;
  const char* line;
};

class LineWithoutTargets : public HostSnmp, public testing::WithParamInterface<NoTargets> {};

TEST_P(LineWithoutTargets, YieldsNothing) {
  read_targets(GetParam().line);
  EXPECT_TRUE(trap_destinations.empty());
  EXPECT_EQ(trap_target_count, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, LineWithoutTargets,
    testing::Values(NoTargets{"Empty", "<targets></targets>"},
                    NoTargets{"SelfClosed", "<targets/>"},
                    NoTargets{"NoAtSign", "<targets>192.0.2.7 public</targets>"},
                    NoTargets{"OnTwoLines", "<targets>192.0.2.7@162 public\n</targets>"},
                    NoTargets{"EndFirst", "</targets>192.0.2.7@162 public<targets>"},
                    NoTargets{"NoEnd", "<targets>192.0.2.7@162 public"},
                    NoTargets{"NoStart", "192.0.2.7@162 public</targets>"},
                    NoTargets{"OtherCase", "<Targets>192.0.2.7@162 public</Targets>"},
                    NoTargets{"AtSignBehindTheEnd", "<targets>192.0.2.7</targets>@162 public"}),
    [](const auto& line) { return line.param.name; });

TEST_F(HostSnmp, EndTagMustFollowTheStart) {
  read_targets("</targets><targets>192.0.2.7@162 public</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
}

TEST_F(HostSnmp, ReadsOnlyTheFirstPairOfTagsOfALine) {
  read_targets("<targets>192.0.2.7@1 a</targets><targets>192.0.2.8@1 b</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
}

// Pieces that are too long, and those that just fit.

TEST_F(HostSnmp, KeepsADestinationOf32Characters) {
  read_targets("<targets>" + std::string(32, 'd') + "@162 public</targets>");
  EXPECT_EQ(trap_destinations, Lines({std::string(32, 'd')}));
}

TEST_F(HostSnmp, KeepsACommunityOf128Characters) {
  read_targets("<targets>192.0.2.7@162 " + std::string(128, 'c') + "</targets>");
  EXPECT_EQ(trap_communities, Lines({std::string(128, 'c')}));
}

TEST_F(HostSnmp, KeepsATargetsTextOf2047Characters) {
  const std::string targets = "192.0.2.7@162 a;";
  read_targets("<targets>" + targets + std::string(2047 - targets.size(), 'x') + "</targets>");
  EXPECT_EQ(trap_destinations, Lines({"192.0.2.7"}));
}

struct TooLong {
  const char* name;
  std::string line;
  const char* message;
};

class OverlongPiece : public testing::TestWithParam<TooLong> {};

TEST_P(OverlongPiece, EndsTheProcessAfterALogLine) {
  EXPECT_EXIT(
      {
        CallScript script;
        script.fopen(kFile, "re").prints("<enable>true</enable>\n" + GetParam().line + "\n");
        snmpEnabled();
      },
      testing::KilledBySignal(SIGABRT), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, OverlongPiece,
    testing::Values(
        TooLong{"Destination", "<targets>" + std::string(33, 'd') + "@162 public</targets>",
                "^3 snmpEnabled\\(\\): /etc/vmware/snmp.xml: .*destination.* 33 "},
        TooLong{"SecondDestination",
                "<targets>192.0.2.7@162 a;" + std::string(33, 'd') + "@162 public</targets>",
                "^3 .*destination.* 33 "},
        TooLong{"DestinationWithoutACommunity",
                "<targets>" + std::string(33, 'd') + "@162</targets>", "^3 .*destination.* 33 "},
        TooLong{"FourthDestination",
                "<targets>a@1 a;b@1 b;c@1 c;" + std::string(33, 'd') + "@1 d</targets>",
                "^3 .*destination.* 33 "},
        TooLong{"Community", "<targets>192.0.2.7@162 " + std::string(129, 'c') + "</targets>",
                "^3 snmpEnabled\\(\\): /etc/vmware/snmp.xml: .*community.* 129 "},
        TooLong{"FourthCommunity",
                "<targets>a@1 a;b@1 b;c@1 c;d@1 " + std::string(129, 'c') + "</targets>",
                "^3 .*community.* 129 "},
        TooLong{"Targets", "<targets>" + std::string(2048, 'x') + "</targets>",
                "^3 snmpEnabled\\(\\): /etc/vmware/snmp.xml: .*targets.* 2048 "}),
    [](const auto& piece) { return piece.param.name; });

}  // namespace
