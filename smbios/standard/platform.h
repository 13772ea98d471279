// SPDX-License-Identifier: Apache-2.0
// Types 0 to 3, 11 to 13: firmware, system, baseboard, chassis, and the texts
// and languages of the firmware.
#ifndef TVUREV_SMBIOS_STANDARD_PLATFORM_H_
#define TVUREV_SMBIOS_STANDARD_PLATFORM_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kBiosCharacteristics[] = {
    {3, "BIOS Characteristics are not supported"},
    {4, "ISA is supported"},
    {5, "MCA is supported"},
    {6, "EISA is supported"},
    {7, "PCI is supported"},
    {8, "PC Card (PCMCIA) is supported"},
    {9, "Plug and Play is supported"},
    {10, "APM is supported"},
    {11, "BIOS is upgradeable (Flash)"},
    {12, "BIOS shadowing is allowed"},
    {13, "VL-VESA is supported"},
    {14, "ESCD support is available"},
    {15, "Boot from CD is supported"},
    {16, "Selectable boot is supported"},
    {17, "BIOS ROM is socketed"},
    {18, "Boot from PC Card (PCMCIA) is supported"},
    {19, "EDD specification is supported"},
    {20, "Japanese floppy for NEC 9800 1.2 MB is supported (Int 13h)"},
    {21, "Japanese floppy for Toshiba 1.2 MB is supported (Int 13h)"},
    {22, "5.25\" / 360 KB floppy services are supported (Int 13h)"},
    {23, "5.25\" / 1.2 MB floppy services are supported (Int 13h)"},
    {24, "3.5\" / 720 KB floppy services are supported (Int 13h)"},
    {25, "3.5\" / 2.88 MB floppy services are supported (Int 13h)"},
    {26, "Print screen service is supported (Int 5h)"},
    {27, "8042 keyboard services are supported (Int 9h)"},
    {28, "Serial services are supported (Int 14h)"},
    {29, "Printer services are supported (Int 17h)"},
    {30, "CGA/Mono Video Services are supported (Int 10h)"},
    {31, "NEC PC-98"},
};

inline constexpr SmbWord kBiosExtension1[] = {
    {0, "ACPI is supported"},
    {1, "USB Legacy is supported"},
    {2, "AGP is supported"},
    {3, "I2O boot is supported"},
    {4, "LS-120 SuperDisk boot is supported"},
    {5, "ATAPI ZIP drive boot is supported"},
    {6, "1394 boot is supported"},
    {7, "Smart battery is supported"},
};

inline constexpr SmbWord kBiosExtension2[] = {
    {0, "BIOS Boot Specification is supported"},
    {1, "Function key-initiated network service boot is supported"},
    {2, "Targeted content distribution is enabled"},
    {3, "UEFI Specification is supported"},
    {4, "The SMBIOS table describes a virtual machine"},
    {5, "Manufacturing mode is supported"},
    {6, "Manufacturing mode is enabled"},
};

inline constexpr SmbStandardField kBiosFields[] = {
    text("vendor", "Vendor", 0x04, 0x12),
    text("version", "BIOS Version", 0x05, 0x12),
    text("release_date", "BIOS Release Date", 0x08, 0x12),
    with_words(field(kSmbKindSegmentAddress, "starting_address", "BIOS Starting Address", 0x06, 2,
                     0x12, "bytes"),
               kUnknownZero),
    extended(field(kSmbKindRomSize, "rom_size", "BIOS ROM Size", 0x09, 1, 0x12, "bytes"), 0xFF,
             0x18, 2),
    bits("characteristics", "BIOS Characteristics", 0x0A, 8, 0x12, kBiosCharacteristics),
    bits("characteristics_extension_1", "BIOS Characteristics Extension Byte 1", 0x12, 1, 0x13,
         kBiosExtension1),
    bits("characteristics_extension_2", "BIOS Characteristics Extension Byte 2", 0x13, 1, 0x14,
         kBiosExtension2),
    field(kSmbKindRevision, "bios_release", "System BIOS Release", 0x14, 2, 0x18),
    field(kSmbKindRevision, "firmware_release", "Embedded Controller Firmware Release", 0x16, 2,
          0x18),
};

inline constexpr SmbWord kWakeUpTypes[] = {
    {0, "Reserved"},     {1, "Other"},      {2, "Unknown"},
    {3, "APM Timer"},    {4, "Modem Ring"}, {5, "LAN Remote"},
    {6, "Power Switch"}, {7, "PCI PME#"},   {8, "AC Power Restored"},
};

inline constexpr SmbStandardField kSystemFields[] = {
    text("manufacturer", "Manufacturer", 0x04, 0x08),
    text("product_name", "Product Name", 0x05, 0x08),
    text("version", "Version", 0x06, 0x08),
    text("serial_number", "Serial Number", 0x07, 0x08),
    field(kSmbKindUuid, "uuid", "UUID", 0x08, 16, 0x19),
    enumeration("wake_up_type", "Wake-up Type", 0x18, 0x19, kWakeUpTypes),
    text("sku_number", "SKU Number", 0x19, 0x1B),
    text("family", "Family", 0x1A, 0x1B),
};

inline constexpr SmbWord kBoardFeatures[] = {
    {0, "Board is a hosting board"}, {1, "Board requires at least one daughter board"},
    {2, "Board is removable"},       {3, "Board is replaceable"},
    {4, "Board is hot swappable"},
};

inline constexpr SmbWord kBoardTypes[] = {
    {1, "Unknown"},
    {2, "Other"},
    {3, "Server Blade"},
    {4, "Connectivity Switch"},
    {5, "System Management Module"},
    {6, "Processor Module"},
    {7, "I/O Module"},
    {8, "Memory Module"},
    {9, "Daughter board"},
    {10, "Motherboard"},
    {11, "Processor/Memory Module"},
    {12, "Processor/IO Module"},
    {13, "Interconnect board"},
};

inline constexpr SmbStandardField kBaseboardFields[] = {
    text("manufacturer", "Manufacturer", 0x04, 0x08),
    text("product_name", "Product", 0x05, 0x08),
    text("version", "Version", 0x06, 0x08),
    text("serial_number", "Serial Number", 0x07, 0x08),
    text("asset_tag", "Asset Tag", 0x08, 0x09),
    bits("features", "Feature Flags", 0x09, 1, 0x0A, kBoardFeatures),
    text("location_in_chassis", "Location in Chassis", 0x0A, 0x0E),
    handle("chassis_handle", "Chassis Handle", 0x0B, 0x0E),
    enumeration("board_type", "Board Type", 0x0D, 0x0E, kBoardTypes),
    field(kSmbKindHandles, "contained_object_handles", "Contained Object Handles", 0x0E, 1, 0x0F),
};

inline constexpr SmbWord kChassisTypes[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Desktop"},
    {4, "Low Profile Desktop"},
    {5, "Pizza Box"},
    {6, "Mini Tower"},
    {7, "Tower"},
    {8, "Portable"},
    {9, "Laptop"},
    {10, "Notebook"},
    {11, "Hand Held"},
    {12, "Docking Station"},
    {13, "All in One"},
    {14, "Sub Notebook"},
    {15, "Space-saving"},
    {16, "Lunch Box"},
    {17, "Main Server Chassis"},
    {18, "Expansion Chassis"},
    {19, "SubChassis"},
    {20, "Bus Expansion Chassis"},
    {21, "Peripheral Chassis"},
    {22, "RAID Chassis"},
    {23, "Rack Mount Chassis"},
    {24, "Sealed-case PC"},
    {25, "Multi-system chassis"},
    {26, "Compact PCI"},
    {27, "Advanced TCA"},
    {28, "Blade"},
    {29, "Blade Enclosure"},
    {30, "Tablet"},
    {31, "Convertible"},
    {32, "Detachable"},
    {33, "IoT Gateway"},
    {34, "Embedded PC"},
    {35, "Mini PC"},
    {36, "Stick PC"},
};

inline constexpr SmbWord kChassisLock[] = {{0, "Not Present"}, {1, "Present"}};

inline constexpr SmbWord kChassisStates[] = {{1, "Other"},    {2, "Unknown"},
                                             {3, "Safe"},     {4, "Warning"},
                                             {5, "Critical"}, {6, "Non-recoverable"}};

inline constexpr SmbWord kChassisSecurity[] = {{1, "Other"},
                                               {2, "Unknown"},
                                               {3, "None"},
                                               {4, "External interface locked out"},
                                               {5, "External interface enabled"}};

inline constexpr SmbWord kUnspecifiedZero[] = {{0, "Unspecified"}};

inline constexpr SmbStandardField kChassisFields[] = {
    text("manufacturer", "Manufacturer", 0x04, 0x09),
    part(enumeration("chassis_type", "Type", 0x05, 0x09, kChassisTypes), 0, 7),
    part(enumeration("lock", "Chassis Lock", 0x05, 0x09, kChassisLock), 7, 1),
    text("version", "Version", 0x06, 0x09),
    text("serial_number", "Serial Number", 0x07, 0x09),
    text("asset_tag", "Asset Tag Number", 0x08, 0x09),
    enumeration("boot_up_state", "Boot-up State", 0x09, 0x0D, kChassisStates),
    enumeration("power_supply_state", "Power Supply State", 0x0A, 0x0D, kChassisStates),
    enumeration("thermal_state", "Thermal State", 0x0B, 0x0D, kChassisStates),
    enumeration("security_status", "Security Status", 0x0C, 0x0D, kChassisSecurity),
    hex("oem_defined", "OEM-defined", 0x0D, 4, 0x11),
    with_words(number("height", "Height", 0x11, 1, 0x13, "U"), kUnspecifiedZero),
    with_words(number("power_cords", "Number of Power Cords", 0x12, 1, 0x13), kUnspecifiedZero),
    field(kSmbKindElements, "contained_elements", "Contained Elements", 0x13, 1, 0x15),
    behind_list(text("sku_number", "SKU Number", 0x15, 0x16)),
};

inline constexpr SmbStandardField kOemStringsFields[] = {
    field(kSmbKindStrings, "strings", "OEM Strings", 0x04, 1, 0x05),
};

inline constexpr SmbStandardField kConfigurationFields[] = {
    field(kSmbKindStrings, "options", "System Configuration Options", 0x04, 1, 0x05),
};

inline constexpr SmbWord kLanguageFormats[] = {{0, "Long"}, {1, "Abbreviated"}};

inline constexpr SmbStandardField kLanguageFields[] = {
    part(enumeration("language_description_format", "Language Description Format", 0x05, 0x16,
                     kLanguageFormats),
         0, 1),
    field(kSmbKindStrings, "installable_languages", "Installable Languages", 0x04, 1, 0x16),
    text("current_language", "Current Language", 0x15, 0x16),
};

inline constexpr SmbStandardType kPlatformTypes[] = {
    type(0, "BIOS Information", kBiosFields),
    type(1, "System Information", kSystemFields),
    type(2, "Baseboard Information", kBaseboardFields),
    type(3, "System Enclosure or Chassis", kChassisFields),
    type(11, "OEM Strings", kOemStringsFields),
    type(12, "System Configuration Options", kConfigurationFields),
    type(13, "BIOS Language Information", kLanguageFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_PLATFORM_H_
