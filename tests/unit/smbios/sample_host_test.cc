// SPDX-License-Identifier: Apache-2.0
// The table that the sample host carries, through the library's own eyes.
#include "tests/support/smbios/sample_host.h"

#include <cstdlib>

#include "ortinv/oem_queries.h"
#include "ortinv/smbios_records.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class SampleHost : public LoadedTable {
 protected:
  void SetUp() override { load(sample_host_table()); }
};

TEST_F(SampleHost, HasRecordsOfEveryKind) {
  EXPECT_EQ(records_of<SmbBiosInfoRec>(0).size(), 1U);
  EXPECT_EQ(records_of<SmbSystemInfoRec>(1).size(), 1U);
  EXPECT_EQ(records_of<SmbSlotRec>(9).size(), 8U);
  EXPECT_EQ(records_of<SmbServerIdRec>(195).size(), 1U);
  EXPECT_EQ(records_of<SmbEnclosureRec>(204).size(), 1U);
  EXPECT_EQ(records_of<SmbGbxTableRec>(222).at(0).entryCount, 2);
}

TEST_F(SampleHost, AnswersForAnAdapterInASlot) {
  char* location = SmbGetPciLocation(0, 0x11, 0, 0);
  EXPECT_STREQ(location, "Slot 3");
  free(location);
  EXPECT_STREQ(SmbGetPartNumber(0, 0x11, 0, 0), "PN-1003-A");
  EXPECT_STREQ(SmbGetPciName(0, 0x11, 0, 0), "Dual-Port 25Gb Adapter");
  EXPECT_STREQ(SmbGetPciLinkedString(0, 0x11, 0, 0), "Adapter in slot 3");
}

TEST_F(SampleHost, AnswersForAnOnboardDevice) {
  EXPECT_STREQ(SmbGetPciName(0, 0x02, 0, 1), "Embedded NIC");
  EXPECT_STREQ(SmbGetPciLinkedString(0, 0x02, 0, 0), "Adapter on the board");
  EXPECT_EQ(SmbGetPciLinkedString(0, 0x02, 0, 1), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 0x01, 1, 0), nullptr);
}

TEST_F(SampleHost, AnswersByAddressForADeviceOfNeitherKind) {
  EXPECT_STREQ(SmbGetPartNumber(0, 0x60, 0, 0), "PN-3001-A");
}

TEST_F(SampleHost, AnswersForNicPorts) {
  EXPECT_EQ(SmbGetNicPortNum(0, 0x11, 0x01), 2);
  EXPECT_EQ(SmbGetNicPortNum(0, 0x02, 0x00), 1);
  EXPECT_EQ(SmbGetNicPortNum(0, 0x77, 0x00), 0);
}

TEST_F(SampleHost, AnswersForDrives) {
  EXPECT_STREQ(SmbGetHdLoc("SSD0000101"), "Bay 1");
  EXPECT_STREQ(SmbGetHdLoc("HDD0000202"), "Bay 4");
  EXPECT_STREQ(SmbGetHdString("HDD0000201"), "HDD 2.4 TB");
}

}  // namespace
