// SPDX-License-Identifier: Apache-2.0
// Types 24, 25, 32, 38, 42, 43, 45, 46, 126 and 127: security, power-on, boot,
// management controllers and their interfaces, firmware, and what is no device.
#ifndef TVUREV_SMBIOS_STANDARD_MANAGEMENT_H_
#define TVUREV_SMBIOS_STANDARD_MANAGEMENT_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kSecuritySettings[] = {
    {0, "Disabled"}, {1, "Enabled"}, {2, "Not Implemented"}, {3, "Unknown"}};

inline constexpr SmbStandardField kSecurityFields[] = {
    part(
        enumeration("power_on_password", "Power-on Password Status", 0x04, 0x05, kSecuritySettings),
        6, 2),
    part(
        enumeration("keyboard_password", "Keyboard Password Status", 0x04, 0x05, kSecuritySettings),
        4, 2),
    part(enumeration("administrator_password", "Administrator Password Status", 0x04, 0x05,
                     kSecuritySettings),
         2, 2),
    part(
        enumeration("front_panel_reset", "Front Panel Reset Status", 0x04, 0x05, kSecuritySettings),
        0, 2),
};

inline constexpr SmbStandardField kPowerControlFields[] = {
    field(kSmbKindPackedBytes, "month", "Next Scheduled Power-on Month", 0x04, 1, 0x09),
    field(kSmbKindPackedBytes, "day", "Next Scheduled Power-on Day-of-month", 0x05, 1, 0x09),
    field(kSmbKindPackedBytes, "hour", "Next Scheduled Power-on Hour", 0x06, 1, 0x09),
    field(kSmbKindPackedBytes, "minute", "Next Scheduled Power-on Minute", 0x07, 1, 0x09),
    field(kSmbKindPackedBytes, "second", "Next Scheduled Power-on Second", 0x08, 1, 0x09),
};

inline constexpr SmbWord kBootStatus[] = {
    {0, "No errors detected"},
    {1, "No bootable media"},
    {2, "\"normal\" operating system failed to load"},
    {3, "Firmware-detected hardware failure"},
    {4, "Operating system-detected hardware failure"},
    {5, "User-requested boot"},
    {6, "System security violation"},
    {7, "Previously-requested image"},
    {8, "System watchdog timer expired"},
    {SMB_WORD_FROM + 128, "OEM-specific"},
    {SMB_WORD_FROM + 192, "Product-specific"},
};

inline constexpr SmbStandardField kBootFields[] = {
    enumeration("status", "Boot Status", 0x0A, 0x0B, kBootStatus),
};

inline constexpr SmbWord kIpmiInterfaces[] = {
    {0, "Unknown"},
    {1, "KCS: Keyboard Controller Style"},
    {2, "SMIC: Server Management Interface Chip"},
    {3, "BT: Block Transfer"},
    {4, "SSIF: SMBus System Interface"},
};

inline constexpr SmbWord kNotPresentFF[] = {{0xFF, "Not Present"}};
inline constexpr SmbWord kRegisterSpacings[] = {
    {0, "successive byte boundaries"}, {1, "32-bit boundaries"}, {2, "16-byte boundaries"}};
inline constexpr SmbWord kInterruptPolarities[] = {{0, "active low"}, {1, "active high"}};
inline constexpr SmbWord kInterruptTriggers[] = {{0, "edge"}, {1, "level"}};
inline constexpr SmbWord kUnspecifiedInterrupt[] = {{0, "Unspecified"}};

inline constexpr SmbStandardField kIpmiFields[] = {
    enumeration("interface_type", "Interface Type", 0x04, 0x10, kIpmiInterfaces),
    field(kSmbKindPackedRevision, "specification_revision", "IPMI Specification Revision", 0x05, 1,
          0x10),
    hex("i2c_target_address", "I2C Target Address", 0x06, 1, 0x10),
    with_words(number("nv_storage_device_address", "NV Storage Device Address", 0x07, 1, 0x10),
               kNotPresentFF),
    field(kSmbKindIpmiAddress, "base_address", "Base Address", 0x08, 8, 0x10),
    part(enumeration("register_spacing", "Register Spacing", 0x10, 0x12, kRegisterSpacings), 6, 2),
    part(field(kSmbKindYesNo, "interrupt_info", "Interrupt Info Specified", 0x10, 1, 0x12), 3, 1),
    part(enumeration("interrupt_polarity", "Interrupt Polarity", 0x10, 0x12, kInterruptPolarities),
         1, 1),
    part(enumeration("interrupt_trigger_mode", "Interrupt Trigger Mode", 0x10, 0x12,
                     kInterruptTriggers),
         0, 1),
    with_words(number("interrupt_number", "Interrupt Number", 0x11, 1, 0x12),
               kUnspecifiedInterrupt),
};

inline constexpr SmbWord kHostInterfaces[] = {
    {0x02, "KCS: Keyboard Controller Style"},
    {0x03, "8250 UART Register Compatible"},
    {0x04, "16450 UART Register Compatible"},
    {0x05, "16550/16550A UART Register Compatible"},
    {0x06, "16650/16650A UART Register Compatible"},
    {0x07, "16750/16750A UART Register Compatible"},
    {0x08, "16850/16850A UART Register Compatible"},
    {0x40, "Network Host Interface"},
    {0xF0, "OEM"},
};

inline constexpr SmbWord kProtocols[] = {
    {0x00, "Reserved"}, {0x01, "Reserved"},        {0x02, "IPMI"},
    {0x03, "MCTP"},     {0x04, "Redfish over IP"}, {0xF0, "OEM-defined"},
};

inline constexpr SmbStandardField kHostInterfaceFields[] = {
    enumeration("interface_type", "Interface Type", 0x04, 0x06, kHostInterfaces),
    field(kSmbKindInterfaceData, "interface_specific_data", "Interface Type Specific Data", 0x05, 1,
          0x06),
    behind_list(with_words(
        field(kSmbKindProtocolRecords, "protocol_records", "Protocol Records", 0x06, 1, 0x07),
        kProtocols)),
};

inline constexpr SmbWord kTpmCharacteristics[] = {
    {2, "TPM Device Characteristics are not supported"},
    {3, "Family configurable via firmware update"},
    {4, "Family configurable via platform software support"},
    {5, "Family configurable via OEM proprietary mechanism"},
};

inline constexpr SmbStandardField kTpmFields[] = {
    field(kSmbKindVendorId, "vendor_id", "Vendor ID", 0x04, 4, 0x1B),
    field(kSmbKindRevision, "specification_version", "Specification Version", 0x08, 2, 0x1B),
    field(kSmbKindTpmFirmware, "firmware_revision", "Firmware Revision", 0x0A, 4, 0x1B),
    text("description", "Description", 0x12, 0x1B),
    bits("characteristics", "Characteristics", 0x13, 8, 0x1B, kTpmCharacteristics),
    hex("oem_defined", "OEM-defined", 0x1B, 4, 0x1F),
};

inline constexpr SmbWord kFirmwareVersionFormats[] = {
    {0, "Free-form string"},
    {1, "\"MAJOR.MINOR\""},
    {2, "32-bit hexadecimal string"},
    {3, "64-bit hexadecimal string"},
    {SMB_WORD_FROM + 0x80, "BIOS Vendor/OEM-specific"},
};

inline constexpr SmbWord kFirmwareIdFormats[] = {
    {0, "Free-form string"},
    {1, "UEFI ESRT FwClass GUID or UEFI Firmware Management Protocol ImageTypeId"},
    {SMB_WORD_FROM + 0x80, "BIOS Vendor/OEM-specific"},
};

inline constexpr SmbWord kFirmwareCharacteristics[] = {{0, "Updatable"}, {1, "Write-Protect"}};

inline constexpr SmbWord kFirmwareStates[] = {
    {1, "Other"},  {2, "Unknown"},        {3, "Disabled"},     {4, "Enabled"},
    {5, "Absent"}, {6, "StandbyOffline"}, {7, "StandbySpare"}, {8, "UnavailableOffline"},
};

inline constexpr SmbStandardField kFirmwareFields[] = {
    text("component_name", "Firmware Component Name", 0x04, 0x18),
    text("version", "Firmware Version", 0x05, 0x18),
    enumeration("version_format", "Firmware Version Format", 0x06, 0x18, kFirmwareVersionFormats),
    text("id", "Firmware ID", 0x07, 0x18),
    enumeration("id_format", "Firmware ID Format", 0x08, 0x18, kFirmwareIdFormats),
    text("release_date", "Release Date", 0x09, 0x18),
    text("manufacturer", "Manufacturer", 0x0A, 0x18),
    text("lowest_supported_version", "Lowest Supported Firmware Version", 0x0B, 0x18),
    field(kSmbKindByteSize, "image_size", "Image Size", 0x0C, 8, 0x18, "bytes"),
    bits("characteristics", "Characteristics", 0x14, 2, 0x18, kFirmwareCharacteristics),
    enumeration("state", "State", 0x16, 0x18, kFirmwareStates),
    field(kSmbKindHandles, "associated_components", "Associated Components", 0x17, 1, 0x18),
};

inline constexpr SmbWord kStringProperties[] = {
    {0, "Reserved"},
    {1, "UEFI Device Path"},
    {SMB_WORD_FROM + 0x8000, "BIOS vendor-specific"},
    {SMB_WORD_FROM + 0xC000, "OEM-specific"},
};

inline constexpr SmbStandardField kStringPropertyFields[] = {
    with_words(field(kSmbKindEnumeration, "property_id", "String Property ID", 0x04, 2, 0x09),
               kStringProperties),
    text("value", "String Property Value", 0x06, 0x09),
    handle("parent_handle", "Parent Handle", 0x07, 0x09),
};

inline constexpr SmbStandardType kManagementTypes[] = {
    type(24, "Hardware Security", kSecurityFields),
    type(25, "System Power Controls", kPowerControlFields),
    type(32, "System Boot Information", kBootFields),
    type(38, "IPMI Device Information", kIpmiFields),
    type(42, "Management Controller Host Interface", kHostInterfaceFields),
    type(43, "TPM Device", kTpmFields),
    type(45, "Firmware Inventory Information", kFirmwareFields),
    type(46, "String Property", kStringPropertyFields),
    {126, "Inactive", nullptr, 0},
    {127, "End-of-Table", nullptr, 0},
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_MANAGEMENT_H_
