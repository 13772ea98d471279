// SPDX-License-Identifier: Apache-2.0
// The other support check: the BMC's function in the list of PCI devices.
#include "ortinv/pci_support_check.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/support/call_script.h"

namespace {

constexpr const char* kListDevices = "/sbin/localcli hardware pci list";

const std::string kOtherDevice =
    "0000:00:01.0\n"
    "   Address: 0000:00:01.0\n"
    "   Vendor ID: 0x8086\n"
    "   Device ID: 0x3307\n"
    "   SubVendor ID: 0x1590\n"
    "   SubDevice ID: 0x00e4\n"
    "   Device Class: 0x0604\n";

std::string device(const char* vendor, const char* device_id, const char* sub_vendor,
                   const char* sub_device) {
  return std::string("0000:01:00.2\n   Address: 0000:01:00.2\n   Vendor ID: ") + vendor +
         "\n   Device ID: " + device_id + "\n   SubVendor ID: " + sub_vendor +
         "\n   SubDevice ID: " + sub_device + "\n   Device Class: 0x0880\n";
}

class PciSupportCheck : public testing::Test {
 protected:
  int supported(const std::string& list, int32_t generation = 5) {
    script.popen(kListDevices).prints(list);
    script.pclose(kListDevices);
    return system_is_supported(generation);
  }

  CallScript script;
};

TEST_F(PciSupportCheck, FindsTheFunction) {
  EXPECT_EQ(supported(kOtherDevice + device("0x103c", "0x3307", "0x1590", "0x00e4")), 1);
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(PciSupportCheck, KnowsASecondSubDevice) {
  EXPECT_EQ(supported(device("0x103c", "0x3307", "0x1590", "0x027f")), 1);
}

TEST_F(PciSupportCheck, ReadsHexadecimalInEitherCase) {
  EXPECT_EQ(supported(device("0x103C", "0x3307", "0x1590", "0xE4")), 1);
}

struct OtherIds {
  const char* name;
  const char* vendor;
  const char* device_id;
  const char* sub_vendor;
  const char* sub_device;
};

class OtherFunction : public PciSupportCheck, public testing::WithParamInterface<OtherIds> {};

TEST_P(OtherFunction, IsNotIt) {
  const OtherIds& ids = GetParam();
  EXPECT_EQ(supported(device(ids.vendor, ids.device_id, ids.sub_vendor, ids.sub_device)), 0);
}

TEST_P(OtherFunction, DoesNotHideTheOneThatFollows) {
  const OtherIds& ids = GetParam();
  EXPECT_EQ(supported(device(ids.vendor, ids.device_id, ids.sub_vendor, ids.sub_device) +
                      device("0x103c", "0x3307", "0x1590", "0x00e4")),
            1);
}

INSTANTIATE_TEST_SUITE_P(
    Ids, OtherFunction,
    testing::Values(OtherIds{"Vendor", "0x103d", "0x3307", "0x1590", "0x00e4"},
                    OtherIds{"Device", "0x103c", "0x3306", "0x1590", "0x00e4"},
                    OtherIds{"SubVendor", "0x103c", "0x3307", "0x103c", "0x00e4"},
                    OtherIds{"SubDevice", "0x103c", "0x3307", "0x1590", "0x00e5"},
                    OtherIds{"NoHexadecimal", "103c", "0x3307", "0x1590", "0x00e4"},
                    OtherIds{"Garbage", "0x103c", "0x3307", "%n%n", "0x00e4"}),
    [](const auto& ids) { return ids.param.name; });

class OtherPciGeneration : public PciSupportCheck, public testing::WithParamInterface<int32_t> {};

TEST_P(OtherPciGeneration, IsNotAccepted) {
  EXPECT_EQ(supported(device("0x103c", "0x3307", "0x1590", "0x00e4"), GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(Generations, OtherPciGeneration, testing::Values(6, 4, 0, -5));

TEST_F(PciSupportCheck, ScansOnFromTheLineAfterTheOneThatDiffers) {
  // The vendor line in the place of a device line is read as the latter.
  EXPECT_EQ(supported("   Vendor ID: 0x103c\n" + device("0x103c", "0x3307", "0x1590", "0x00e4")),
            1);
  script.popen(kListDevices)
      .prints(
          "   Vendor ID: 0x103c\n"
          "   Vendor ID: 0x103c\n"
          "   Device ID: 0x3307\n"
          "   SubVendor ID: 0x1590\n"
          "   SubDevice ID: 0x00e4\n");
  script.pclose(kListDevices);
  EXPECT_EQ(system_is_supported(5), 0);
}

TEST_F(PciSupportCheck, WantsTheFourLinesInARow) {
  EXPECT_EQ(supported("   Vendor ID: 0x103c\n"
                      "   Device ID: 0x3307\n"
                      "\n"
                      "   SubVendor ID: 0x1590\n"
                      "   SubDevice ID: 0x00e4\n"),
            0);
}

TEST_F(PciSupportCheck, AnswersNoToAListThatEndsEarly) {
  EXPECT_EQ(supported("   Vendor ID: 0x103c\n"), 0);
}

TEST_F(PciSupportCheck, AnswersNoToAListThatEndsBeforeTheSubDevice) {
  EXPECT_EQ(supported("   Vendor ID: 0x103c\n   Device ID: 0x3307\n   SubVendor ID: 0x1590\n"), 0);
}

TEST_F(PciSupportCheck, AnswersNoToNoOutput) {
  EXPECT_EQ(supported(""), 0);
}

TEST_F(PciSupportCheck, ReadsALineLongerThanItsBufferInPieces) {
  EXPECT_EQ(
      supported(std::string(5000, 'x') + "\n" + device("0x103c", "0x3307", "0x1590", "0x00e4")), 1);
}

TEST_F(PciSupportCheck, ReportsACommandThatCannotBeRun) {
  script.popen(kListDevices).fails(EMFILE);
  EXPECT_EQ(system_is_supported(5), 0);
  EXPECT_EQ(script.logs(), Lines({"6 system_is_supported(): Error popen\n"}));
}

}  // namespace
