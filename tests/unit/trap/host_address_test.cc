// SPDX-License-Identifier: Apache-2.0
// The address of vmk0 in the output of the host's command line tool.
#include "trap/host_address.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "log/debug_flags.h"
#include "tests/support/call_script.h"

namespace {

constexpr const char* kCommand = "localcli network ip interface ipv4 get";
const std::string kTitle =
    "Name  IPv4 Address  IPv4 Netmask   IPv4 Broadcast  Address Type\n"
    "----  ------------  -------------  --------------  ------------\n";

class HostAddress : public testing::Test {
 protected:
  void SetUp() override {
    g_daemon_debug_flag = 1;
    host_ipaddress.fill('x');
  }
  void TearDown() override {
    g_daemon_debug_flag = 0;
    host_ipaddress.fill('\0');
  }

  std::string found_in(const std::string& output) {
    script.popen(kCommand).prints(output);
    script.pclose(kCommand);
    get_host_ipaddress();
    EXPECT_EQ(host_ipaddress.back(), '\0');
    return host_ipaddress.data();
  }

  CallScript script;
};

TEST_F(HostAddress, IsTheSecondWordOfTheLineOfVmk0) {
  EXPECT_EQ(found_in(kTitle + "vmk0  192.0.2.10  255.255.255.0  192.0.2.255  STATIC\n"),
            "192.0.2.10");
  EXPECT_EQ(script.logs(),
            Lines({"6 get_host_ipaddress(): Found vmk0! IPaddress is [192.0.2.10]\n"}));
}

TEST_F(HostAddress, IsNotThatOfAnInterfaceBefore) {
  EXPECT_EQ(found_in(kTitle + "vmk1  198.51.100.1  255.255.255.0  198.51.100.255  DHCP\n"
                              "vmk0  192.0.2.10    255.255.255.0  192.0.2.255     STATIC\n"
                              "vmk0  192.0.2.11    255.255.255.0  192.0.2.255     STATIC\n"),
            "192.0.2.10");
}

TEST_F(HostAddress, NameNeedOnlyHoldVmk0) {
  EXPECT_EQ(found_in(kTitle + "xvmk01  192.0.2.10\n"), "192.0.2.10");
}

TEST_F(HostAddress, NameMeansTheFirstWordOnly) {
  EXPECT_EQ(found_in(kTitle + "vmk1 192.0.2.10 vmk0 vmk0 vmk0\n"), "");
}

TEST_F(HostAddress, WordsMayBeSeparatedByAnyBlanks) {
  EXPECT_EQ(found_in(kTitle + "\t vmk0 \t 192.0.2.10\r\n"), "192.0.2.10");
}

TEST_F(HostAddress, LineWithoutAnAddressKeepsTheOneBefore) {
  EXPECT_EQ(found_in(kTitle + "vmk1 198.51.100.1 255.0.0.0\nvmk0\n"), "198.51.100.1");
}

TEST_F(HostAddress, IsEmptyWhenTheOnlyLineHasNoAddress) {
  EXPECT_EQ(found_in(kTitle + "vmk0\n"), "");
}

TEST_F(HostAddress, IsNotFoundInTheTwoTitleLines) {
  EXPECT_EQ(found_in("vmk0 192.0.2.1\nvmk0 192.0.2.2\nvmk1 192.0.2.3\n"), "");
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(HostAddress, SkipsEmptyLines) {
  EXPECT_EQ(found_in(kTitle + "\n  \nvmk0 192.0.2.10\n"), "192.0.2.10");
}

TEST_F(HostAddress, NeedsNoLineEnd) {
  EXPECT_EQ(found_in(kTitle + "vmk0 192.0.2.10"), "192.0.2.10");
}

TEST_F(HostAddress, IsEmptyWithoutOutput) {
  EXPECT_EQ(found_in(""), "");
}

TEST_F(HostAddress, IsEmptyAfterTheTitleAlone) {
  EXPECT_EQ(found_in("Name\n"), "");
}

TEST_F(HostAddress, IsEmptyWhenTheCommandCannotBeRun) {
  script.popen(kCommand).fails(EMFILE);
  get_host_ipaddress();
  EXPECT_STREQ(host_ipaddress.data(), "");
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(HostAddress, IsCutTo31Characters) {
  EXPECT_EQ(found_in(kTitle + "vmk0 " + std::string(500, '1') + "\n"), std::string(31, '1'));
}

TEST_F(HostAddress, KeepsPercentSigns) {
  EXPECT_EQ(found_in(kTitle + "vmk0 %n%s%99999d\n"), "%n%s%99999d");
}

TEST_F(HostAddress, SurvivesLongLinesAndWords) {
  EXPECT_EQ(found_in(kTitle + std::string(3000, 'a') + " " + std::string(3000, 'b') +
                     "\nvmk0 192.0.2.10\n"),
            "192.0.2.10");
}

TEST_F(HostAddress, IsClearedBeforeEverySearch) {
  EXPECT_EQ(found_in(kTitle + "vmk0 192.0.2.100\n"), "192.0.2.100");
  EXPECT_EQ(found_in(kTitle + "vmk1 192.0.2.1\n"), "");
  EXPECT_EQ(host_ipaddress, (std::array<char, 32>{}));
}

}  // namespace
