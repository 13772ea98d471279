// SPDX-License-Identifier: Apache-2.0
// Location, part number, name and linked text of a PCI function.
#include <cstdlib>
#include <string>

#include "ortinv/oem_queries.h"
#include "tests/unit/smbios/loaded_table.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names that --wrap gives
extern "C" {
char* __real_strdup(const char* text);
char* __real___strdup(const char* text);
char* __wrap_strdup(const char* text);
char* __wrap___strdup(const char* text);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

bool g_strdup_fails = false;

}  // namespace

char* __wrap_strdup(const char* text) {
  return g_strdup_fails ? nullptr : __real_strdup(text);
}
char* __wrap___strdup(const char* text) {
  return g_strdup_fails ? nullptr : __real___strdup(text);
}

namespace {

class PciQueries : public LoadedTable {
 protected:
  static std::string location(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
    char* text = SmbGetPciLocation(segment, bus, device, function);
    std::string copy = text == nullptr ? "(null)" : text;
    free(text);
    return copy;
  }
};

class PciLocation : public PciQueries {};
class PartNumber : public PciQueries {};
class PciName : public PciQueries {};
class LinkedString : public PciQueries {};

SmbiosStructure pci_slot(uint16_t handle, uint16_t segment, uint8_t bus,
                         uint8_t device_function = 0) {
  return SmbiosStructure(9, handle, 17).u16(13, segment).u8(15, bus).u8(16, device_function);
}

SmbiosStructure onboard(uint16_t handle, uint16_t segment, uint8_t bus, uint8_t device_function) {
  return SmbiosStructure(41, handle, 11).u16(7, segment).u8(9, bus).u8(10, device_function);
}

// Texts are "name X", "location X" and "part X".
SmbiosStructure correlation(uint16_t handle, uint16_t device_handle, const std::string& text,
                            uint8_t length = 40) {
  SmbiosStructure structure(203, handle, length);
  structure.u16(4, device_handle);
  structure.string(30, "name " + text).string(31, "location " + text);
  return length > 34 ? structure.string(34, "part " + text) : structure;
}

SmbiosStructure correlation_at(uint16_t segment, uint8_t bus, uint8_t device_function,
                               const std::string& text) {
  return correlation(0x2000, 0, text).u16(36, segment).u8(38, bus).u8(39, device_function);
}

SmbiosStructure linked(uint16_t correlation_handle, std::string_view text) {
  return SmbiosStructure(240, 0xF000, 11).u16(4, correlation_handle).string(10, text);
}

TEST_F(PciQueries, FindNothingWithoutTable) {
  EXPECT_EQ(SmbGetPciLocation(0, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPartNumber(0, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLinkedString(0, 1, 0, 0), nullptr);
}

TEST_F(PciQueries, FindASlotBySegmentAndBus) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1))
           .add(pci_slot(0x0902, 1, 1))
           .add(pci_slot(0x0903, 0x0100, 1))
           .add(correlation(0x2001, 0x0901, "A"))
           .add(correlation(0x2002, 0x0902, "B"))
           .add(correlation(0x2003, 0x0903, "C")));
  EXPECT_STREQ(SmbGetPciName(0, 1, 0, 0), "name A");
  EXPECT_STREQ(SmbGetPciName(1, 1, 0, 0), "name B");
  EXPECT_STREQ(SmbGetPciName(0x0100, 1, 0, 0), "name C");
  EXPECT_EQ(SmbGetPciName(0x10000, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 0x101, 0, 0), nullptr);
}

TEST_F(PciQueries, TakeTheFirstSlotOnABusWhateverTheDevice) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1, 0x08))
           .add(pci_slot(0x0902, 0, 1, 0x10))
           .add(correlation(0x2002, 0x0902, "B"))
           .add(correlation(0x2001, 0x0901, "A")));
  EXPECT_STREQ(SmbGetPartNumber(0, 1, 1, 0), "part A");
  EXPECT_STREQ(SmbGetPartNumber(0, 1, 2, 0), "part A");
  EXPECT_STREQ(SmbGetPciName(0, 1, 2, 0), "name A");
  EXPECT_EQ(location(0, 1, 2, 0), "location A");
}

TEST_F(PciQueries, FindAnOnboardDeviceByItsWholeAddress) {
  load(SmbiosTable()
           .add(onboard(0x2900, 0, 2, 0x18))
           .add(onboard(0x2901, 0, 2, 0x19))
           .add(onboard(0x2902, 3, 2, 0x19))
           .add(correlation(0x2000, 0x2900, "A"))
           .add(correlation(0x2001, 0x2901, "B"))
           .add(correlation(0x2002, 0x2902, "C")));
  EXPECT_STREQ(SmbGetPciName(0, 2, 3, 0), "name A");
  EXPECT_STREQ(SmbGetPciName(0, 2, 3, 1), "name B");
  EXPECT_STREQ(SmbGetPciName(3, 2, 3, 1), "name C");
  EXPECT_EQ(SmbGetPciName(0, 2, 3, 2), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 2, 4, 0), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 2, 3 + 32, 0), nullptr);
  EXPECT_EQ(SmbGetPciName(0, 2, 3, 8), nullptr);
}

TEST_F(PciQueries, PreferASlotToAnOnboardDevice) {
  load(SmbiosTable()
           .add(onboard(0x2900, 0, 1, 0))
           .add(pci_slot(0x0901, 0, 1))
           .add(correlation(0x2000, 0x2900, "onboard"))
           .add(correlation(0x2001, 0x0901, "slot")));
  EXPECT_STREQ(SmbGetPciName(0, 1, 0, 0), "name slot");
}

TEST_F(PciLocation, IsACopyThatTheCallerOwns) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2001, 0x0901, "A")));
  char* text = SmbGetPciLocation(0, 1, 0, 0);
  ASSERT_STREQ(text, "location A");
  text[0] = 'L';
  free(text);
  EXPECT_EQ(location(0, 1, 0, 0), "location A");
}

TEST_F(PciLocation, LogsTheAddressOfTheCopy) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2001, 0x0901, "A")));
  char* text = nullptr;
  const Lines lines = lines_of([&] { text = SmbGetPciLocation(0, 1, 0, 0); });
  const int address = static_cast<int>(reinterpret_cast<intptr_t>(text));
  EXPECT_EQ(lines, Lines({"6 smbios_vmw: SmbGetPciLocation : pci location from smbios is [" +
                          std::to_string(address) + "].\n"}));
  free(text);
}

TEST_F(PciLocation, IsNullWithoutMemoryAndLogsNothing) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2001, 0x0901, "A")));
  const char* text = "not null";
  const Lines lines = lines_of([&] {
    g_strdup_fails = true;
    text = SmbGetPciLocation(0, 1, 0, 0);
    g_strdup_fails = false;
  });
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(lines, Lines());
}

TEST_F(PciLocation, IsNullWithoutDeviceHandleOrCorrelation) {
  load(SmbiosTable()
           .add(pci_slot(0x0000, 0, 1))
           .add(pci_slot(0x0902, 0, 2))
           .add(correlation(0x2001, 0x0000, "zero"))
           .add(correlation_at(0, 3, 0, "by address")));
  EXPECT_EQ(SmbGetPciLocation(0, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLocation(0, 2, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLocation(0, 3, 0, 0), nullptr);
}

TEST_F(PciLocation, IsEmptyForStringNumberZero) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(SmbiosStructure(203, 1, 40).u16(4, 0x0901)));
  EXPECT_EQ(location(0, 1, 0, 0), "");
}

TEST_F(PciLocation, DoesNotCheckTheCorrelationsLength) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2001, 0x0901, "A", 32)));
  EXPECT_EQ(location(0, 1, 0, 0), "location A");
}

TEST_F(PartNumber, ComesFromTheFirstCorrelationWithTheHandle) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1))
           .add(correlation(0x2000, 0x0900, "other"))
           .add(correlation(0x2001, 0x0901, "A", 36))
           .add(correlation(0x2002, 0x0901, "B")));
  const char* part = nullptr;
  EXPECT_EQ(lines_of([&] { part = SmbGetPartNumber(0, 1, 0, 0); }), Lines());
  EXPECT_STREQ(part, "part A");
}

TEST_F(PartNumber, IsNullBehindACorrelationBelowLength36) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1))
           .add(correlation(0x2000, 0x0900, "short", 35))
           .add(correlation(0x2001, 0x0901, "A")));
  EXPECT_EQ(SmbGetPartNumber(0, 1, 0, 0), nullptr);
  EXPECT_STREQ(SmbGetPciName(0, 1, 0, 0), "name A");
}

TEST_F(PartNumber, IsNullForAMatchingCorrelationBelowLength36) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2000, 0x0901, "short", 35)));
  EXPECT_EQ(SmbGetPartNumber(0, 1, 0, 0), nullptr);
}

TEST_F(PartNumber, StopsAtTheMatchBeforeAShortCorrelation) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1))
           .add(correlation(0x2001, 0x0901, "A"))
           .add(correlation(0x2000, 0x0900, "short", 35)));
  EXPECT_STREQ(SmbGetPartNumber(0, 1, 0, 0), "part A");
}

TEST_F(PartNumber, DoesNotFallBackWhenTheSlotIsNotCorrelated) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation_at(0, 1, 0, "by address")));
  const Lines lines = lines_of([] {
    EXPECT_EQ(SmbGetPartNumber(0, 1, 0, 0), nullptr);
    EXPECT_EQ(SmbGetPciName(0, 1, 0, 0), nullptr);
  });
  EXPECT_EQ(lines, Lines());
}

TEST_F(PartNumber, ComesFromTheAddressWithoutDeviceRecord) {
  load(SmbiosTable()
           .add(correlation_at(0, 5, 0x08, "A"))
           .add(correlation_at(2, 5, 0x0A, "B"))
           .add(correlation_at(2, 5, 0x0A, "C")));
  const char* part = nullptr;
  EXPECT_EQ(lines_of([&] { part = SmbGetPartNumber(2, 5, 1, 2); }),
            Lines({"6 smbios: SmbGetPartNumber: Type 203 record length is [40].\n",
                   "6 smbios: SmbGetPartNumber: Using Type 203 record (DEVICE CORRELATION) to find "
                   "Part Number...\n"}));
  EXPECT_STREQ(part, "part B");
}

TEST_F(PartNumber, ComesFromTheAddressWhenTheHandleIsZero) {
  load(SmbiosTable()
           .add(pci_slot(0x0000, 0, 5))
           .add(correlation(0x2000, 0, "zero"))
           .add(correlation_at(0, 5, 0x08, "A")));
  EXPECT_STREQ(SmbGetPartNumber(0, 5, 1, 0), "part A");
  EXPECT_STREQ(SmbGetPciName(0, 5, 1, 0), "name A");
}

TEST_F(PartNumber, IsNullForAnAddressThatIsNotThere) {
  load(SmbiosTable().add(correlation_at(2, 5, 0x0A, "A")));
  EXPECT_EQ(SmbGetPartNumber(2, 5, 1, 3), nullptr);
  EXPECT_EQ(SmbGetPartNumber(2, 5, 2, 2), nullptr);
  EXPECT_EQ(SmbGetPartNumber(2, 6, 1, 2), nullptr);
  EXPECT_EQ(SmbGetPartNumber(1, 5, 1, 2), nullptr);
}

// Segment and bus are compared whole; device and function are packed and cut.
TEST_F(PartNumber, ComparesAddressesBeyondTheirFieldsAsTheyAre) {
  load(SmbiosTable().add(correlation_at(2, 5, 0x0A, "A")));
  EXPECT_EQ(SmbGetPartNumber(0x10002, 5, 1, 2), nullptr);
  EXPECT_EQ(SmbGetPartNumber(2, 0x105, 1, 2), nullptr);
  EXPECT_STREQ(SmbGetPartNumber(2, 5, 1 + 32, 2 + 8), "part A");
}

// Function 10 has bit 3, the lowest of the device, and must not reach into it.
TEST_F(PartNumber, ComparesOnlyThreeBitsOfTheFunctionAtAnAddress) {
  load(SmbiosTable().add(correlation_at(2, 5, 0x1A, "3:2")).add(correlation_at(2, 5, 0x12, "2:2")));
  EXPECT_STREQ(SmbGetPartNumber(2, 5, 2, 2 + 8), "part 2:2");
  EXPECT_STREQ(SmbGetPciName(2, 5, 2, 2 + 8), "name 2:2");
}

TEST_F(PartNumber, IsNotImplementedWhenTheFirstCorrelationIsShort) {
  load(SmbiosTable()
           .add(correlation(0x2000, 0x0900, "short", 39))
           .add(correlation_at(2, 5, 0x0A, "A")));
  const Lines lines = lines_of([] { EXPECT_EQ(SmbGetPartNumber(2, 5, 1, 2), nullptr); });
  EXPECT_EQ(lines, Lines({"6 smbios: SmbGetPartNumber: Type 203 record length is [39].\n",
                          "6 smbios: SmbGetPartNumber: PCI Info not yet implemented in Type 203.  "
                          "Return NULL for Part Number.\n"}));
}

TEST_F(PartNumber, IsNullWithoutCorrelations) {
  load(SmbiosTable().add(SmbiosStructure(1, 1, 27)));
  const Lines lines = lines_of([] {
    EXPECT_EQ(SmbGetPartNumber(0, 1, 0, 0), nullptr);
    EXPECT_EQ(SmbGetPciName(0, 1, 0, 0), nullptr);
  });
  EXPECT_EQ(lines, Lines());
}

// Only the first correlation's length is tested; a later one's address may lie
// in its strings, and behind the block it is zero.
TEST_F(PartNumber, ReadsTheAddressOfALaterShortCorrelation) {
  const SmbiosTable table =
      SmbiosTable().add(correlation_at(2, 5, 0x0A, "A")).add_raw({203, 40, 0x01, 0x20});
  ASSERT_EQ(init_from(image_at_block_end(table)), 0);
  EXPECT_STREQ(SmbGetPartNumber(2, 5, 1, 2), "part A");
  EXPECT_STREQ(SmbGetPartNumber(0, 0, 0, 0), "");
}

TEST_F(PciName, ComesFromTheAddressWithoutDeviceRecord) {
  load(SmbiosTable().add(correlation_at(2, 5, 0x0A, "A")));
  const char* name = nullptr;
  EXPECT_EQ(lines_of([&] { name = SmbGetPciName(2, 5, 1, 2); }),
            Lines({"6 smbios: SmbGetPciName: Using Type 203 record (DEVICE CORRELATION) to find "
                   "PCI name...\n"}));
  EXPECT_STREQ(name, "name A");
}

TEST_F(PciName, IsNotImplementedWhenTheFirstCorrelationIsShort) {
  load(SmbiosTable()
           .add(correlation(0x2000, 0x0900, "short", 39))
           .add(correlation_at(2, 5, 0x0A, "A")));
  const Lines lines = lines_of([] { EXPECT_EQ(SmbGetPciName(2, 5, 1, 2), nullptr); });
  EXPECT_EQ(lines, Lines({"6 smbios: SmbGetPciName: PCI Info not yet implemented in Type 203.  "
                          "Return NULL for PCI name.\n"}));
}

TEST_F(PciName, HasNoLengthTestForACorrelatedDevice) {
  load(SmbiosTable().add(pci_slot(0x0901, 0, 1)).add(correlation(0x2000, 0x0901, "A", 32)));
  EXPECT_STREQ(SmbGetPciName(0, 1, 0, 0), "name A");
}

TEST_F(LinkedString, ComesFromTheRecordLinkedToTheCorrelation) {
  load(SmbiosTable()
           .add(pci_slot(0x0901, 0, 1))
           .add(linked(0x2002, "other"))
           .add(linked(0x2001, "text"))
           .add(linked(0x2001, "second"))
           .add(correlation(0x2002, 0x0902, "B"))
           .add(correlation(0x2001, 0x0901, "A")));
  const char* text = nullptr;
  EXPECT_EQ(lines_of([&] { text = SmbGetPciLinkedString(0, 1, 0, 0); }), Lines());
  EXPECT_STREQ(text, "text");
}

TEST_F(LinkedString, MayHangOnALaterCorrelationOfTheDevice) {
  load(SmbiosTable()
           .add(onboard(0x2900, 0, 2, 0x19))
           .add(correlation(0x2001, 0x2900, "A"))
           .add(correlation(0x2002, 0x2900, "B"))
           .add(linked(0x2002, "of B"))
           .add(linked(0x2003, "of C")));
  EXPECT_STREQ(SmbGetPciLinkedString(0, 2, 3, 1), "of B");
}

TEST_F(LinkedString, IsNullWithoutDeviceHandleCorrelationOrLink) {
  load(SmbiosTable()
           .add(pci_slot(0x0000, 0, 1))
           .add(pci_slot(0x0902, 0, 2))
           .add(pci_slot(0x0903, 0, 3))
           .add(correlation(0x2000, 0x0000, "zero"))
           .add(correlation(0x2003, 0x0903, "unlinked"))
           .add(linked(0x2000, "of zero")));
  EXPECT_EQ(SmbGetPciLinkedString(0, 1, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLinkedString(0, 2, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLinkedString(0, 3, 0, 0), nullptr);
  EXPECT_EQ(SmbGetPciLinkedString(0, 4, 0, 0), nullptr);
}

}  // namespace
