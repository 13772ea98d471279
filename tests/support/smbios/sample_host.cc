// SPDX-License-Identifier: Apache-2.0
#include "tests/support/smbios/sample_host.h"

#include <array>

namespace {

SmbiosStructure bios() {
  return SmbiosStructure(0, 0x0000, 24)
      .string(4, "Example Firmware Works")
      .string(5, "EX1 v2.40")
      .string(8, "03/14/2024")
      .u16(6, 0xF000)
      .u8(9, 0x7F)
      .bytes(10,
             {0x80, 0x98, 0xAB, 0x7B, 0x00, 0x00, 0x00, 0x00, 0x03, 0x0D, 0x02, 0x28, 0x01, 0x0A});
}

SmbiosStructure system_information() {
  return SmbiosStructure(1, 0x0100, 27)
      .string(4, "Example Servers")
      .string(5, "Server 2200")
      .string(6, "Rev C")
      .string(7, "EX24110042")
      .bytes(8, {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x46, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD,
                 0xEE, 0xFF})
      .u8(24, 6)
      .string(25, "SKU-2200-8")
      .string(26, "Sample Servers");
}

struct Slot {
  uint16_t number;
  const char* designation;
  uint8_t type;
  uint8_t data_width;
  uint8_t usage;
  uint8_t length;
  uint8_t bus;
};

constexpr uint8_t kAvailable = 3;
constexpr uint8_t kInUse = 4;
constexpr std::array<Slot, 8> kSlots = {{
    {1, "PCI-E Slot 1", 0xB5, 0x0B, kAvailable, 4, 0x0B},
    {2, "PCI-E Slot 2", 0xB5, 0x0B, kAvailable, 4, 0x0E},
    {3, "PCI-E Slot 3", 0xB5, 0x0B, kInUse, 4, 0x11},
    {4, "PCI-E Slot 4", 0xB5, 0x0B, kInUse, 3, 0x14},
    {5, "PCI-E Slot 5", 0xB6, 0x0D, kAvailable, 4, 0x83},
    {6, "PCI-E Slot 6", 0xB6, 0x0D, kAvailable, 4, 0x86},
    {7, "PCI-E Slot 7", 0xB4, 0x0A, kAvailable, 3, 0x89},
    {8, "PCI-E Slot 8", 0xB4, 0x0A, kAvailable, 3, 0x8C},
}};

SmbiosStructure slot(const Slot& slot) {
  return SmbiosStructure(9, static_cast<uint16_t>(0x0900 + slot.number), 17)
      .string(4, slot.designation)
      .u8(5, slot.type)
      .u8(6, slot.data_width)
      .u8(7, slot.usage)
      .u8(8, slot.length)
      .u16(9, slot.number)
      .u8(11, 0x0C)
      .u8(12, 0x01)
      .u8(15, slot.bus);
}

SmbiosStructure onboard(uint16_t handle, std::string_view designation, uint8_t type,
                        uint8_t instance, uint8_t bus, uint8_t device_function) {
  return SmbiosStructure(41, handle, 11)
      .string(4, designation)
      .u8(5, static_cast<uint8_t>(0x80 | type))
      .u8(6, instance)
      .u8(9, bus)
      .u8(10, device_function);
}

// The correlation of a device with what the maker knows about it.
SmbiosStructure correlation(uint16_t handle, uint16_t device_handle, std::string_view name,
                            std::string_view location, std::string_view part_number, uint8_t bus,
                            uint8_t device_function, uint8_t nic_port = 0) {
  return SmbiosStructure(203, handle, 40)
      .u16(4, device_handle)
      .u8(25, nic_port)
      .string(30, name)
      .string(31, location)
      .string(34, part_number)
      .u8(38, bus)
      .u8(39, device_function);
}

SmbiosStructure nic_info(uint16_t handle, uint8_t bus, uint8_t device_function, uint8_t port) {
  return SmbiosStructure(233, handle, 41).u8(6, bus).u8(7, device_function).u8(40, port);
}

SmbiosStructure linked_text(uint16_t handle, uint16_t correlation_handle, std::string_view text) {
  return SmbiosStructure(240, handle, 11).u16(4, correlation_handle).string(10, text);
}

SmbiosStructure drive(uint16_t handle, std::string_view serial, std::string_view text,
                      std::string_view location) {
  return SmbiosStructure(242, handle, 43).string(39, serial).string(40, text).string(42, location);
}

SmbiosStructure enclosure() {
  return SmbiosStructure(204, 0xCC00, 11)
      .string(4, "Rack 12")
      .string(5, "Enclosure A")
      .string(6, "Blade Enclosure 16")
      .string(7, "07")
      .u8(8, 16)
      .u8(9, 11)
      .string(10, "ENC0004711");
}

// Two entries: ports 1 and 2 of mezzanine 1, and an embedded device.
SmbiosStructure connector_table() {
  return SmbiosStructure(222, 0xDE00, 38)
      .u16(4, 1)
      .bytes(6, {0x11, 0x00, 0x12, 0x00})
      .bytes(22, {0xF1, 0x83});
}

}  // namespace

SmbiosTable sample_host_table() {
  SmbiosTable table;
  table.add(bios()).add(system_information());
  for (const Slot& entry : kSlots) {
    table.add(slot(entry));
  }
  table.add(onboard(0x2900, "Embedded NIC Port 1", 5, 1, 0x02, 0x00))
      .add(onboard(0x2901, "Embedded NIC Port 2", 5, 2, 0x02, 0x01))
      .add(onboard(0x2902, "Embedded Storage", 10, 1, 0x03, 0x00))
      .add(onboard(0x2903, "Embedded Video", 3, 1, 0x01, 0x08));
  table.add(SmbiosStructure(195, 0xC300, 5).string(4, "SRV-2200-A"));
  table
      .add(correlation(0x2003, 0x0903, "Dual-Port 25Gb Adapter", "Slot 3", "PN-1003-A", 0x11, 0x00,
                       1))
      .add(correlation(0x2004, 0x0904, "Eight-Port SAS Adapter", "Slot 4", "PN-1004-A", 0x14, 0x00))
      .add(correlation(0x2010, 0x2900, "Embedded NIC", "Onboard 1", "PN-2001-A", 0x02, 0x00, 1))
      .add(correlation(0x2011, 0x2901, "Embedded NIC", "Onboard 2", "PN-2001-A", 0x02, 0x01, 2))
      .add(correlation(0x2012, 0x2902, "Embedded Storage", "Onboard 3", "PN-2002-A", 0x03, 0x00))
      .add(correlation(0x2020, 0x0000, "Accelerator", "Riser 2", "PN-3001-A", 0x60, 0x00));
  table.add(nic_info(0xE900, 0x11, 0x00, 1))
      .add(nic_info(0xE901, 0x11, 0x01, 2))
      .add(nic_info(0xE902, 0x02, 0x00, 0))
      .add(nic_info(0xE903, 0x02, 0x01, 2));
  table.add(linked_text(0x2403, 0x2003, "Adapter in slot 3"))
      .add(linked_text(0x2404, 0x2004, "Adapter in slot 4"))
      .add(linked_text(0x2410, 0x2010, "Adapter on the board"));
  table.add(drive(0xF200, "  SSD0000101  ", "SSD 960 GB", "Bay 1"))
      .add(drive(0xF201, "SSD0000102", "SSD 960 GB", "Bay 2"))
      .add(drive(0xF202, "HDD0000201", "HDD 2.4 TB", "Bay 3"))
      .add(drive(0xF203, "HDD0000202        0001", "HDD 2.4 TB", "Bay 4"));
  table.add(enclosure()).add(connector_table());
  table.add(SmbiosStructure(127, 0x7F00, 4));
  return table;
}
