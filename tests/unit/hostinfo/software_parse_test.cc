// SPDX-License-Identifier: Apache-2.0
#include "hostinfo/software_parse.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace {

SwInstalledRec component(std::initializer_list<std::string> lines) {
  SwInstalledRec record = {};
  for (const std::string& line : lines) {
    parse_component_line(line, record);
  }
  return record;
}

SwInstalledRec bulletin(std::initializer_list<std::string> lines) {
  SwInstalledRec record = {};
  for (const std::string& line : lines) {
    parse_bulletin_line(line, record);
  }
  return record;
}

TEST(ComponentParserTest, ReadsEachElement) {
  const SwInstalledRec record =
      component({R"(  <componentNameSpec name="Example-gigabit" uiString="Network driver"/>)",
                 R"(  <componentVersionSpec version="4.1.9.0-4" uiString="4.1.9"/>)",
                 "<vendor>VMware</vendor>", "<summary>Gigabit</summary>",
                 "<description>A driver</description>", "<releaseDate>2023-03-27</releaseDate>"});
  EXPECT_STREQ(record.name, "Example-gigabit");
  EXPECT_STREQ(record.version, "4.1.9.0-4");
  EXPECT_STREQ(record.vendor, "VMware");
  EXPECT_STREQ(record.summary, "Gigabit");
  EXPECT_STREQ(record.description, "A driver");
  EXPECT_STREQ(record.releaseDate, "2023-03-27");
  EXPECT_STREQ(record.installDate, "");
  EXPECT_STREQ(record.acceptanceLevel, "");
  EXPECT_STREQ(record.kind, "");
}

TEST(ComponentParserTest, ReadsSeveralElementsOfOneLine) {
  const SwInstalledRec record =
      component({"<vendor>V</vendor><summary>S</summary><releaseDate>R</releaseDate>"});
  EXPECT_STREQ(record.vendor, "V");
  EXPECT_STREQ(record.summary, "S");
  EXPECT_STREQ(record.releaseDate, "R");
}

TEST(ComponentParserTest, ReadsAttributesOnlyNextToTheirTag) {
  const SwInstalledRec record =
      component({R"(<other name="no" version="no"/>)", R"(<componentNameSpec>)", R"(name="no")"});
  EXPECT_STREQ(record.name, "");
  EXPECT_STREQ(record.version, "");
}

TEST(ComponentParserTest, SkipsOneCharacterForTheOpeningQuote) {
  EXPECT_STREQ(component({R"(<componentNameSpec name=bare other="x"/>)"}).name, "are other=");
  EXPECT_STREQ(component({R"(<componentNameSpec name='single' other="x"/>)"}).name,
               "single' other=");
  EXPECT_STREQ(component({"<componentNameSpec name='single'/>"}).name, "");
  EXPECT_STREQ(component({R"(<componentVersionSpec version=1.2" />)"}).version, ".2");
}

TEST(ComponentParserTest, TakesTheFirstAttributeOfThatNameOnTheLine) {
  // "name=" also ends longer attribute names.
  EXPECT_STREQ(component({R"(<componentNameSpec uiname="first" name="second"/>)"}).name, "first");
}

TEST(ComponentParserTest, DoesNotPickUpElementsOverSeveralLines) {
  const SwInstalledRec record = component({"<vendor>VMware\n", "</vendor>\n"});
  EXPECT_STREQ(record.vendor, "");
}

TEST(ComponentParserTest, DoesNotReadBulletinElements) {
  const SwInstalledRec record = component(
      {"<name>n</name>", "<version>v</version>", "<release-date>r</release-date>", "<tag>module"});
  EXPECT_STREQ(record.name, "");
  EXPECT_STREQ(record.version, "");
  EXPECT_STREQ(record.releaseDate, "");
  EXPECT_STREQ(record.kind, "");
}

TEST(ComponentParserTest, LeavesTheTailOfALongerEarlierValue) {
  EXPECT_STREQ(component({"<vendor>Example Maker</vendor>", "<vendor>Other</vendor>"}).vendor,
               "Otherle Maker");
}

TEST(ComponentParserTest, EndsALaterNameAndVersion) {
  const SwInstalledRec record = component(
      {R"(<componentNameSpec name="long-name">)", R"(<componentNameSpec name="n">)",
       R"(<componentVersionSpec version="1.2.3">)", R"(<componentVersionSpec version="9">)"});
  EXPECT_STREQ(record.name, "n");
  EXPECT_STREQ(record.version, "9");
}

TEST(ComponentParserTest, CutsEachValueAtItsField) {
  const std::string huge(4000, 'x');
  const SwInstalledRec record = component(
      {"<componentNameSpec name=\"" + huge + "\"", "<componentVersionSpec version=\"" + huge + "\"",
       "<vendor>" + huge + "</vendor>", "<summary>" + huge + "</summary>",
       "<description>" + huge + "</description>", "<releaseDate>" + huge + "</releaseDate>"});
  EXPECT_EQ(record.name, std::string(127, 'x'));
  EXPECT_EQ(record.version, std::string(127, 'x'));
  EXPECT_EQ(record.installDate, std::string());
  EXPECT_EQ(record.releaseDate, std::string(127, 'x'));
  EXPECT_EQ(record.vendor, std::string(127, 'x'));
  EXPECT_EQ(record.summary, std::string(255, 'x'));
  EXPECT_EQ(record.description, std::string(255, 'x'));
}

TEST(ComponentParserTest, TakesValuesThatJustFit) {
  EXPECT_EQ(component({"<vendor>" + std::string(127, 'v') + "</vendor>"}).vendor,
            std::string(127, 'v'));
  EXPECT_EQ(component({"<summary>" + std::string(255, 's') + "</summary>"}).summary,
            std::string(255, 's'));
}

TEST(ComponentParserTest, IgnoresWhatHasNoEnd) {
  const SwInstalledRec record =
      component({"<vendor>VMware", "</summary>late<summary>", "<description",
                 "<componentNameSpec name=", "<componentNameSpec name=\"", "<componentNameSpec",
                 "<componentVersionSpec version=\"open"});
  EXPECT_STREQ(record.vendor, "");
  EXPECT_STREQ(record.summary, "");
  EXPECT_STREQ(record.description, "");
  EXPECT_STREQ(record.name, "");
  EXPECT_STREQ(record.version, "");
}

TEST(BulletinParserTest, ReadsEachElement) {
  const SwInstalledRec record =
      bulletin({"<name>gigabit</name>", "<version>4.1.9.0-4</version>", "<vendor>VMware</vendor>",
                "<summary>Network</summary>", "<description>A driver</description>",
                "<release-date>2023-03-27</release-date>", "<installdate>2024-01-02</installdate>",
                "<acceptance-level>certified</acceptance-level>", "<tag>driver</tag>"});
  EXPECT_STREQ(record.name, "gigabit");
  EXPECT_STREQ(record.version, "4.1.9.0-4");
  EXPECT_STREQ(record.installDate, "2024-01-02");
  EXPECT_STREQ(record.releaseDate, "2023-03-27");
  EXPECT_STREQ(record.vendor, "VMware");
  EXPECT_STREQ(record.acceptanceLevel, "certified");
  EXPECT_STREQ(record.summary, "Network");
  EXPECT_STREQ(record.description, "A driver");
  EXPECT_STREQ(record.kind, "driver");
}

TEST(BulletinParserTest, LetsTheLaterKindWin) {
  EXPECT_STREQ(bulletin({"<tag>module</tag>"}).kind, "module");
  EXPECT_STREQ(bulletin({"<tag>module</tag>", "<tag>driver</tag>"}).kind, "driver");
  EXPECT_STREQ(bulletin({"<tag>driver</tag>", "<tag>module</tag>"}).kind, "module");
  EXPECT_STREQ(bulletin({"<tag>other</tag>"}).kind, "");
}

TEST(BulletinParserTest, TakesALineWithBothKindsForADriver) {
  EXPECT_STREQ(bulletin({"<tag>module</tag><tag>driver</tag>"}).kind, "driver");
  EXPECT_STREQ(bulletin({"<tag>driver</tag><tag>module</tag>"}).kind, "driver");
}

TEST(BulletinParserTest, EndsALaterNameAndLeavesTheTailOfOtherValues) {
  const SwInstalledRec record =
      bulletin({"<name>long-name</name>", "<name>n</name>", "<installdate>2024-01-02</installdate>",
                "<installdate>2025</installdate>"});
  EXPECT_STREQ(record.name, "n");
  EXPECT_STREQ(record.installDate, "2025-01-02");
}

TEST(BulletinParserTest, CutsEachValueAtItsField) {
  const std::string huge(4000, 'x');
  const SwInstalledRec record =
      bulletin({"<name>" + huge + "</name>", "<version>" + huge + "</version>",
                "<installdate>" + huge + "</installdate>",
                "<acceptance-level>" + huge + "</acceptance-level>"});
  EXPECT_EQ(record.name, std::string(127, 'x'));
  EXPECT_EQ(record.version, std::string(127, 'x'));
  EXPECT_EQ(record.installDate, std::string(127, 'x'));
  EXPECT_EQ(record.acceptanceLevel, std::string(127, 'x'));
}

TEST(BulletinParserTest, DoesNotReadComponentElements) {
  const SwInstalledRec record =
      bulletin({R"(<componentNameSpec name="n"/>)", "<releaseDate>r</releaseDate>"});
  EXPECT_STREQ(record.name, "");
  EXPECT_STREQ(record.releaseDate, "");
}

}  // namespace
