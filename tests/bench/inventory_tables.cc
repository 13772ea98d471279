// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/inventory_tables.h"

#include <string>

namespace {

// Number n of a kind: its bus, and its device and function, are its address.
uint8_t bus_of(unsigned n) {
  return static_cast<uint8_t>(n / 256 % 255);
}
uint8_t device_function_of(unsigned n) {
  return static_cast<uint8_t>(n % 256);
}
uint16_t handle_of(unsigned n, unsigned kind) {
  return static_cast<uint16_t>(kind << 12U | n);
}

SmbiosStructure slot(unsigned n) {
  return SmbiosStructure(9, handle_of(n, 0), 17)
      .string(4, "PCI-E Slot " + std::to_string(n))
      .u8(5, 0xB5)
      .u8(6, 0x0B)
      .u8(7, 3)
      .u8(8, 4)
      .u16(9, static_cast<uint16_t>(n))
      .u8(11, 0x0C)
      .u8(12, 0x01)
      .u8(15, static_cast<uint8_t>(n % 255))
      .u8(16, device_function_of(n));
}

SmbiosStructure correlation(unsigned n) {
  return SmbiosStructure(203, handle_of(n, 2), 40)
      .u16(4, handle_of(n, 0))
      .string(30, "Dual-Port 25Gb Adapter")
      .string(31, "Slot " + std::to_string(n))
      .string(34, "PN-" + std::to_string(1000 + n) + "-A")
      .u8(38, bus_of(n))
      .u8(39, device_function_of(n));
}

// What a server has of each device.
std::vector<SmbiosStructure> device(unsigned n) {
  const std::string number = std::to_string(n);
  return {slot(n),
          SmbiosStructure(41, handle_of(n, 1), 11)
              .string(4, "Embedded NIC Port " + number)
              .u8(5, 0x85)
              .u8(9, bus_of(n))
              .u8(10, device_function_of(n)),
          correlation(n),
          SmbiosStructure(233, handle_of(n, 3), 41)
              .u8(6, bus_of(n))
              .u8(7, device_function_of(n))
              .u8(40, 1),
          SmbiosStructure(240, handle_of(n, 4), 11)
              .u16(4, handle_of(n, 2))
              .string(10, "Adapter in slot " + number),
          SmbiosStructure(242, handle_of(n, 5), 43)
              .string(39, "SSD" + number)
              .string(40, "SSD 960 GB")
              .string(42, "Bay " + number)};
}

SmbiosStructure end_of_table() {
  return {127, 0x7F00, 4};
}

// Adds the structure and answers true unless the table, with its end, would be too
// large then.
bool add_within(SmbiosTable& table, const SmbiosStructure& structure, size_t bytes) {
  if (table.structures().size() + structure.encode().size() + end_of_table().encode().size() >
      bytes) {
    return false;
  }
  table.add(structure);
  return true;
}

// What stands once in every table.
SmbiosTable table_of_one_server() {
  SmbiosTable table;
  table
      .add(SmbiosStructure(0, 0x6000, 24)
               .string(4, "Example Firmware Works")
               .string(5, "EX1 v2.40")
               .string(8, "03/14/2024")
               .u16(6, 0xF000)
               .u8(9, 0x7F))
      .add(SmbiosStructure(1, 0x6100, 27)
               .string(4, "Example Servers")
               .string(5, "Server 2200")
               .string(6, "Rev C")
               .string(7, "EX24110042")
               .u8(24, 6)
               .string(25, "SKU-2200-8")
               .string(26, "Sample Servers"));
  return table.add(SmbiosStructure(195, 0x6300, 5).string(4, "SRV-2200-A"));
}

}  // namespace

SmbiosTable table_of_size(size_t bytes) {
  SmbiosTable table = table_of_one_server();
  for (unsigned n = 0;; ++n) {
    for (const SmbiosStructure& structure : device(n)) {
      if (!add_within(table, structure, bytes)) {
        return table.add(end_of_table());
      }
    }
  }
}

SmbiosTable table_of_slots() {
  SmbiosTable table;
  for (unsigned n = 0; add_within(table, slot(n), kLargestTable); ++n) {
  }
  return table.add(end_of_table());
}

SmbiosTable table_of_pci_functions() {
  // Functions are too short for a port number, which is taken from what follows;
  // something follows the last one too.
  constexpr uint8_t kFillerSize = 44;
  SmbiosStructure filler(221, 0x7D00, kFillerSize);
  for (uint8_t offset = 4; offset < kFillerSize; ++offset) {
    filler.u8(offset, 1);
  }
  const size_t bytes = kLargestTable - filler.encode().size();
  SmbiosTable table = table_of_one_server();
  table.add(correlation(0));
  const auto function = [](unsigned n) {
    return SmbiosStructure(233, static_cast<uint16_t>(n), 8)
        .u8(6, bus_of(n))
        .u8(7, device_function_of(n));
  };
  for (unsigned n = 0; add_within(table, function(n), bytes); ++n) {
  }
  return table.add(filler).add(end_of_table());
}
