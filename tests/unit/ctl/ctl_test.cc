// SPDX-License-Identifier: Apache-2.0
// What tvurevctl computes without a host: texts, bytes and counts.
#include <gtest/gtest.h>

#include <set>

#include "ctl/archive.h"
#include "ctl/findings.h"
#include "ctl/jobs.h"
#include "ctl/masking.h"
#include "ctl/test_notification.h"
#include "tests/support/packets.h"

namespace {

TEST(Rows, HaveNamesOfTheirOwnAndARemedyWhereOneIsNeeded) {
  std::set<std::string_view> names;
  for (const Row& found : rows()) {
    EXPECT_TRUE(names.insert(found.id).second) << found.id;
    const bool needs_none = found.severity == Severity::kOk || found.id == "bmc-not-asked";
    EXPECT_EQ(found.remedy.empty(), needs_none) << found.id;
    EXPECT_EQ(found.severity == Severity::kFail,
              found.severity != Severity::kUnknown && found.costs != Costs::kNothing)
        << found.id;
  }
}

TEST(Findings, FillTheWordsInTheirOrder) {
  Findings findings;
  findings.add("entry-port-ignored", {"1162", "192.0.2.7"});
  EXPECT_EQ(findings.all()[0].text, "The port 1162 of 192.0.2.7 is ignored: traps go to port 162.");
}

TEST(Findings, ShowNoControlCharacters) {
  Findings findings;
  findings.add("receiver-ipv6", {"a\x1b[31m\n\x7f"});
  EXPECT_EQ(findings.all()[0].text, "a?[31m?? is an IPv6 address, which is not served.");
}

TEST(Findings, OfOneKindAreOneLineFromTheFourthOn) {
  Findings findings;
  for (const char* name : {"a", "b", "c"}) {
    findings.add("entry-without-at", {name});
  }
  EXPECT_EQ(findings.condensed().size(), 3U);
  findings.add("daemon-not-running", {""});
  findings.add("entry-without-at", {"d"});
  const std::vector<Finding> lines = findings.condensed();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(
      lines[0].text,
      "The entry a has no \"@\": neither it nor the one behind it is read as it is meant. And 3 "
      "more of this kind.");
}

TEST(Findings, TellTheFirstThatCostsEverything) {
  Findings findings;
  findings.add("receiver-ipv6", {"a"});
  findings.add_for_later("mode-off", {"KXHVM6"}, "Later.");
  EXPECT_EQ(findings.first_failure(Costs::kEverything), nullptr);
  findings.add("bmc-silent");
  EXPECT_EQ(findings.first_failure(Costs::kEverything)->row->id, "bmc-silent");
  EXPECT_EQ(findings.first_failure(Costs::kReceiver)->row->id, "receiver-ipv6");
}

TEST(Masking, TakesTheCommunityOfEachTarget) {
  EXPECT_EQ(masked_settings("<targets>192.0.2.7@162 public;h@1 ops</targets>"),
            "<targets>192.0.2.7@162 ******;h@1 ******</targets>");
}

TEST(Masking, TakesThatOfABrokenEntryAndOfOneOverTwoLines) {
  EXPECT_EQ(masked_settings("<targets>192.0.2.7 public;\n h@1 a b</targets>"),
            "<targets>192.0.2.7 ******;\n h@1 ******</targets>");
  EXPECT_EQ(masked_settings("<targets>h@1 secret\n</config>"), "<targets>h@1 ******");
}

TEST(Masking, TakesTheCommunitiesAndUsersOfOtherElements) {
  EXPECT_EQ(masked_settings("<communities>public,ops</communities>\n<users>u/a/b</users>"),
            "<communities>******</communities>\n<users>******</users>");
}

TEST(Masking, TakesWhatIsLeftInAComment) {
  EXPECT_EQ(masked_settings("<!-- h@162 secret; -->\n<enable>true</enable>"),
            "<!-- h@162 ******; -->\n<enable>true</enable>");
}

TEST(Masking, TakesASecretWhereverElseItStands) {
  EXPECT_EQ(masked_settings("<a>topsecret</a><targets>h@1 topsecret</targets>"),
            "<a>******</a><targets>h@1 ******</targets>");
}

TEST(Masking, TakesTheSettingsSecretsOutOfAnotherText) {
  EXPECT_EQ(masked_by("<targets>h topsecret;g@1 x</targets>", "to dest [h topsecret;g]"),
            "to dest [h ******;g]");
}

TEST(Masking, LeavesEverythingElse) {
  const std::string text = "<?xml?>\n<enable>true</enable><port>161</port>\n";
  EXPECT_EQ(masked_settings(text), text);
  EXPECT_EQ(masked_settings("<targets></targets>"), "<targets></targets>");
}

TEST(TestNotification, IsThatOfAnAgent) {
  const auto oid = parse_test_oid("1.3.6.1.4.1.32473.1.0.9");
  ASSERT_TRUE(oid.has_value());
  const Bytes expected = NotifyBuilder()
                             .uptime(4711)
                             .trap_oid("1.3.6.1.4.1.32473.1.0.9")
                             .octets("1.3.6.1.4.1.32473.1.0.9.1", "rack 7")
                             .bytes();
  Bytes built = build_test_notification(*oid, "rack 7", 4711);
  // Session, transaction and packet are numbers of an agent's own.
  std::copy(expected.begin() + 4, expected.begin() + 16, built.begin() + 4);
  EXPECT_EQ(hex_of(built), hex_of(expected));
}

TEST(TestNotification, TakesNoOtherOid) {
  for (const char* text : {"", "1.3.6.1", "1.3.6.1.4", "1.3.6.1.4.", "1.3.6.1.4..1", "1.3.6.1.x.1",
                           "1.3.6.2.4.1", "1.3.6.1.256.1", "1.3.6.1.4.4294967296"}) {
    EXPECT_FALSE(parse_test_oid(text).has_value()) << text;
  }
}

TEST(Archive, IsWholeBlocksOfTarInGzip) {
  const std::string bytes = make_archive({{"folder/file", "text"}}, 0);
  EXPECT_EQ(bytes.substr(0, 3), std::string("\x1f\x8b\x08", 3));
  EXPECT_EQ(bytes.size(), 10U + 5 + 4 * 512 + 8);
}

TEST(Jobs, AnswerAbortOrAreLateSideBySide) {
  Job answer = start_job(10'000, [] { return std::string("key=value\n"); });
  Job aborts = start_job(10'000, []() -> std::string { abort(); });
  Job late = start_job(1, []() -> std::string {
    while (true) {
    }
  });
  finish_jobs({&answer, &aborts, &late});
  EXPECT_EQ(answer.end, Job::End::kAnswered);
  EXPECT_EQ(value_of(answer.text, "key"), "value");
  EXPECT_EQ(aborts.end, Job::End::kAborted);
  EXPECT_EQ(late.end, Job::End::kLate);
}

}  // namespace
