// SPDX-License-Identifier: Apache-2.0
#include "ortinv/device_commands.h"

#include <ortinv/oem_queries.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "ortinv/choices.h"
#include "ortinv/library_array.h"
#include "ortinv/table_source.h"

namespace {

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

// NOLINTNEXTLINE(bugprone-exception-escape): the document's move asserts, and throws nothing
struct DeviceAnswer {
  Json json;
  bool has_any = false;  // a text or a number
};

DeviceAnswer device_answer(const PciAddress& address) {
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
  DeviceAnswer answer;
  answer.json = {{"address", pci_address_text(address)},
                 {"location", text_or_null(location.get())},
                 {"name", text_or_null(SmbGetPciName(segment, bus, device, function))},
                 {"part_number", text_or_null(SmbGetPartNumber(segment, bus, device, function))},
                 {"linked_text", text_or_null(linked_text)},
                 {"nic_port", port == 0 ? Json() : Json(port)}};
  answer.has_any = std::any_of(std::next(answer.json.begin()), answer.json.end(),
                               [](const Json& value) { return !value.is_null(); });
  return answer;
}

std::vector<PciAddress> listed_addresses() {
  std::vector<PciAddress> all;
  const LibraryArray<SmbPciAddress> addresses = list_of<SmbPciAddress>(SmbListPciDevices);
  for (const auto& [segment, bus, device, function] : addresses.rows()) {
    all.push_back({segment, bus, device, function});
  }
  return all;
}

bool is_listed(const PciAddress& address) {
  const std::vector<PciAddress> all = listed_addresses();
  return std::find(all.begin(), all.end(), address) != all.end();
}

Json drive_json(const SmbDriveInfo& drive) {
  return {{"serial_number", text_or_null(drive.serial)},
          {"location", text_or_null(drive.location)},
          {"text", text_or_null(drive.text)}};
}

// The drives of exactly this serial number; without any, and unless only those
// were asked for, the drives whose serial number begins so.
Json matching_drives(const Request& request, Report& report) {
  Json exact = Json::array();
  Json beginning = Json::array();
  const LibraryArray<SmbDriveInfo> drives = list_of<SmbDriveInfo>(SmbListDrives);
  for (const SmbDriveInfo& drive : drives.rows()) {
    const std::string_view serial = drive.serial;
    if (serial == request.serial) {
      exact.push_back(drive_json(drive));
    } else if (!request.exact && serial.starts_with(request.serial)) {
      beginning.push_back(drive_json(drive));
    }
  }
  Json& found = exact.empty() ? beginning : exact;
  if (found.empty()) {
    report.missing = "the SMBIOS table knows no drive with serial number " + request.serial;
  } else if (exact.empty() && found.size() > 1) {
    report.missing = std::to_string(found.size()) +
                     " drives have a serial number that begins with " + request.serial;
  }
  return found;
}

}  // namespace

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

void report_pci(const Request& request, Report& report) {
  const PciAddress address = parse_pci_address(request.pci_address).value_or(PciAddress{});
  Json devices = Json::array();
  if (open_table(request, report)) {
    DeviceAnswer answer = device_answer(address);
    if (answer.has_any || is_listed(address)) {
      devices.push_back(std::move(answer.json));
    } else {
      report.missing = "the SMBIOS table knows no PCI device " + pci_address_text(address);
    }
  }
  report.document["pci"] = std::move(devices);
}

void report_drive(const Request& request, Report& report) {
  report.document["drives"] =
      open_table(request, report) ? matching_drives(request, report) : Json::array();
}

void report_all_pci(const Request& request, Report& report) {
  Json devices = Json::array();
  if (open_table(request, report)) {
    for (const PciAddress& address : listed_addresses()) {
      devices.push_back(device_answer(address).json);
    }
  }
  report.document["pci"] = std::move(devices);
}

void report_all_drives(const Request& request, Report& report) {
  Json all = Json::array();
  if (open_table(request, report)) {
    const LibraryArray<SmbDriveInfo> drives = list_of<SmbDriveInfo>(SmbListDrives);
    for (const SmbDriveInfo& drive : drives.rows()) {
      all.push_back(drive_json(drive));
    }
  }
  report.document["drives"] = std::move(all);
}

Words pci_choices() {
  Words words;
  Report report;
  if (open_table({}, report)) {
    for (const PciAddress& address : listed_addresses()) {
      words.push_back(pci_address_text(address));
    }
  }
  return words;
}

Words serial_choices() {
  Words words;
  Report report;
  report_all_drives({}, report);
  for (const Json& drive : report.document["drives"]) {
    if (drive["serial_number"].is_string()) {
      words.push_back(drive["serial_number"]);
    }
  }
  return words;
}
