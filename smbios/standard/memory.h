// SPDX-License-Identifier: Apache-2.0
// Types 16 to 20: memory arrays, memory devices, errors and addresses.
#ifndef TVUREV_SMBIOS_STANDARD_MEMORY_H_
#define TVUREV_SMBIOS_STANDARD_MEMORY_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kArrayLocations[] = {
    {0x01, "Other"},
    {0x02, "Unknown"},
    {0x03, "System board or motherboard"},
    {0x04, "ISA add-on card"},
    {0x05, "EISA add-on card"},
    {0x06, "PCI add-on card"},
    {0x07, "MCA add-on card"},
    {0x08, "PCMCIA add-on card"},
    {0x09, "Proprietary add-on card"},
    {0x0A, "NuBus"},
    {0xA0, "PC-98/C20 add-on card"},
    {0xA1, "PC-98/C24 add-on card"},
    {0xA2, "PC-98/E add-on card"},
    {0xA3, "PC-98/Local bus add-on card"},
    {0xA4, "CXL add-on card"},
};

inline constexpr SmbWord kArrayUses[] = {
    {1, "Other"},        {2, "Unknown"},          {3, "System memory"}, {4, "Video memory"},
    {5, "Flash memory"}, {6, "Non-volatile RAM"}, {7, "Cache memory"},
};

inline constexpr SmbWord kArrayErrorCorrection[] = {
    {1, "Other"},          {2, "Unknown"},       {3, "None"}, {4, "Parity"},
    {5, "Single-bit ECC"}, {6, "Multi-bit ECC"}, {7, "CRC"},
};

inline constexpr SmbStandardField kArrayFields[] = {
    enumeration("location", "Location", 0x04, 0x0F, kArrayLocations),
    enumeration("use", "Use", 0x05, 0x0F, kArrayUses),
    enumeration("error_correction", "Memory Error Correction", 0x06, 0x0F, kArrayErrorCorrection),
    extended(field(kSmbKindArrayCapacity, "maximum_capacity", "Maximum Capacity", 0x07, 4, 0x0F,
                   "bytes"),
             0x80000000, 0x0F, 8),
    with_words(handle("error_information_handle", "Memory Error Information Handle", 0x0B, 0x0F),
               kErrorHandleWords),
    number("memory_devices", "Number of Memory Devices", 0x0D, 2, 0x0F),
};

inline constexpr SmbWord kFormFactors[] = {
    {0x01, "Other"},  {0x02, "Unknown"}, {0x03, "SIMM"},         {0x04, "SIP"},
    {0x05, "Chip"},   {0x06, "DIP"},     {0x07, "ZIP"},          {0x08, "Proprietary Card"},
    {0x09, "DIMM"},   {0x0A, "TSOP"},    {0x0B, "Row of chips"}, {0x0C, "RIMM"},
    {0x0D, "SODIMM"}, {0x0E, "SRIMM"},   {0x0F, "FB-DIMM"},      {0x10, "Die"},
    {0x11, "CAMM"},
};

inline constexpr SmbWord kMemoryTypes[] = {
    {0x01, "Other"},
    {0x02, "Unknown"},
    {0x03, "DRAM"},
    {0x04, "EDRAM"},
    {0x05, "VRAM"},
    {0x06, "SRAM"},
    {0x07, "RAM"},
    {0x08, "ROM"},
    {0x09, "FLASH"},
    {0x0A, "EEPROM"},
    {0x0B, "FEPROM"},
    {0x0C, "EPROM"},
    {0x0D, "CDRAM"},
    {0x0E, "3DRAM"},
    {0x0F, "SDRAM"},
    {0x10, "SGRAM"},
    {0x11, "RDRAM"},
    {0x12, "DDR"},
    {0x13, "DDR2"},
    {0x14, "DDR2 FB-DIMM"},
    {0x15, "Reserved"},
    {0x16, "Reserved"},
    {0x17, "Reserved"},
    {0x18, "DDR3"},
    {0x19, "FBD2"},
    {0x1A, "DDR4"},
    {0x1B, "LPDDR"},
    {0x1C, "LPDDR2"},
    {0x1D, "LPDDR3"},
    {0x1E, "LPDDR4"},
    {0x1F, "Logical non-volatile device"},
    {0x20, "HBM"},
    {0x21, "HBM2"},
    {0x22, "DDR5"},
    {0x23, "LPDDR5"},
    {0x24, "HBM3"},
};

inline constexpr SmbWord kMemoryDetails[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Fast-paged"},
    {4, "Static column"},
    {5, "Pseudo-static"},
    {6, "RAMBUS"},
    {7, "Synchronous"},
    {8, "CMOS"},
    {9, "EDO"},
    {10, "Window DRAM"},
    {11, "Cache DRAM"},
    {12, "Non-volatile"},
    {13, "Registered (Buffered)"},
    {14, "Unbuffered (Unregistered)"},
    {15, "LRDIMM"},
};

inline constexpr SmbWord kMemoryTechnologies[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "DRAM"},
    {4, "NVDIMM-N"},
    {5, "NVDIMM-F"},
    {6, "NVDIMM-P"},
    {7, "Intel Optane persistent memory"},
};

inline constexpr SmbWord kOperatingModes[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Volatile memory"},
    {4, "Byte-accessible persistent memory"},
    {5, "Block-accessible persistent memory"},
};

inline constexpr SmbWord kDeviceSets[] = {{0, "None"}, {0xFF, "Unknown"}};
inline constexpr SmbWord kMemorySizes[] = {{0, "No Module Installed"}, {0xFFFF, "Unknown"}};
// The greater one is that of an extended speed, which a short structure has not.
inline constexpr SmbWord kSpeeds[] = {{0, "Unknown"}, {0xFFFF, "Unknown"}};

inline constexpr SmbStandardField kDeviceFields[] = {
    handle("array_handle", "Physical Memory Array Handle", 0x04, 0x15),
    with_words(handle("error_information_handle", "Memory Error Information Handle", 0x06, 0x15),
               kErrorHandleWords),
    with_words(number("total_width", "Total Width", 0x08, 2, 0x15, "bits"), kUnknownFFFF),
    with_words(number("data_width", "Data Width", 0x0A, 2, 0x15, "bits"), kUnknownFFFF),
    extended(
        with_words(field(kSmbKindMemorySize, "size", "Size", 0x0C, 2, 0x15, "bytes"), kMemorySizes),
        0x7FFF, 0x1C, 4),
    enumeration("form_factor", "Form Factor", 0x0E, 0x15, kFormFactors),
    with_words(number("device_set", "Device Set", 0x0F, 1, 0x15), kDeviceSets),
    text("device_locator", "Device Locator", 0x10, 0x15),
    text("bank_locator", "Bank Locator", 0x11, 0x15),
    enumeration("memory_type", "Memory Type", 0x12, 0x15, kMemoryTypes),
    bits("type_detail", "Type Detail", 0x13, 2, 0x15, kMemoryDetails),
    extended(with_words(number("speed", "Speed", 0x15, 2, 0x17, "MT/s"), kSpeeds), 0xFFFF, 0x54, 4),
    text("manufacturer", "Manufacturer", 0x17, 0x1B),
    text("serial_number", "Serial Number", 0x18, 0x1B),
    text("asset_tag", "Asset Tag", 0x19, 0x1B),
    text("part_number", "Part Number", 0x1A, 0x1B),
    part(with_words(number("rank", "Rank", 0x1B, 1, 0x1C), kUnknownZero), 0, 4),
    extended(
        with_words(number("configured_speed", "Configured Memory Speed", 0x20, 2, 0x22, "MT/s"),
                   kSpeeds),
        0xFFFF, 0x58, 4),
    with_words(field(kSmbKindVolts, "minimum_voltage", "Minimum Voltage", 0x22, 2, 0x28, "mV"),
               kUnknownZero),
    with_words(field(kSmbKindVolts, "maximum_voltage", "Maximum Voltage", 0x24, 2, 0x28, "mV"),
               kUnknownZero),
    with_words(
        field(kSmbKindVolts, "configured_voltage", "Configured Voltage", 0x26, 2, 0x28, "mV"),
        kUnknownZero),
    enumeration("memory_technology", "Memory Technology", 0x28, 0x34, kMemoryTechnologies),
    bits("operating_mode_capability", "Memory Operating Mode Capability", 0x29, 2, 0x34,
         kOperatingModes),
    text("firmware_version", "Firmware Version", 0x2B, 0x34),
    field(kSmbKindJedecId, "module_manufacturer_id", "Module Manufacturer ID", 0x2C, 2, 0x34),
    with_words(hex("module_product_id", "Module Product ID", 0x2E, 2, 0x34), kUnknownZero),
    field(kSmbKindJedecId, "controller_manufacturer_id",
          "Memory Subsystem Controller Manufacturer ID", 0x30, 2, 0x34),
    with_words(
        hex("controller_product_id", "Memory Subsystem Controller Product ID", 0x32, 2, 0x34),
        kUnknownZero),
    field(kSmbKindByteSize, "non_volatile_size", "Non-volatile Size", 0x34, 8, 0x3C, "bytes"),
    field(kSmbKindByteSize, "volatile_size", "Volatile Size", 0x3C, 8, 0x44, "bytes"),
    field(kSmbKindByteSize, "cache_size", "Cache Size", 0x44, 8, 0x4C, "bytes"),
    field(kSmbKindByteSize, "logical_size", "Logical Size", 0x4C, 8, 0x54, "bytes"),
    field(kSmbKindJedecId, "pmic0_manufacturer_id", "PMIC0 Manufacturer ID", 0x5C, 2, 0x5E),
    with_words(hex("pmic0_revision", "PMIC0 Revision Number", 0x5E, 2, 0x60), kUnknownFFFF),
    field(kSmbKindJedecId, "rcd_manufacturer_id", "RCD Manufacturer ID", 0x60, 2, 0x62),
    with_words(hex("rcd_revision", "RCD Revision Number", 0x62, 2, 0x64), kUnknownFFFF),
};

inline constexpr SmbWord kErrorTypes[] = {
    {0x01, "Other"},
    {0x02, "Unknown"},
    {0x03, "OK"},
    {0x04, "Bad read"},
    {0x05, "Parity error"},
    {0x06, "Single-bit error"},
    {0x07, "Double-bit error"},
    {0x08, "Multi-bit error"},
    {0x09, "Nibble error"},
    {0x0A, "Checksum error"},
    {0x0B, "CRC error"},
    {0x0C, "Corrected single-bit error"},
    {0x0D, "Corrected error"},
    {0x0E, "Uncorrectable error"},
};

inline constexpr SmbWord kErrorGranularities[] = {
    {1, "Other"}, {2, "Unknown"}, {3, "Device level"}, {4, "Memory partition level"}};

inline constexpr SmbWord kErrorOperations[] = {
    {1, "Other"}, {2, "Unknown"}, {3, "Read"}, {4, "Write"}, {5, "Partial write"}};

inline constexpr SmbWord kUnknown80000000[] = {{0x80000000, "Unknown"}};

inline constexpr SmbStandardField kMemoryErrorFields[] = {
    enumeration("error_type", "Error Type", 0x04, 0x17, kErrorTypes),
    enumeration("error_granularity", "Error Granularity", 0x05, 0x17, kErrorGranularities),
    enumeration("error_operation", "Error Operation", 0x06, 0x17, kErrorOperations),
    with_words(hex("vendor_syndrome", "Vendor Syndrome", 0x07, 4, 0x17), kUnknownZero),
    with_words(hex("array_error_address", "Memory Array Error Address", 0x0B, 4, 0x17),
               kUnknown80000000),
    with_words(hex("device_error_address", "Device Error Address", 0x0F, 4, 0x17),
               kUnknown80000000),
    with_words(hex("error_resolution", "Error Resolution", 0x13, 4, 0x17), kUnknown80000000),
};

inline constexpr SmbStandardField kArrayAddressFields[] = {
    extended(
        field(kSmbKindStartAddress, "starting_address", "Starting Address", 0x04, 4, 0x0F, "bytes"),
        0xFFFFFFFF, 0x0F, 8),
    extended(field(kSmbKindEndAddress, "ending_address", "Ending Address", 0x08, 4, 0x0F, "bytes"),
             0xFFFFFFFF, 0x17, 8),
    handle("array_handle", "Memory Array Handle", 0x0C, 0x0F),
    number("partition_width", "Partition Width", 0x0E, 1, 0x0F),
};

inline constexpr SmbWord kRowPositions[] = {{0, "Reserved"}, {0xFF, "Unknown"}};
inline constexpr SmbWord kInterleavePositions[] = {{0, "Non-interleaved"}, {0xFF, "Unknown"}};
inline constexpr SmbWord kInterleaveDepths[] = {{0, "Non-interleaved"}, {0xFF, "Unknown"}};

inline constexpr SmbStandardField kDeviceAddressFields[] = {
    extended(
        field(kSmbKindStartAddress, "starting_address", "Starting Address", 0x04, 4, 0x13, "bytes"),
        0xFFFFFFFF, 0x13, 8),
    extended(field(kSmbKindEndAddress, "ending_address", "Ending Address", 0x08, 4, 0x13, "bytes"),
             0xFFFFFFFF, 0x1B, 8),
    handle("device_handle", "Memory Device Handle", 0x0C, 0x13),
    handle("array_address_handle", "Memory Array Mapped Address Handle", 0x0E, 0x13),
    with_words(number("partition_row_position", "Partition Row Position", 0x10, 1, 0x13),
               kRowPositions),
    with_words(number("interleave_position", "Interleave Position", 0x11, 1, 0x13),
               kInterleavePositions),
    with_words(number("interleaved_data_depth", "Interleaved Data Depth", 0x12, 1, 0x13),
               kInterleaveDepths),
};

inline constexpr SmbStandardType kMemoryTypeRows[] = {
    type(16, "Physical Memory Array", kArrayFields),
    type(17, "Memory Device", kDeviceFields),
    type(18, "32-Bit Memory Error Information", kMemoryErrorFields),
    type(19, "Memory Array Mapped Address", kArrayAddressFields),
    type(20, "Memory Device Mapped Address", kDeviceAddressFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_MEMORY_H_
