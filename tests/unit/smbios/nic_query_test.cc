// SPDX-License-Identifier: Apache-2.0
// The port number of a NIC, from two kinds of structures in turn.
#include "ortinv/oem_queries.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class NicPort : public LoadedTable {
 protected:
  // Asks for segment 0, bus 0x0B, device 2, function 1.
  static uint8_t port(Lines* lines = nullptr) {
    uint8_t number = 0xEE;
    const Lines logged = lines_of([&] { number = SmbGetNicPortNum(0, 0x0B, 0x11); });
    if (lines != nullptr) {
      *lines = logged;
    }
    return number;
  }
};

constexpr const char* kAsked =
    "6 smbios: SmbGetNicPortNum: for PCI segment [0x0] bus [0xb] devfunc [0x11]...\n";
constexpr const char* kUsing233 =
    "6 smbios: SmbGetNicPortNum: Using Type 233 record (NIC_INFO)...\n";
constexpr const char* kFound233 =
    "6 smbios: SmbGetNicPortNum: NIC FOUND in Type 233 record (NIC_INFO)...\n";
constexpr const char* kNotFound233 =
    "6 smbios: SmbGetNicPortNum: NIC NOT FOUND in Type 233 record (NIC_INFO)!\n";
constexpr const char* kUsing203 =
    "6 smbios: SmbGetNicPortNum: Using Type 203 record (DEVICE CORRELATION)...\n";
constexpr const char* kFound203 =
    "6 smbios: SmbGetNicPortNum: NIC FOUND in Type 203 record (DEVICE CORRELATION)...\n";

SmbiosStructure nic_info(uint16_t segment, uint8_t bus, uint8_t device_function, uint8_t port) {
  return SmbiosStructure(233, 0xE900, 41)
      .u16(4, segment)
      .u8(6, bus)
      .u8(7, device_function)
      .u8(40, port);
}

SmbiosStructure correlation(uint16_t segment, uint8_t bus, uint8_t device_function, uint8_t port) {
  return SmbiosStructure(203, 0xCB00, 40)
      .u16(36, segment)
      .u8(38, bus)
      .u8(39, device_function)
      .u8(25, port);
}

TEST_F(NicPort, ComesFromTheNicRecord) {
  load(SmbiosTable()
           .add(nic_info(1, 0x0B, 0x11, 9))
           .add(nic_info(0, 0x0C, 0x11, 8))
           .add(nic_info(0, 0x0B, 0x10, 7))
           .add(nic_info(0, 0x0B, 0x11, 2))
           .add(nic_info(0, 0x0B, 0x11, 6))
           .add(correlation(0, 0x0B, 0x11, 3)));
  Lines lines;
  EXPECT_EQ(port(&lines), 2);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kFound233}));
}

TEST_F(NicPort, ComesFromTheCorrelationWhenTheNicRecordHasNone) {
  load(SmbiosTable()
           .add(correlation(0, 0x0B, 0x11, 3))
           .add(nic_info(0, 0x0B, 0x11, 0))
           .add(nic_info(0, 0x0B, 0x11, 6)));
  Lines lines;
  EXPECT_EQ(port(&lines), 3);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kFound233, kNotFound233, kUsing203, kFound203}));
}

TEST_F(NicPort, ComesFromTheCorrelationWithoutNicRecord) {
  load(SmbiosTable()
           .add(correlation(1, 0x0B, 0x11, 9))
           .add(correlation(0, 0x0C, 0x11, 8))
           .add(correlation(0, 0x0B, 0x10, 7))
           .add(correlation(0, 0x0B, 0x11, 4)));
  Lines lines;
  EXPECT_EQ(port(&lines), 4);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kNotFound233, kUsing203, kFound203}));
}

TEST_F(NicPort, MayBeZeroInTheCorrelation) {
  load(SmbiosTable().add(correlation(0, 0x0B, 0x11, 0)).add(correlation(0, 0x0B, 0x11, 5)));
  Lines lines;
  EXPECT_EQ(port(&lines), 0);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kNotFound233, kUsing203, kFound203}));
}

TEST_F(NicPort, IsZeroForAnUnknownNic) {
  load(SmbiosTable().add(correlation(0, 0x0B, 0x12, 1)).add(nic_info(0, 0x0B, 0x12, 1)));
  Lines lines;
  EXPECT_EQ(port(&lines), 0);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kNotFound233, kUsing203}));
}

TEST_F(NicPort, IsZeroWithoutAnyCorrelation) {
  load(SmbiosTable().add(nic_info(0, 0x0B, 0x11, 2)));
  Lines lines;
  EXPECT_EQ(port(&lines), 0);
  EXPECT_EQ(lines, Lines({kAsked}));
}

TEST_F(NicPort, IsNotTakenFromCorrelationsWhenTheFirstIsShort) {
  load(SmbiosTable().add(SmbiosStructure(203, 0xCB00, 39)).add(correlation(0, 0x0B, 0x11, 3)));
  Lines lines;
  EXPECT_EQ(port(&lines), 0);
  EXPECT_EQ(lines, Lines({kAsked, kUsing233, kNotFound233}));
}

TEST_F(NicPort, ComesFromTheNicRecordEvenWhenTheFirstCorrelationIsShort) {
  load(SmbiosTable().add(SmbiosStructure(203, 0xCB00, 39)).add(nic_info(0, 0x0B, 0x11, 2)));
  EXPECT_EQ(port(), 2);
}

TEST_F(NicPort, DoesNotMatchASegmentAbove255) {
  load(SmbiosTable().add(correlation(0x0100, 0x0B, 0x11, 3)).add(nic_info(0x0100, 0x0B, 0x11, 2)));
  EXPECT_EQ(port(), 0);
}

TEST_F(NicPort, IsZeroWithoutTable) {
  EXPECT_EQ(port(), 0);
}

}  // namespace
