// SPDX-License-Identifier: Apache-2.0
// Types 8, 9, 10 and 41: port connectors, slots, devices on the board.
#ifndef TVUREV_SMBIOS_STANDARD_SLOTS_AND_PORTS_H_
#define TVUREV_SMBIOS_STANDARD_SLOTS_AND_PORTS_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kConnectorTypes[] = {
    {0x00, "None"},
    {0x01, "Centronics"},
    {0x02, "Mini Centronics"},
    {0x03, "Proprietary"},
    {0x04, "DB-25 pin male"},
    {0x05, "DB-25 pin female"},
    {0x06, "DB-15 pin male"},
    {0x07, "DB-15 pin female"},
    {0x08, "DB-9 pin male"},
    {0x09, "DB-9 pin female"},
    {0x0A, "RJ-11"},
    {0x0B, "RJ-45"},
    {0x0C, "50-pin MiniSCSI"},
    {0x0D, "Mini-DIN"},
    {0x0E, "Micro-DIN"},
    {0x0F, "PS/2"},
    {0x10, "Infrared"},
    {0x11, "HP-HIL"},
    {0x12, "Access Bus (USB)"},
    {0x13, "SSA SCSI"},
    {0x14, "Circular DIN-8 male"},
    {0x15, "Circular DIN-8 female"},
    {0x16, "On Board IDE"},
    {0x17, "On Board Floppy"},
    {0x18, "9-pin Dual Inline (pin 10 cut)"},
    {0x19, "25-pin Dual Inline (pin 26 cut)"},
    {0x1A, "50-pin Dual Inline"},
    {0x1B, "68-pin Dual Inline"},
    {0x1C, "On Board Sound Input from CD-ROM"},
    {0x1D, "Mini-Centronics Type-14"},
    {0x1E, "Mini-Centronics Type-26"},
    {0x1F, "Mini-jack (headphones)"},
    {0x20, "BNC"},
    {0x21, "1394"},
    {0x22, "SAS/SATA Plug Receptacle"},
    {0x23, "USB Type-C Receptacle"},
    {0xA0, "PC-98"},
    {0xA1, "PC-98Hireso"},
    {0xA2, "PC-H98"},
    {0xA3, "PC-98Note"},
    {0xA4, "PC-98Full"},
    {0xFF, "Other"},
};

inline constexpr SmbWord kPortTypes[] = {
    {0x00, "None"},
    {0x01, "Parallel Port XT/AT Compatible"},
    {0x02, "Parallel Port PS/2"},
    {0x03, "Parallel Port ECP"},
    {0x04, "Parallel Port EPP"},
    {0x05, "Parallel Port ECP/EPP"},
    {0x06, "Serial Port XT/AT Compatible"},
    {0x07, "Serial Port 16450 Compatible"},
    {0x08, "Serial Port 16550 Compatible"},
    {0x09, "Serial Port 16550A Compatible"},
    {0x0A, "SCSI Port"},
    {0x0B, "MIDI Port"},
    {0x0C, "Joy Stick Port"},
    {0x0D, "Keyboard Port"},
    {0x0E, "Mouse Port"},
    {0x0F, "SSA SCSI"},
    {0x10, "USB"},
    {0x11, "FireWire (IEEE P1394)"},
    {0x12, "PCMCIA Type I"},
    {0x13, "PCMCIA Type II"},
    {0x14, "PCMCIA Type III"},
    {0x15, "Cardbus"},
    {0x16, "Access Bus Port"},
    {0x17, "SCSI II"},
    {0x18, "SCSI Wide"},
    {0x19, "PC-98"},
    {0x1A, "PC-98-Hireso"},
    {0x1B, "PC-H98"},
    {0x1C, "Video Port"},
    {0x1D, "Audio Port"},
    {0x1E, "Modem Port"},
    {0x1F, "Network Port"},
    {0x20, "SATA"},
    {0x21, "SAS"},
    {0x22, "MFDP (Multi-Function Display Port)"},
    {0x23, "Thunderbolt"},
    {0xA0, "8251 Compatible"},
    {0xA1, "8251 FIFO Compatible"},
    {0xFF, "Other"},
};

inline constexpr SmbStandardField kPortFields[] = {
    text("internal_reference_designator", "Internal Reference Designator", 0x04, 0x09),
    enumeration("internal_connector_type", "Internal Connector Type", 0x05, 0x09, kConnectorTypes),
    text("external_reference_designator", "External Reference Designator", 0x06, 0x09),
    enumeration("external_connector_type", "External Connector Type", 0x07, 0x09, kConnectorTypes),
    enumeration("port_type", "Port Type", 0x08, 0x09, kPortTypes),
};

inline constexpr SmbWord kSlotTypes[] = {
    {0x01, "Other"},
    {0x02, "Unknown"},
    {0x03, "ISA"},
    {0x04, "MCA"},
    {0x05, "EISA"},
    {0x06, "PCI"},
    {0x07, "PC Card (PCMCIA)"},
    {0x08, "VL-VESA"},
    {0x09, "Proprietary"},
    {0x0A, "Processor Card Slot"},
    {0x0B, "Proprietary Memory Card Slot"},
    {0x0C, "I/O Riser Card Slot"},
    {0x0D, "NuBus"},
    {0x0E, "PCI - 66MHz Capable"},
    {0x0F, "AGP"},
    {0x10, "AGP 2X"},
    {0x11, "AGP 4X"},
    {0x12, "PCI-X"},
    {0x13, "AGP 8X"},
    {0x14, "M.2 Socket 1-DP (Mechanical Key A)"},
    {0x15, "M.2 Socket 1-SD (Mechanical Key E)"},
    {0x16, "M.2 Socket 2 (Mechanical Key B)"},
    {0x17, "M.2 Socket 3 (Mechanical Key M)"},
    {0x18, "MXM Type I"},
    {0x19, "MXM Type II"},
    {0x1A, "MXM Type III (standard connector)"},
    {0x1B, "MXM Type III (HE connector)"},
    {0x1C, "MXM Type IV"},
    {0x1D, "MXM 3.0 Type A"},
    {0x1E, "MXM 3.0 Type B"},
    {0x1F, "PCI Express Gen 2 SFF-8639 (U.2)"},
    {0x20, "PCI Express Gen 3 SFF-8639 (U.2)"},
    {0x21, "PCI Express Mini 52-pin (CEM spec. 2.0) with bottom-side keep-outs"},
    {0x22, "PCI Express Mini 52-pin (CEM spec. 2.0) without bottom-side keep-outs"},
    {0x23, "PCI Express Mini 76-pin (CEM spec. 2.0)"},
    {0x24, "PCI Express Gen 4 SFF-8639 (U.2)"},
    {0x25, "PCI Express Gen 5 SFF-8639 (U.2)"},
    {0x26, "OCP NIC 3.0 Small Form Factor (SFF)"},
    {0x27, "OCP NIC 3.0 Large Form Factor (LFF)"},
    {0x28, "OCP NIC Prior to 3.0"},
    {0x30, "CXL Flexbus 1.0"},
    {0xA0, "PC-98/C20"},
    {0xA1, "PC-98/C24"},
    {0xA2, "PC-98/E"},
    {0xA3, "PC-98/Local Bus"},
    {0xA4, "PC-98/Card"},
    {0xA5, "PCI Express"},
    {0xA6, "PCI Express x1"},
    {0xA7, "PCI Express x2"},
    {0xA8, "PCI Express x4"},
    {0xA9, "PCI Express x8"},
    {0xAA, "PCI Express x16"},
    {0xAB, "PCI Express Gen 2"},
    {0xAC, "PCI Express Gen 2 x1"},
    {0xAD, "PCI Express Gen 2 x2"},
    {0xAE, "PCI Express Gen 2 x4"},
    {0xAF, "PCI Express Gen 2 x8"},
    {0xB0, "PCI Express Gen 2 x16"},
    {0xB1, "PCI Express Gen 3"},
    {0xB2, "PCI Express Gen 3 x1"},
    {0xB3, "PCI Express Gen 3 x2"},
    {0xB4, "PCI Express Gen 3 x4"},
    {0xB5, "PCI Express Gen 3 x8"},
    {0xB6, "PCI Express Gen 3 x16"},
    {0xB8, "PCI Express Gen 4"},
    {0xB9, "PCI Express Gen 4 x1"},
    {0xBA, "PCI Express Gen 4 x2"},
    {0xBB, "PCI Express Gen 4 x4"},
    {0xBC, "PCI Express Gen 4 x8"},
    {0xBD, "PCI Express Gen 4 x16"},
    {0xBE, "PCI Express Gen 5"},
    {0xBF, "PCI Express Gen 5 x1"},
    {0xC0, "PCI Express Gen 5 x2"},
    {0xC1, "PCI Express Gen 5 x4"},
    {0xC2, "PCI Express Gen 5 x8"},
    {0xC3, "PCI Express Gen 5 x16"},
    {0xC4, "PCI Express Gen 6 and Beyond"},
    {0xC5, "Enterprise and Datacenter 1U E1 Form Factor Slot (EDSFF E1.S, E1.L)"},
    {0xC6, "Enterprise and Datacenter 3\" E3 Form Factor Slot (EDSFF E3.S, E3.L)"},
};

inline constexpr SmbWord kSlotWidths[] = {
    {1, "Other"},     {2, "Unknown"},     {3, "8 bit"},       {4, "16 bit"},      {5, "32 bit"},
    {6, "64 bit"},    {7, "128 bit"},     {8, "1x or x1"},    {9, "2x or x2"},    {10, "4x or x4"},
    {11, "8x or x8"}, {12, "12x or x12"}, {13, "16x or x16"}, {14, "32x or x32"},
};

inline constexpr SmbWord kSlotUsages[] = {
    {1, "Other"}, {2, "Unknown"}, {3, "Available"}, {4, "In use"}, {5, "Unavailable"}};

inline constexpr SmbWord kSlotLengths[] = {{1, "Other"},
                                           {2, "Unknown"},
                                           {3, "Short Length"},
                                           {4, "Long Length"},
                                           {5, "2.5\" drive form factor"},
                                           {6, "3.5\" drive form factor"}};

inline constexpr SmbWord kSlotCharacteristics1[] = {
    {0, "Characteristics unknown"},
    {1, "Provides 5.0 volts"},
    {2, "Provides 3.3 volts"},
    {3, "Slot's opening is shared with another slot"},
    {4, "PC Card slot supports PC Card-16"},
    {5, "PC Card slot supports CardBus"},
    {6, "PC Card slot supports Zoom Video"},
    {7, "PC Card slot supports Modem Ring Resume"},
};

inline constexpr SmbWord kSlotCharacteristics2[] = {
    {0, "PCI slot supports Power Management Event (PME#) signal"},
    {1, "Slot supports hot-plug devices"},
    {2, "PCI slot supports SMBus signal"},
    {3, "PCIe slot supports bifurcation"},
    {4, "Slot supports async/surprise removal"},
    {5, "Flexbus slot, CXL 1.0 capable"},
    {6, "Flexbus slot, CXL 2.0 capable"},
    {7, "Flexbus slot, CXL 3.0 capable"},
};

inline constexpr SmbWord kSlotHeights[] = {
    {0, "Not applicable"}, {1, "Other"}, {2, "Unknown"}, {3, "Full height"}, {4, "Low-profile"}};

inline constexpr SmbWord kNotApplicableZero[] = {{0, "Not applicable"}};
inline constexpr SmbWord kSlotPitchWords[] = {{0, "Not given or unknown"}};

inline constexpr SmbStandardField kSlotFields[] = {
    text("designation", "Slot Designation", 0x04, 0x0C),
    enumeration("slot_type", "Slot Type", 0x05, 0x0C, kSlotTypes),
    enumeration("slot_data_bus_width", "Slot Data Bus Width", 0x06, 0x0C, kSlotWidths),
    enumeration("current_usage", "Current Usage", 0x07, 0x0C, kSlotUsages),
    enumeration("slot_length", "Slot Length", 0x08, 0x0C, kSlotLengths),
    number("slot_id", "Slot ID", 0x09, 2, 0x0C),
    bits("characteristics_1", "Slot Characteristics 1", 0x0B, 1, 0x0C, kSlotCharacteristics1),
    bits("characteristics_2", "Slot Characteristics 2", 0x0C, 1, 0x0D, kSlotCharacteristics2),
    field(kSmbKindPciAddress, "pci_address", "Bus Address", 0x0D, 4, 0x11),
    with_words(number("data_bus_width", "Data Bus Width", 0x11, 1, 0x13), kNotApplicableZero),
    field(kSmbKindSlotPeers, "peers", "Peer Groups", 0x12, 1, 0x13),
    behind_list(with_words(number("pci_express_generation", "Slot Information", 0x13, 1, 0x17),
                           kNotApplicableZero)),
    behind_list(enumeration("slot_physical_width", "Slot Physical Width", 0x14, 0x17, kSlotWidths)),
    behind_list(with_words(field(kSmbKindHundredthsOfMillimetre, "slot_pitch", "Slot Pitch", 0x15,
                                 2, 0x17, "1/100 mm"),
                           kSlotPitchWords)),
    behind_list(enumeration("slot_height", "Slot Height", 0x17, 0x18, kSlotHeights)),
};

inline constexpr SmbWord kOnboardDeviceTypes[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Video"},
    {4, "SCSI Controller"},
    {5, "Ethernet"},
    {6, "Token Ring"},
    {7, "Sound"},
    {8, "PATA Controller"},
    {9, "SATA Controller"},
    {10, "SAS Controller"},
    {11, "Wireless LAN"},
    {12, "Bluetooth"},
    {13, "WWAN"},
    {14, "eMMC (embedded Multi-Media Controller)"},
    {15, "NVMe Controller"},
    {16, "UFS Controller"},
};

// A list item: a device's type and status, and its description. The words are the
// types; the number of items follows from the structure's length.
inline constexpr SmbStandardField kOnboardDevicesFields[] = {
    with_words(field(kSmbKindDevices, "devices", "On Board Devices", 0x04, 0, 0x06),
               kOnboardDeviceTypes),
};

inline constexpr SmbWord kDisabledEnabled[] = {{0, "Disabled"}, {1, "Enabled"}};

inline constexpr SmbStandardField kOnboardFields[] = {
    text("reference_designation", "Reference Designation", 0x04, 0x0B),
    part(enumeration("device_type", "Device Type", 0x05, 0x0B, kOnboardDeviceTypes), 0, 7),
    part(enumeration("device_status", "Device Status", 0x05, 0x0B, kDisabledEnabled), 7, 1),
    number("device_type_instance", "Device Type Instance", 0x06, 1, 0x0B),
    field(kSmbKindPciAddress, "pci_address", "Bus Address", 0x07, 4, 0x0B),
};

inline constexpr SmbStandardType kSlotAndPortTypes[] = {
    type(8, "Port Connector Information", kPortFields),
    type(9, "System Slots", kSlotFields),
    type(10, "On Board Devices Information", kOnboardDevicesFields),
    type(41, "Onboard Devices Extended Information", kOnboardFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_SLOTS_AND_PORTS_H_
