// SPDX-License-Identifier: Apache-2.0
// Lists of what the table knows: PCI devices and drives.
#include <cstdlib>
#include <string>
#include <tuple>

#include "ortinv/oem_queries.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class PciList : public LoadedTable {
 protected:
  // Segment, bus, device, function.
  using Addresses = std::vector<std::tuple<int, int, int, int>>;

  static Addresses listed() {
    SmbPciAddress* list = nullptr;
    uint32_t count = 77;
    EXPECT_EQ(SmbListPciDevices(&list, &count), 0);
    EXPECT_EQ(list == nullptr, count == 0);
    Addresses addresses;
    for (uint32_t index = 0; list != nullptr && index < count; ++index) {
      const SmbPciAddress& address = list[index];
      addresses.emplace_back(address.segment, address.bus, address.device, address.function);
    }
    free(list);
    return addresses;
  }
};

class DriveList : public LoadedTable {
 protected:
  struct Drive {
    std::string serial;
    std::string location;
    std::string text;
    int handle;
    bool operator==(const Drive&) const = default;
  };

  static std::string or_null(const char* text) { return text == nullptr ? "(null)" : text; }

  static std::vector<Drive> listed() {
    SmbDriveInfo* list = nullptr;
    uint32_t count = 77;
    EXPECT_EQ(SmbListDrives(&list, &count), 0);
    EXPECT_EQ(list == nullptr, count == 0);
    std::vector<Drive> drives;
    for (uint32_t index = 0; list != nullptr && index < count; ++index) {
      drives.push_back({list[index].serial, or_null(list[index].location),
                        or_null(list[index].text), list[index].handle});
    }
    free(list);
    return drives;
  }
};

SmbiosStructure slot(uint16_t segment, uint8_t bus, uint8_t device_function, uint8_t length = 17) {
  SmbiosStructure structure(9, 0x0900, length);
  structure.u16(13, segment).u8(15, bus);
  return length > 16 ? structure.u8(16, device_function) : structure;
}

SmbiosStructure onboard(uint16_t segment, uint8_t bus, uint8_t device_function) {
  return SmbiosStructure(41, 0x2900, 11).u16(7, segment).u8(9, bus).u8(10, device_function);
}

SmbiosStructure correlation(uint16_t segment, uint8_t bus, uint8_t device_function) {
  return SmbiosStructure(203, 0xCB00, 40).u16(36, segment).u8(38, bus).u8(39, device_function);
}

SmbiosStructure nic(uint16_t segment, uint8_t bus, uint8_t device_function) {
  return SmbiosStructure(233, 0xE900, 8).u16(4, segment).u8(6, bus).u8(7, device_function);
}

SmbiosStructure drive(uint16_t handle, std::string_view serial, uint8_t length = 43) {
  SmbiosStructure structure(242, handle, length);
  if (length > 39) {
    structure.string(39, serial);
  }
  if (length > 40) {
    structure.string(40, "text");
  }
  return length > 42 ? structure.string(42, "location") : structure.string("location");
}

TEST_F(PciList, HasTheAddressesOfFourTypesInAscendingOrder) {
  load(SmbiosTable()
           .add(nic(1, 0x02, 0xFF))
           .add(correlation(0, 0x10, 0x08))
           .add(onboard(0, 0x02, 0x0A))
           .add(SmbiosStructure(242, 1, 43))
           .add(slot(0xFFFF, 0x00, 0x00))
           .add(slot(0, 0x02, 0x09)));
  EXPECT_EQ(listed(), Addresses({{0, 0x02, 1, 1},
                                 {0, 0x02, 1, 2},
                                 {0, 0x10, 1, 0},
                                 {1, 0x02, 31, 7},
                                 {0xFFFF, 0x00, 0, 0}}));
}

TEST_F(PciList, HasEachAddressOnce) {
  load(SmbiosTable()
           .add(slot(0, 1, 0))
           .add(correlation(0, 1, 0))
           .add(nic(0, 1, 1))
           .add(nic(0, 1, 0))
           .add(slot(0, 1, 0)));
  EXPECT_EQ(listed(), Addresses({{0, 1, 0, 0}, {0, 1, 0, 1}}));
}

TEST_F(PciList, LeavesOutEmptySlotsAndStructuresWithoutAddress) {
  load(SmbiosTable()
           .add(slot(0, 0xFF, 0))
           .add(correlation(0, 0xFF, 0))
           .add(slot(0, 1, 0, 16))
           .add(SmbiosStructure(41, 1, 10).u8(9, 2))
           .add(SmbiosStructure(203, 2, 39).u8(38, 3))
           .add(SmbiosStructure(233, 3, 7).u8(6, 4)));
  EXPECT_EQ(listed(), Addresses());
}

TEST_F(PciList, HoldsAWholeTableOfDevices) {
  SmbiosTable table;
  Addresses expected;
  for (int number = 0; number < 6000; ++number) {
    const auto bus = static_cast<uint8_t>(number / 256);
    const auto device_function = static_cast<uint8_t>(number % 256);
    table.add(nic(0, bus, device_function));
    expected.emplace_back(0, bus, device_function >> 3, device_function & 7);
  }
  load(table);
  EXPECT_EQ(listed(), expected);
}

TEST_F(PciList, IsRefusedWithoutTablePlaceOrMemory) {
  SmbPciAddress address = {};
  SmbPciAddress* list = &address;
  uint32_t count = 77;
  EXPECT_EQ(SmbListPciDevices(&list, &count), -1);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0U);
  load(SmbiosTable().add(slot(0, 1, 0)));
  EXPECT_EQ(SmbListPciDevices(nullptr, &count), -1);
  EXPECT_EQ(SmbListPciDevices(&list, nullptr), -1);
  list = &address;
  count = 77;
  {
    CallScript script;
    script.fail_calloc(1);
    EXPECT_EQ(SmbListPciDevices(&list, &count), -1);
  }
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(DriveList, HasEveryDriveInTableOrder) {
  load(SmbiosTable()
           .add(drive(0xF202, "  SN 2  "))
           .add(SmbiosStructure(1, 1, 27))
           .add(drive(0xF201, "SN1  rest"))
           .add(drive(0xF203, "  SN 2  ")));
  EXPECT_EQ(listed(), std::vector<Drive>({{"SN 2", "location", "text", 0xF202},
                                          {"SN1", "location", "text", 0xF201},
                                          {"SN 2", "location", "text", 0xF203}}));
}

TEST_F(DriveList, HasTextsFromTheLengthsOnThatHoldThem) {
  load(SmbiosTable()
           .add(drive(1, "SN1", 39))
           .add(drive(2, "SN2", 40))
           .add(drive(3, "SN3", 41))
           .add(drive(4, "SN4", 42))
           .add(drive(5, "SN5", 43)));
  EXPECT_EQ(listed(), std::vector<Drive>({{"", "(null)", "(null)", 1},
                                          {"SN2", "(null)", "(null)", 2},
                                          {"SN3", "(null)", "(null)", 3},
                                          {"SN4", "(null)", "text", 4},
                                          {"SN5", "location", "text", 5}}));
}

TEST_F(DriveList, HasNoTextForANumberWithoutString) {
  load(SmbiosTable().add(SmbiosStructure(242, 1, 43)).add(drive(2, "SN").u8(42, 9).u8(40, 0)));
  EXPECT_EQ(listed(),
            std::vector<Drive>({{"", "(null)", "(null)", 1}, {"SN", "(null)", "(null)", 2}}));
}

TEST_F(DriveList, HasTheFirst63CharactersOfALongSerial) {
  load(SmbiosTable().add(drive(1, std::string(63, 'x') + "yz")));
  EXPECT_EQ(listed().at(0).serial, std::string(63, 'x'));
}

TEST_F(DriveList, HasItsTextsInTheTable) {
  load(SmbiosTable().add(drive(1, "SN")));
  SmbDriveInfo* list = nullptr;
  uint32_t count = 0;
  ASSERT_EQ(SmbListDrives(&list, &count), 0);
  EXPECT_EQ(list[0].text, SmBiosGetString(structure_of(242), 2));
  EXPECT_EQ(list[0].location, SmBiosGetString(structure_of(242), 3));
  free(list);
}

TEST_F(DriveList, IsEmptyWithoutDrives) {
  load(SmbiosTable().add(slot(0, 1, 0)));
  EXPECT_EQ(listed(), std::vector<Drive>());
}

TEST_F(DriveList, IsRefusedWithoutTablePlaceOrMemory) {
  SmbDriveInfo drive_info = {};
  SmbDriveInfo* list = &drive_info;
  uint32_t count = 77;
  EXPECT_EQ(SmbListDrives(&list, &count), -1);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0U);
  load(SmbiosTable().add(drive(1, "SN")));
  EXPECT_EQ(SmbListDrives(nullptr, &count), -1);
  EXPECT_EQ(SmbListDrives(&list, nullptr), -1);
  list = &drive_info;
  count = 77;
  {
    CallScript script;
    script.fail_calloc(1);
    EXPECT_EQ(SmbListDrives(&list, &count), -1);
  }
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0U);
}

}  // namespace
