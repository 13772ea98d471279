// SPDX-License-Identifier: Apache-2.0
// Types 4, 7 and 44: processors and their caches.
#ifndef TVUREV_SMBIOS_STANDARD_PROCESSOR_H_
#define TVUREV_SMBIOS_STANDARD_PROCESSOR_H_

#include "smbios/standard/processor_words.h"
#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kProcessorTypes[] = {
    {1, "Other"},          {2, "Unknown"},       {3, "Central Processor"},
    {4, "Math Processor"}, {5, "DSP Processor"}, {6, "Video Processor"}};

inline constexpr SmbWord kProcessorStatus[] = {
    {0, "Unknown"},
    {1, "CPU Enabled"},
    {2, "CPU Disabled by User through BIOS Setup"},
    {3, "CPU Disabled By BIOS (POST Error)"},
    {4, "CPU is Idle, waiting to be enabled"},
    {7, "Other"},
};

inline constexpr SmbWord kSocketPopulated[] = {{0, "Unpopulated"}, {1, "Populated"}};

inline constexpr SmbWord kProcessorCharacteristics[] = {
    {1, "Unknown"},
    {2, "64-bit Capable"},
    {3, "Multi-Core"},
    {4, "Hardware Thread"},
    {5, "Execute Protection"},
    {6, "Enhanced Virtualization"},
    {7, "Power/Performance Control"},
    {8, "128-bit Capable"},
    {9, "Arm64 SoC ID"},
};

inline constexpr SmbStandardField kProcessorFields[] = {
    text("socket_designation", "Socket Designation", 0x04, 0x1A),
    enumeration("processor_type", "Processor Type", 0x05, 0x1A, kProcessorTypes),
    extended(enumeration("family", "Processor Family", 0x06, 0x1A, kProcessorFamilies), 0xFE, 0x28,
             2),
    text("manufacturer", "Processor Manufacturer", 0x07, 0x1A),
    field(kSmbKindBytes, "id", "Processor ID", 0x08, 8, 0x1A),
    text("version", "Processor Version", 0x10, 0x1A),
    with_words(field(kSmbKindProcessorVoltage, "voltage", "Voltage", 0x11, 1, 0x1A, "1/10 V"),
               kUnknownZero),
    with_words(number("external_clock", "External Clock", 0x12, 2, 0x1A, "MHz"), kUnknownZero),
    with_words(number("max_speed", "Max Speed", 0x14, 2, 0x1A, "MHz"), kUnknownZero),
    with_words(number("current_speed", "Current Speed", 0x16, 2, 0x1A, "MHz"), kUnknownZero),
    part(enumeration("socket_status", "CPU Socket Populated", 0x18, 0x1A, kSocketPopulated), 6, 1),
    part(enumeration("status", "CPU Status", 0x18, 0x1A, kProcessorStatus), 0, 3),
    enumeration("upgrade", "Processor Upgrade", 0x19, 0x1A, kProcessorUpgrades),
    with_words(handle("l1_cache_handle", "L1 Cache Handle", 0x1A, 0x20), kHandleWords),
    with_words(handle("l2_cache_handle", "L2 Cache Handle", 0x1C, 0x20), kHandleWords),
    with_words(handle("l3_cache_handle", "L3 Cache Handle", 0x1E, 0x20), kHandleWords),
    text("serial_number", "Serial Number", 0x20, 0x23),
    text("asset_tag", "Asset Tag", 0x21, 0x23),
    text("part_number", "Part Number", 0x22, 0x23),
    extended(with_words(number("core_count", "Core Count", 0x23, 1, 0x28), kUnknownZero), 0xFF,
             0x2A, 2),
    extended(with_words(number("core_enabled", "Core Enabled", 0x24, 1, 0x28), kUnknownZero), 0xFF,
             0x2C, 2),
    extended(with_words(number("thread_count", "Thread Count", 0x25, 1, 0x28), kUnknownZero), 0xFF,
             0x2E, 2),
    bits("characteristics", "Processor Characteristics", 0x26, 2, 0x28, kProcessorCharacteristics),
    with_words(number("thread_enabled", "Thread Enabled", 0x30, 2, 0x32), kUnknownZero),
};

inline constexpr SmbWord kCacheLevels[] = {{0, "1"}, {1, "2"}, {2, "3"}, {3, "4"},
                                           {4, "5"}, {5, "6"}, {6, "7"}, {7, "8"}};
inline constexpr SmbWord kCacheSocketed[] = {{0, "Not Socketed"}, {1, "Socketed"}};
inline constexpr SmbWord kCacheLocations[] = {{0, "Internal"}, {1, "External"}, {3, "Unknown"}};
inline constexpr SmbWord kCacheEnabled[] = {{0, "Disabled"}, {1, "Enabled"}};
inline constexpr SmbWord kCacheModes[] = {
    {0, "Write Through"}, {1, "Write Back"}, {2, "Varies with Memory Address"}, {3, "Unknown"}};

inline constexpr SmbWord kSramTypes[] = {
    {0, "Other"},          {1, "Unknown"},     {2, "Non-Burst"},   {3, "Burst"},
    {4, "Pipeline Burst"}, {5, "Synchronous"}, {6, "Asynchronous"}};

inline constexpr SmbWord kCacheErrorCorrection[] = {{1, "Other"},          {2, "Unknown"},
                                                    {3, "None"},           {4, "Parity"},
                                                    {5, "Single-bit ECC"}, {6, "Multi-bit ECC"}};

inline constexpr SmbWord kCacheTypes[] = {
    {1, "Other"}, {2, "Unknown"}, {3, "Instruction"}, {4, "Data"}, {5, "Unified"}};

inline constexpr SmbWord kAssociativities[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Direct Mapped"},
    {4, "2-way Set-Associative"},
    {5, "4-way Set-Associative"},
    {6, "Fully Associative"},
    {7, "8-way Set-Associative"},
    {8, "16-way Set-Associative"},
    {9, "12-way Set-Associative"},
    {10, "24-way Set-Associative"},
    {11, "32-way Set-Associative"},
    {12, "48-way Set-Associative"},
    {13, "64-way Set-Associative"},
    {14, "20-way Set-Associative"},
};

inline constexpr SmbStandardField kCacheFields[] = {
    text("socket_designation", "Socket Designation", 0x04, 0x0F),
    part(with_words(field(kSmbKindEnumeration, "enabled", "Enabled/Disabled", 0x05, 2, 0x0F),
                    kCacheEnabled),
         7, 1),
    part(with_words(field(kSmbKindEnumeration, "socketed", "Cache Socketed", 0x05, 2, 0x0F),
                    kCacheSocketed),
         3, 1),
    part(
        with_words(field(kSmbKindEnumeration, "level", "Cache Level", 0x05, 2, 0x0F), kCacheLevels),
        0, 3),
    part(with_words(
             field(kSmbKindEnumeration, "operational_mode", "Operational Mode", 0x05, 2, 0x0F),
             kCacheModes),
         8, 2),
    part(with_words(field(kSmbKindEnumeration, "location", "Location", 0x05, 2, 0x0F),
                    kCacheLocations),
         5, 2),
    extended(field(kSmbKindCacheSize, "installed_size", "Installed Size", 0x09, 2, 0x0F, "bytes"),
             0xFFFF, 0x17, 4),
    extended(field(kSmbKindCacheSize, "maximum_size", "Maximum Cache Size", 0x07, 2, 0x0F, "bytes"),
             0xFFFF, 0x13, 4),
    bits("supported_sram_types", "Supported SRAM Type", 0x0B, 2, 0x0F, kSramTypes),
    bits("current_sram_type", "Current SRAM Type", 0x0D, 2, 0x0F, kSramTypes),
    with_words(number("speed", "Cache Speed", 0x0F, 1, 0x13, "ns"), kUnknownZero),
    enumeration("error_correction_type", "Error Correction Type", 0x10, 0x13,
                kCacheErrorCorrection),
    enumeration("system_cache_type", "System Cache Type", 0x11, 0x13, kCacheTypes),
    enumeration("associativity", "Associativity", 0x12, 0x13, kAssociativities),
};

inline constexpr SmbWord kArchitectures[] = {
    {0, "Reserved"},
    {1, "IA32 (x86)"},
    {2, "x64 (x86-64, Intel64, AMD64, EM64T)"},
    {3, "Intel Itanium architecture"},
    {4, "32-bit ARM (Aarch32)"},
    {5, "64-bit ARM (Aarch64)"},
    {6, "32-bit RISC-V (RV32)"},
    {7, "64-bit RISC-V (RV64)"},
    {8, "128-bit RISC-V (RV128)"},
    {9, "32-bit LoongArch (LoongArch32)"},
    {10, "64-bit LoongArch (LoongArch64)"},
};

inline constexpr SmbStandardField kProcessorAdditionalFields[] = {
    handle("referenced_handle", "Referenced Handle", 0x04, 0x06),
    enumeration("processor_architecture", "Processor Type", 0x07, 0x08, kArchitectures),
    field(kSmbKindSpecificData, "specific_data", "Processor-Specific Data", 0x06, 1, 0x08),
};

inline constexpr SmbStandardType kProcessorTypeRows[] = {
    type(4, "Processor Information", kProcessorFields),
    type(7, "Cache Information", kCacheFields),
    type(44, "Processor Additional Information", kProcessorAdditionalFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_PROCESSOR_H_
