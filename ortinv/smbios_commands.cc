// SPDX-License-Identifier: Apache-2.0
#include "ortinv/smbios_commands.h"

#include <ortinv/oem_queries.h>
#include <ortinv/smbios_table.h>
#include <ortinv/smbios_types.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "ortinv/library_array.h"
#include "ortinv/smbios_records_json.h"
#include "ortinv/sources.h"

namespace {

constexpr const char* kDevice = "/vmfs/devices/char/mem/smbios";

// Calls show for the records of the type, or of each type that has any.
void for_each_type(std::optional<uint32_t> wanted, Report& report,
                   const std::function<void(const SmbType&, const void*, uint32_t)>& show) {
  if (!open_smbios(report)) {
    return;
  }
  bool any = false;
  for (uint32_t i = 0; i < SmbTypeCount(); ++i) {
    const SmbType& type = *SmbTypeAt(i);
    void* records = nullptr;
    uint32_t count = 0;
    if (wanted.value_or(type.type) != type.type ||
        SmBiosGetRecords(type.type, &records, &count) != 0) {
      continue;
    }
    const std::unique_ptr<void, Freer> owner(records);
    show(type, records, count);
    any = true;
  }
  if (!any) {
    report.missing = wanted.has_value() ? "no SMBIOS structure of type " + std::to_string(*wanted)
                                        : std::string("no SMBIOS structure that has a dump");
  }
}

// Reads up to digits hexadecimal ones and what must follow them.
bool take_number(std::string_view& text, size_t digits, std::string_view end, uint32_t& number) {
  const size_t length = end.empty() ? text.size() : text.find(end);
  if (length == std::string_view::npos || length == 0 || length > digits) {
    return false;
  }
  const auto [stop, error] = std::from_chars(text.data(), text.data() + length, number, 16);
  if (error != std::errc() || stop != text.data() + length) {
    return false;
  }
  text.remove_prefix(length + end.size());
  return true;
}

uint8_t device_function(const PciAddress& address) {
  return static_cast<uint8_t>(address.device << 3U | address.function);
}

// Null when the table knows nothing about the device.
Json pci_json(const PciAddress& address) {
  const auto [segment, bus, device, function] = address;
  const std::unique_ptr<char, Freer> location(SmbGetPciLocation(segment, bus, device, function));
  // These two queries know no segments above 255: cut, they would answer for
  // another device.
  const bool has_short_segment = segment <= 0xFF;
  const auto short_segment = static_cast<uint8_t>(segment);
  const auto short_bus = static_cast<uint8_t>(bus);
  const char* linked_text =
      has_short_segment
          ? SmbGetPciLinkedString(short_segment, short_bus, static_cast<uint8_t>(device),
                                  static_cast<uint8_t>(function))
          : nullptr;
  const uint8_t port = has_short_segment
                           ? SmbGetNicPortNum(short_segment, short_bus, device_function(address))
                           : uint8_t{0};
  Json json = {{"location", text_or_null(location.get())},
               {"name", text_or_null(SmbGetPciName(segment, bus, device, function))},
               {"part_number", text_or_null(SmbGetPartNumber(segment, bus, device, function))},
               {"linked_text", text_or_null(linked_text)},
               {"nic_port", port == 0 ? Json() : Json(port)}};
  for (const auto& [key, value] : json.items()) {
    if (!value.is_null()) {
      Json found = {{"address", pci_address_text(address)}};
      found.update(json);
      return found;
    }
  }
  return {};
}

Json drive_json(const std::string& serial) {
  const char* location = SmbGetHdLoc(serial.c_str());
  const char* text = SmbGetHdString(serial.c_str());
  if (location == nullptr && text == nullptr) {
    return {};
  }
  return {{"serial_number", serial},
          {"location", text_or_null(location)},
          {"text", text_or_null(text)}};
}

void add_unless_null(Json& list, Json object) {
  if (!object.is_null()) {
    list.push_back(std::move(object));
  }
}

// Each once, sorted.
std::set<std::string> drive_serials() {
  std::set<std::string> serials;
  const LibraryArray<SmbDriveInfo> drives = list_of<SmbDriveInfo>(SmbListDrives);
  for (const SmbDriveInfo& drive : drives.rows()) {
    serials.insert(drive.serial);
  }
  serials.erase("");
  return serials;
}

}  // namespace

std::vector<uint32_t> dumped_types() {
  std::vector<uint32_t> types;
  for (uint32_t i = 0; i < SmbTypeCount(); ++i) {
    types.push_back(SmbTypeAt(i)->type);
  }
  return types;
}

std::optional<PciAddress> parse_pci_address(const std::string& text) {
  std::string_view rest = text;
  PciAddress address = {};
  if (!take_number(rest, 4, ":", address.segment) || !take_number(rest, 2, ":", address.bus) ||
      !take_number(rest, 2, ".", address.device) || !take_number(rest, 1, "", address.function) ||
      address.device > 0x1F || address.function > 7) {
    return {};
  }
  return address;
}

std::string pci_address_text(const PciAddress& address) {
  std::array<char, 48> text = {};
  snprintf(text.data(), text.size(), "%04x:%02x:%02x.%x", address.segment, address.bus,
           address.device, address.function);
  return text.data();
}

bool open_smbios(Report& report) {
  if (SmBiosInit() == 0) {
    return true;
  }
  const std::string reason = why_unreadable(kDevice);
  const std::string message =
      reason.empty() ? "holds no 32-bit SMBIOS table; ortinv needs a server whose firmware has one"
                     : reason + "; run ortinv as root on the host itself";
  for (const Problem& problem : report.problems) {
    if (problem.source == kDevice) {
      return false;
    }
  }
  report.add_problem(kDevice, message);
  return false;
}

void report_smbios(std::optional<uint32_t> type, Report& report) {
  Json records = Json::array();
  for_each_type(type, report, [&](const SmbType& found, const void* first, uint32_t count) {
    append_smbios_records(records, found, first, count);
  });
  report.document["smbios"] = std::move(records);
}

void dump_smbios(std::optional<uint32_t> type, Report& report) {
  for_each_type(type, report, [](const SmbType& found, const void* first, uint32_t count) {
    SmbDumpRecords(found.type, first, count, stdout);
  });
}

void report_pci(const PciAddress& address, Report& report) {
  Json devices = Json::array();
  if (open_smbios(report)) {
    add_unless_null(devices, pci_json(address));
    report.missing =
        devices.empty() ? "the SMBIOS table knows no PCI device " + pci_address_text(address) : "";
  }
  report.document["pci"] = std::move(devices);
}

void report_drive(const std::string& serial, Report& report) {
  Json drives = Json::array();
  if (open_smbios(report)) {
    add_unless_null(drives, drive_json(serial));
    report.missing =
        drives.empty() ? "the SMBIOS table knows no drive with serial number " + serial : "";
  }
  report.document["drives"] = std::move(drives);
}

void report_all_pci(Report& report) {
  Json devices = Json::array();
  if (open_smbios(report)) {
    const LibraryArray<SmbPciAddress> addresses = list_of<SmbPciAddress>(SmbListPciDevices);
    for (const auto& [segment, bus, device, function] : addresses.rows()) {
      const PciAddress address = {segment, bus, device, function};
      add_unless_null(devices, pci_json(address));
    }
  }
  report.document["pci"] = std::move(devices);
}

void report_all_drives(Report& report) {
  Json drives = Json::array();
  if (open_smbios(report)) {
    for (const std::string& serial : drive_serials()) {
      add_unless_null(drives, drive_json(serial));
    }
  }
  report.document["drives"] = std::move(drives);
}
