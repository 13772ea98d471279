// SPDX-License-Identifier: Apache-2.0
// Types 22, 26 to 29 and 39: batteries, probes, cooling devices, power supplies.
#ifndef TVUREV_SMBIOS_STANDARD_POWER_AND_COOLING_H_
#define TVUREV_SMBIOS_STANDARD_POWER_AND_COOLING_H_

#include "smbios/standard/row.h"

namespace standard {

inline constexpr SmbWord kChemistries[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Lead Acid"},
    {4, "Nickel Cadmium"},
    {5, "Nickel metal hydride"},
    {6, "Lithium-ion"},
    {7, "Zinc air"},
    {8, "Lithium Polymer"},
};

inline constexpr SmbWord kUnknownFF[] = {{0xFF, "Unknown"}};

inline constexpr SmbStandardField kBatteryFields[] = {
    text("location", "Location", 0x04, 0x10),
    text("manufacturer", "Manufacturer", 0x05, 0x10),
    text("manufacture_date", "Manufacture Date", 0x06, 0x10),
    text("serial_number", "Serial Number", 0x07, 0x10),
    text("device_name", "Device Name", 0x08, 0x10),
    enumeration("device_chemistry", "Device Chemistry", 0x09, 0x10, kChemistries),
    with_words(
        field(kSmbKindScaledCapacity, "design_capacity", "Design Capacity", 0x0A, 2, 0x10, "mWh"),
        kUnknownZero),
    with_words(number("design_voltage", "Design Voltage", 0x0C, 2, 0x10, "mV"), kUnknownZero),
    text("sbds_version", "SBDS Version Number", 0x0E, 0x10),
    with_words(number("maximum_error", "Maximum Error in Battery Data", 0x0F, 1, 0x10, "%"),
               kUnknownFF),
    hex("sbds_serial_number", "SBDS Serial Number", 0x10, 2, 0x1A),
    field(kSmbKindPackedDate, "sbds_manufacture_date", "SBDS Manufacture Date", 0x12, 2, 0x1A),
    text("sbds_device_chemistry", "SBDS Device Chemistry", 0x14, 0x1A),
    hex("oem_specific", "OEM-specific", 0x16, 4, 0x1A),
};

inline constexpr SmbWord kProbeLocations[] = {
    {1, "Other"},       {2, "Unknown"},        {3, "Processor"},
    {4, "Disk"},        {5, "Peripheral Bay"}, {6, "System Management Module"},
    {7, "Motherboard"}, {8, "Memory Module"},  {9, "Processor Module"},
    {10, "Power Unit"}, {11, "Add-in Card"},
};

inline constexpr SmbStandardField kVoltageProbeFields[] = {
    text("description", "Description", 0x04, 0x14),
    part(enumeration("location", "Location", 0x05, 0x14, kProbeLocations), 0, 5),
    part(enumeration("status", "Status", 0x05, 0x14, kProbeStatus), 5, 3),
    with_words(field(kSmbKindMillivolts, "maximum_value", "Maximum Value", 0x06, 2, 0x14, "mV"),
               kUnknown8000),
    with_words(field(kSmbKindMillivolts, "minimum_value", "Minimum Value", 0x08, 2, 0x14, "mV"),
               kUnknown8000),
    with_words(
        field(kSmbKindTenthsOfMillivolt, "resolution", "Resolution", 0x0A, 2, 0x14, "1/10 mV"),
        kUnknown8000),
    with_words(field(kSmbKindMillivolts, "tolerance", "Tolerance", 0x0C, 2, 0x14, "mV"),
               kUnknown8000),
    with_words(field(kSmbKindHundredthsOfPercent, "accuracy", "Accuracy", 0x0E, 2, 0x14, "1/100 %"),
               kUnknown8000),
    hex("oem_defined", "OEM-defined", 0x10, 4, 0x14),
    with_words(field(kSmbKindMillivolts, "nominal_value", "Nominal Value", 0x14, 2, 0x16, "mV"),
               kUnknown8000),
};

inline constexpr SmbWord kCoolingTypes[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Fan"},
    {4, "Centrifugal Blower"},
    {5, "Chip Fan"},
    {6, "Cabinet Fan"},
    {7, "Power Supply Fan"},
    {8, "Heat Pipe"},
    {9, "Integrated Refrigeration"},
    {16, "Active Cooling"},
    {17, "Passive Cooling"},
};

inline constexpr SmbWord kNoGroup[] = {{0, "None"}};
inline constexpr SmbWord kNonRotating[] = {{0x8000, "Unknown or non-rotating"}};

inline constexpr SmbStandardField kCoolingFields[] = {
    with_words(handle("temperature_probe_handle", "Temperature Probe Handle", 0x04, 0x0C),
               kHandleWords),
    part(enumeration("device_type", "Device Type", 0x06, 0x0C, kCoolingTypes), 0, 5),
    part(enumeration("status", "Status", 0x06, 0x0C, kProbeStatus), 5, 3),
    with_words(number("cooling_unit_group", "Cooling Unit Group", 0x07, 1, 0x0C), kNoGroup),
    hex("oem_defined", "OEM-defined", 0x08, 4, 0x0C),
    with_words(number("nominal_speed", "Nominal Speed", 0x0C, 2, 0x0E, "rpm"), kNonRotating),
    text("description", "Description", 0x0E, 0x0F),
};

inline constexpr SmbWord kTemperatureLocations[] = {
    {1, "Other"},
    {2, "Unknown"},
    {3, "Processor"},
    {4, "Disk"},
    {5, "Peripheral Bay"},
    {6, "System Management Module"},
    {7, "Motherboard"},
    {8, "Memory Module"},
    {9, "Processor Module"},
    {10, "Power Unit"},
    {11, "Add-in Card"},
    {12, "Front Panel Board"},
    {13, "Back Panel Board"},
    {14, "Power System Board"},
    {15, "Drive Back Plane"},
};

inline constexpr SmbStandardField kTemperatureProbeFields[] = {
    text("description", "Description", 0x04, 0x14),
    part(enumeration("location", "Location", 0x05, 0x14, kTemperatureLocations), 0, 5),
    part(enumeration("status", "Status", 0x05, 0x14, kProbeStatus), 5, 3),
    with_words(field(kSmbKindTenthsOfDegree, "maximum_value", "Maximum Value", 0x06, 2, 0x14,
                     "1/10 deg C"),
               kUnknown8000),
    with_words(field(kSmbKindTenthsOfDegree, "minimum_value", "Minimum Value", 0x08, 2, 0x14,
                     "1/10 deg C"),
               kUnknown8000),
    with_words(field(kSmbKindThousandthsOfDegree, "resolution", "Resolution", 0x0A, 2, 0x14,
                     "1/1000 deg C"),
               kUnknown8000),
    with_words(field(kSmbKindTenthsOfDegree, "tolerance", "Tolerance", 0x0C, 2, 0x14, "1/10 deg C"),
               kUnknown8000),
    with_words(field(kSmbKindHundredthsOfPercent, "accuracy", "Accuracy", 0x0E, 2, 0x14, "1/100 %"),
               kUnknown8000),
    hex("oem_defined", "OEM-defined", 0x10, 4, 0x14),
    with_words(field(kSmbKindTenthsOfDegree, "nominal_value", "Nominal Value", 0x14, 2, 0x16,
                     "1/10 deg C"),
               kUnknown8000),
};

inline constexpr SmbStandardField kCurrentProbeFields[] = {
    text("description", "Description", 0x04, 0x14),
    part(enumeration("location", "Location", 0x05, 0x14, kProbeLocations), 0, 5),
    part(enumeration("status", "Status", 0x05, 0x14, kProbeStatus), 5, 3),
    with_words(field(kSmbKindMilliamperes, "maximum_value", "Maximum Value", 0x06, 2, 0x14, "mA"),
               kUnknown8000),
    with_words(field(kSmbKindMilliamperes, "minimum_value", "Minimum Value", 0x08, 2, 0x14, "mA"),
               kUnknown8000),
    with_words(
        field(kSmbKindTenthsOfMilliampere, "resolution", "Resolution", 0x0A, 2, 0x14, "1/10 mA"),
        kUnknown8000),
    with_words(field(kSmbKindMilliamperes, "tolerance", "Tolerance", 0x0C, 2, 0x14, "mA"),
               kUnknown8000),
    with_words(field(kSmbKindHundredthsOfPercent, "accuracy", "Accuracy", 0x0E, 2, 0x14, "1/100 %"),
               kUnknown8000),
    hex("oem_defined", "OEM-defined", 0x10, 4, 0x14),
    with_words(field(kSmbKindMilliamperes, "nominal_value", "Nominal Value", 0x14, 2, 0x16, "mA"),
               kUnknown8000),
};

inline constexpr SmbWord kSupplyTypes[] = {
    {1, "Other"},   {2, "Unknown"}, {3, "Linear"},    {4, "Switching"},
    {5, "Battery"}, {6, "UPS"},     {7, "Converter"}, {8, "Regulator"},
};

inline constexpr SmbWord kSupplyStatus[] = {
    {1, "Other"}, {2, "Unknown"}, {3, "OK"}, {4, "Non-critical"}, {5, "Critical"}};

inline constexpr SmbWord kRangeSwitchings[] = {
    {1, "Other"},       {2, "Unknown"},    {3, "Manual"},
    {4, "Auto-switch"}, {5, "Wide range"}, {6, "Not applicable"},
};

inline constexpr SmbWord kPlugged[] = {{0, "Yes"}, {1, "No"}};

inline constexpr SmbStandardField kPowerSupplyFields[] = {
    with_words(number("power_unit_group", "Power Unit Group", 0x04, 1, 0x10), kNoGroup),
    text("location", "Location", 0x05, 0x10),
    text("device_name", "Device Name", 0x06, 0x10),
    text("manufacturer", "Manufacturer", 0x07, 0x10),
    text("serial_number", "Serial Number", 0x08, 0x10),
    text("asset_tag", "Asset Tag Number", 0x09, 0x10),
    text("model_part_number", "Model Part Number", 0x0A, 0x10),
    text("revision_level", "Revision Level", 0x0B, 0x10),
    with_words(number("max_power_capacity", "Max Power Capacity", 0x0C, 2, 0x10, "W"),
               kUnknown8000),
    part(field(kSmbKindYesNo, "present", "Power Supply is Present", 0x0E, 2, 0x10), 1, 1),
    part(with_words(field(kSmbKindEnumeration, "status", "Status", 0x0E, 2, 0x10), kSupplyStatus),
         7, 3),
    part(with_words(field(kSmbKindEnumeration, "supply_type", "Type", 0x0E, 2, 0x10), kSupplyTypes),
         10, 4),
    part(with_words(field(kSmbKindEnumeration, "input_voltage_range_switching",
                          "Input Voltage Range Switching", 0x0E, 2, 0x10),
                    kRangeSwitchings),
         3, 4),
    part(with_words(field(kSmbKindEnumeration, "plugged", "Plugged", 0x0E, 2, 0x10), kPlugged), 2,
         1),
    part(field(kSmbKindYesNo, "hot_replaceable", "Hot Replaceable", 0x0E, 2, 0x10), 0, 1),
    with_words(handle("input_voltage_probe_handle", "Input Voltage Probe Handle", 0x10, 0x16),
               kHandleWords),
    with_words(handle("cooling_device_handle", "Cooling Device Handle", 0x12, 0x16), kHandleWords),
    with_words(handle("input_current_probe_handle", "Input Current Probe Handle", 0x14, 0x16),
               kHandleWords),
};

inline constexpr SmbStandardType kPowerAndCoolingTypes[] = {
    type(22, "Portable Battery", kBatteryFields),
    type(26, "Voltage Probe", kVoltageProbeFields),
    type(27, "Cooling Device", kCoolingFields),
    type(28, "Temperature Probe", kTemperatureProbeFields),
    type(29, "Electrical Current Probe", kCurrentProbeFields),
    type(39, "System Power Supply", kPowerSupplyFields),
};

}  // namespace standard

#endif  // TVUREV_SMBIOS_STANDARD_POWER_AND_COOLING_H_
