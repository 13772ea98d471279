// SPDX-License-Identifier: Apache-2.0
#include "ortinv/summary_command.h"

#include <ortinv/smbios_load.h>
#include <ortinv/smbios_standard.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "ortinv/bmc_commands.h"
#include "ortinv/device_commands.h"
#include "ortinv/host_commands.h"
#include "ortinv/library_array.h"
#include "ortinv/structure.h"
#include "ortinv/summary_screen.h"
#include "ortinv/table_source.h"

namespace {

enum Type : uint8_t {
  kBios = 0,
  kSystem = 1,
  kProcessor = 4,
  kSlot = 9,
  kMemoryDevice = 17,
  kOnboardDevice = 41
};

// The field as text; null when the structure does not have it, and for an empty
// one.
Json field_text(const SmbDecoded& decoded, std::string_view key) {
  for (const SmbValue& value : std::span(decoded.values, decoded.value_count)) {
    if (value.field->key == key) {
      const bool is_text_left_out = value.shape == kSmbShapeText && value.state != kSmbValueGiven;
      return is_text_left_out ? Json() : text_or_null(value.text);
    }
  }
  return {};
}

// A number for programs; null for a word.
Json field_number(const SmbDecoded& decoded, std::string_view key) {
  for (const SmbValue& value : std::span(decoded.values, decoded.value_count)) {
    if (value.field->key == key && is_number(value)) {
      return value.number;
    }
  }
  return {};
}

struct Essential {
  const char* key;    // in the summary
  const char* field;  // of the structure
};

Json essentials_of(const SmbDecoded& decoded, std::span<const Essential> essentials) {
  Json object = Json::object();
  for (const auto& [key, field] : essentials) {
    object[key] = field_text(decoded, field);
  }
  return object;
}

constexpr Essential kOfSystem[] = {{"manufacturer", "manufacturer"},
                                   {"product", "product_name"},
                                   {"serial_number", "serial_number"}};
constexpr Essential kOfBios[] = {
    {"vendor", "vendor"}, {"version", "version"}, {"release_date", "release_date"}};
constexpr Essential kOfProcessor[] = {
    {"socket", "socket_designation"}, {"model", "version"}, {"status", "socket_status"}};
constexpr Essential kOfMemory[] = {{"slot", "device_locator"},
                                   {"bank", "bank_locator"},
                                   {"size", "size"},
                                   {"kind", "memory_type"},
                                   {"speed", "speed"},
                                   {"manufacturer", "manufacturer"},
                                   {"part_number", "part_number"},
                                   {"serial_number", "serial_number"}};
constexpr Essential kOfSlot[] = {{"designation", "designation"},
                                 {"kind", "slot_type"},
                                 {"usage", "current_usage"},
                                 {"address", "pci_address"}};
constexpr Essential kOfOnboardDevice[] = {{"designation", "reference_designation"},
                                          {"kind", "device_type"},
                                          {"usage", "device_status"},
                                          {"address", "pci_address"}};

// The first of its kind is the one that counts.
void set_first(Json& place, Json essentials) {
  if (place.is_null()) {
    place = std::move(essentials);
  }
}

void add_structure(Json& summary, Type type, const SmbDecoded& decoded) {
  switch (type) {
    case kBios:
      set_first(summary["bios"], essentials_of(decoded, kOfBios));
      break;
    case kSystem:
      set_first(summary["system"], essentials_of(decoded, kOfSystem));
      break;
    case kProcessor: {
      Json processor = essentials_of(decoded, kOfProcessor);
      processor["cores"] = field_number(decoded, "core_count");
      summary["processors"].push_back(std::move(processor));
      break;
    }
    case kMemoryDevice: {
      Json module = essentials_of(decoded, kOfMemory);
      module["bytes"] = field_number(decoded, "size");
      summary["memory"].push_back(std::move(module));
      break;
    }
    case kSlot:
      summary["slots"].push_back(essentials_of(decoded, kOfSlot));
      break;
    case kOnboardDevice:
      summary["onboard"].push_back(essentials_of(decoded, kOfOnboardDevice));
      break;
  }
}

bool is_essential(const SmbStructure& structure) {
  constexpr std::array kTypes = {kBios, kSystem, kProcessor, kSlot, kMemoryDevice, kOnboardDevice};
  return structure.behind_end == 0 &&
         std::find(kTypes.begin(), kTypes.end(), structure.type) != kTypes.end();
}

void add_table(const Request& request, Report& report) {
  Json& summary = report.document["summary"];
  summary["system"] = nullptr;
  summary["bios"] = nullptr;
  summary["processors"] = Json::array();
  summary["memory"] = Json::array();
  summary["slots"] = Json::array();
  summary["onboard"] = Json::array();
  if (!open_table(request, report)) {
    return;
  }
  const LibraryArray<SmbStructure> all = list_of<SmbStructure>(SmbListStructures);
  for (const SmbStructure& structure : all.rows()) {
    const DecodedStructure decoded =
        is_essential(structure) ? decode(structure) : DecodedStructure();
    if (decoded != nullptr) {
      add_structure(summary, static_cast<Type>(structure.type), *decoded);
    }
  }
}

// Moves what another command finds into the summary.
void add_section(void (*command)(const Request&, Report&), const Request& request,
                 const char* section, const char* key, Report& report) {
  Report part;
  part.timeout = report.timeout;
  command(request, part);
  for (const Problem& problem : part.problems) {
    report.add_problem(problem.source, problem.message, problem.timed_out);
  }
  report.document["summary"][key] = std::move(part.document[section]);
}

}  // namespace

void report_summary(const Request& request, Report& report) {
  add_table(request, report);
  add_section(report_all_drives, request, "drives", "drives", report);
  add_section(report_all_pci, request, "pci", "pci", report);
  if (!request.is_about_dump()) {
    add_section(report_bmc_address, request, "bmc", "bmc_address", report);
    Json& address = report.document["summary"]["bmc_address"];
    address = Json(address["address"]);
    add_section(report_host_version, request, "host", "host_version", report);
  }
  if (request.wants_text()) {
    report.text = summary_screen(report.document["summary"], request, report);
    report.document.erase("summary");
    // The screen has said it.
    report.own_status = report.exit_status();
    report.problems.clear();
  }
}
