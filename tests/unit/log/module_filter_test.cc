// SPDX-License-Identifier: Apache-2.0
// The module table: which switch file lets which messages through.
#include "log/module_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

#include "tests/support/call_script.h"

namespace {

struct Row {
  const char* switch_file;
  const char* message;        // the keyword inside
  const char* other_message;  // the keyword with a letter's case or a letter changed
};

constexpr std::array<Row, 17> kRows = {{
    {"/tmp/ortd.text", "x ortd y", "x Ortd y"},
    {"/tmp/entity.text", "x entity y", "x Entity y"},
    {"/tmp/talnic.text", "x talNic y", "x talnic y"},
    {"/tmp/talnic2.text", "x talnic y", "x talNic y"},
    {"/tmp/talide.text", "x ide y", "x IDE y"},
    {"/tmp/talsas.text", "x sas y", "x Sas y"},
    {"/tmp/talfca.text", "x fca y", "x FCA y"},
    {"/tmp/talseusb.text", "x usb y", "x USB y"},
    {"/tmp/talsepci.text", "x pci y", "x PCI y"},
    {"/tmp/pciedisk.text", "x pcie y", "x pci y"},
    {"/tmp/iscsi.text", "x iscsi y", "x iSCSI y"},
    {"/tmp/talhost.text", "x talHost y", "x talhost y"},
    {"/tmp/talhoswver.text", "x talHoSwVer y", "x talHoswver y"},
    {"/tmp/vbq.text", "x vbq y", "x Vbq b b y"},
    {"/tmp/smbios.text", "x smbios y", "x SMBIOS y"},
    {"/tmp/utils.text", "x utils y", "x util y"},
    {"/tmp/mox.text", "x moxApi y", "x moxapi y"},
}};

class ModuleRow : public testing::TestWithParam<Row> {};

TEST_P(ModuleRow, LetsItsKeywordThroughAnywhereInTheMessage) {
  CallScript script;
  script.file(GetParam().switch_file);
  EXPECT_EQ(ModuleDebugEnabled(GetParam().message), 1);
}

TEST_P(ModuleRow, AcceptsAFileOfAnyOwner) {
  CallScript script;
  script.file(GetParam().switch_file, 1000);
  EXPECT_EQ(ModuleDebugEnabled(GetParam().message), 1);
}

TEST_P(ModuleRow, DropsAMessageWithoutItsKeyword) {
  CallScript script;
  script.file(GetParam().switch_file);
  EXPECT_EQ(ModuleDebugEnabled("another message"), 0);
  EXPECT_EQ(ModuleDebugEnabled(GetParam().other_message), 0);
}

TEST_P(ModuleRow, DropsItsKeywordWithoutItsFile) {
  CallScript script;
  script.file("/tmp/ortdebug.text");
  EXPECT_EQ(ModuleDebugEnabled(GetParam().message), 0);
}

INSTANTIATE_TEST_SUITE_P(Table, ModuleRow, testing::ValuesIn(kRows), [](const auto& row) {
  const std::string path = row.param.switch_file;
  return path.substr(5, path.find('.') - 5);
});

TEST(ModuleFilter, DropsEverythingWithoutSwitchFiles) {
  CallScript script;
  for (const Row& row : kRows) {
    EXPECT_EQ(ModuleDebugEnabled(row.message), 0) << row.message;
  }
}

TEST(ModuleFilter, LetsEverythingThroughWithTheFileForAll) {
  CallScript script;
  script.file("/tmp/ortAll.text");
  EXPECT_EQ(ModuleDebugEnabled("no keyword"), 1);
  EXPECT_EQ(ModuleDebugEnabled(""), 1);
  for (const Row& row : kRows) {
    EXPECT_EQ(ModuleDebugEnabled(row.message), 1) << row.message;
  }
}

TEST(ModuleFilter, KnowsASecondKeywordOfVbq) {
  CallScript script;
  script.file("/tmp/vbq.text");
  EXPECT_EQ(ModuleDebugEnabled("rubber bb"), 1);
  EXPECT_EQ(ModuleDebugEnabled("rubber"), 1);
  EXPECT_EQ(ModuleDebugEnabled("b vb q"), 0);
}

TEST(ModuleFilter, FindsKeywordsInsideOtherWords) {
  CallScript script;
  script.file("/tmp/talide.text");
  EXPECT_EQ(ModuleDebugEnabled("the provider"), 1);
}

TEST(ModuleFilter, LetsAPcieMessageThroughWithThePciFile) {
  CallScript script;
  script.file("/tmp/talsepci.text");
  EXPECT_EQ(ModuleDebugEnabled("pcie slot"), 1);
}

TEST(ModuleFilter, LetsAPcieMessageThroughWithThePcieFileAlone) {
  CallScript script;
  script.file("/tmp/pciedisk.text");
  EXPECT_EQ(ModuleDebugEnabled("pcie slot"), 1);
  EXPECT_EQ(ModuleDebugEnabled("pci slot"), 0);
}

TEST(ModuleFilter, GoesThroughTheTableInOrderAndStopsAtTheFirstMatch) {
  CallScript script;
  script.file("/tmp/talsepci.text");
  script.file("/tmp/pciedisk.text");
  EXPECT_EQ(ModuleDebugEnabled("utils ide pcie ortd"), 1);
  const Lines& looked_for = script.stats();
  EXPECT_EQ(looked_for.front(), "/tmp/ortAll.text");
  EXPECT_EQ(looked_for.back(), "/tmp/talsepci.text");
  const auto position = [&](const char* path) {
    return std::find(looked_for.begin(), looked_for.end(), path) - looked_for.begin();
  };
  EXPECT_LT(position("/tmp/ortd.text"), position("/tmp/talide.text"));
  EXPECT_LT(position("/tmp/talide.text"), position("/tmp/talsepci.text"));
}

TEST(ModuleFilter, LooksAtTheFilesOnEveryMessage) {
  CallScript script;
  EXPECT_EQ(ModuleDebugEnabled("utils: a"), 0);
  script.file("/tmp/utils.text");
  EXPECT_EQ(ModuleDebugEnabled("utils: b"), 1);
  script.no_file("/tmp/utils.text");
  EXPECT_EQ(ModuleDebugEnabled("utils: c"), 0);
}

}  // namespace
