// SPDX-License-Identifier: Apache-2.0
#include "ortinv/host_commands.h"

#include <ortinv/host_identity.h>
#include <ortinv/memory_info.h>
#include <ortinv/software_table.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "ortinv/bounded_query.h"
#include "ortinv/choices.h"
#include "ortinv/library_array.h"
#include "ortinv/sources.h"

namespace {

// What the host's document reads before anything has answered: also when a source
// never does, every key is there.
constexpr const char* kHostKeys[] = {
    "product",        "version", "full_version",  "short_version", "build",         "system_type",
    "system_subtype", "kernel",  "major_version", "memory",        "uptime_seconds"};

void report_identity(Report& report) {
  check_command("uname", report);
  HostIdentity identity = {};
  getDistro(&identity);
  const bool has_version = identity.product[0] != '\0';
  if (!has_version) {
    report.add_problem("libvmkuser.so",
                       "gave no version; run ortinv on the host, with the library on its path");
  }
  const auto version_text = [has_version](const char* text) {
    return has_version ? text_or_null(text) : Json();
  };
  report.document["host"] = {{"product", version_text(identity.product)},
                             {"version", version_text(identity.version)},
                             {"full_version", version_text(identity.full_version)},
                             {"short_version", version_text(identity.short_version)},
                             {"build", has_version ? Json(identity.build) : Json()},
                             {"system_type", identity.system_type},
                             {"system_subtype", identity.system_subtype},
                             {"kernel", text_or_null(identity.sysDescr)}};
}

void report_major_version(Report& report) {
  if (!check_command("localcli", report)) {
    return;
  }
  const char first = get_distro();
  if (first < '0' || first > '9') {
    report.add_problem("localcli",
                       "\"localcli system version get\" gave no version; run it by hand");
    return;
  }
  report.document["host"]["major_version"] = std::string(1, first);
}

// A figure of the host's memory: what vsish calls it, and where it goes.
struct Figure {
  const char* key;
  const char* printed_as;
  int32_t HostMemInfo::*value;
};

constexpr Figure kPhysical[] = {
    {"total_physical_mb", "Physical memory estimate:", &HostMemInfo::total_physical},
    {"free_physical_mb", "Free:", &HostMemInfo::free_physical}};
constexpr Figure kVirtual[] = {
    {"total_virtual_mb", "reserved-memory:", &HostMemInfo::total_virtual},
    {"free_virtual_mb", "available-memory:", &HostMemInfo::free_virtual}};

// The number in kilobytes that a line of vsish ends in, where it is one that the
// library's record cannot hold.
std::string_view number_too_large(std::string_view line, std::string_view name) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  if (!line.starts_with(name)) {
    return {};
  }
  std::string_view number = line.substr(name.size());
  number.remove_prefix(std::min(number.find_first_not_of(' '), number.size()));
  number = number.substr(0, number.find_first_not_of("0123456789"));
  int32_t fits = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), fits);
  return error == std::errc::result_out_of_range ? number : std::string_view();
}

// Runs what the library runs, and takes back each figure that it has read as what
// was left in 32 bits.
void take_back(Json& memory, const char* command, std::span<const Figure> figures, Report& report) {
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command, "re"), pclose);
  std::array<char, 1024> line = {};
  while (output != nullptr && fgets(line.data(), line.size(), output.get()) != nullptr) {
    for (const Figure& figure : figures) {
      const std::string_view number = number_too_large(line.data(), figure.printed_as);
      if (number.empty()) {
        continue;
      }
      const std::string printed = std::string(figure.printed_as) + std::string(number) + " KB";
      memory[figure.key] = nullptr;
      memory["printed"][figure.key] = printed;
      report.warnings.push_back("vsish prints \"" + printed +
                                "\", which does not fit the 32 bits of the record; the figure "
                                "cannot be told");
    }
  }
}

// The figures as the library has them, but for those that it cannot have.
void report_memory(Report& report) {
  constexpr const char* kPhysicalCommand = "vsish -e get /memory/comprehensive";
  Json memory;
  if (check_command("vsish", report)) {
    HostMemInfo record = {};
    update_mem_info(&record);
    for (const std::span<const Figure> figures : {std::span<const Figure>(kPhysical), {kVirtual}}) {
      for (const Figure& figure : figures) {
        memory[figure.key] = record.*figure.value;
      }
    }
    take_back(memory, kPhysicalCommand, kPhysical, report);
    take_back(memory, "vsish -e cat /sched/globalStats/memory/memStats", kVirtual, report);
    if (memory["total_physical_mb"].is_number() && record.total_physical <= 0) {
      report.add_problem("vsish", std::string("\"") + kPhysicalCommand +
                                      "\" gave no usable memory size; run it by hand");
      memory = nullptr;
    }
  }
  report.document["host"]["memory"] = std::move(memory);
}

Json package_json(const SwInstalledRec& record, const char* form) {
  return {{"name", record.name},
          {"version", text_or_null(record.version)},
          {"vendor", text_or_null(record.vendor)},
          {"summary", text_or_null(record.summary)},
          {"description", text_or_null(record.description)},
          {"release_date", text_or_null(record.releaseDate)},
          {"install_date", text_or_null(record.installDate)},
          {"acceptance_level", text_or_null(record.acceptanceLevel)},
          {"kind", text_or_null(record.kind)},
          {"form", form}};
}

// The library's table holds the component form only.
LibraryArray<SwInstalledRec> bulletins() {
  return list_of<SwInstalledRec>(SwListBulletins);
}

Json package_named(const std::string& name) {
  SwInstalledRec record = {};
  if (SwFindInstalled(name.c_str(), &record) == 1) {
    return package_json(record, "component");
  }
  const LibraryArray<SwInstalledRec> others = bulletins();
  for (const SwInstalledRec& bulletin : others.rows()) {
    if (name == bulletin.name) {
      return package_json(bulletin, "bulletin");
    }
  }
  return {};
}

void add_all_packages(Json& packages) {
  uint32_t count = 0;
  const SwInstalledRec* table = get_software_installed_table(&count);
  for (uint32_t i = 0; i < count; ++i) {
    if (table[i].name[0] != '\0') {
      packages.push_back(package_json(table[i], "component"));
    }
  }
  const LibraryArray<SwInstalledRec> others = bulletins();
  for (const SwInstalledRec& bulletin : others.rows()) {
    if (bulletin.name[0] != '\0') {
      packages.push_back(package_json(bulletin, "bulletin"));
    }
  }
}

void report_all_packages(Report& report) {
  Json packages = Json::array();
  if (check_directory(ortinv_image_database(), "run ortinv on the host itself", report)) {
    add_all_packages(packages);
    report.missing = packages.empty() ? "no package descriptions in the image database" : "";
  }
  report.document["software"] = std::move(packages);
}

void report_package(const std::string& name, Report& report) {
  Json packages = Json::array();
  if (check_directory(ortinv_image_database(), "run ortinv on the host itself", report)) {
    init_sw_installed_table();
    if (Json package = package_named(name); !package.is_null()) {
      packages.push_back(std::move(package));
    } else {
      report.missing = "no installed package is named " + name;
    }
    SwDestroyTable();
  }
  report.document["software"] = std::move(packages);
}

}  // namespace

void report_host(const Request& /*request*/, Report& report) {
  Json& host = report.document["host"] = Json::object();
  for (const char* key : kHostKeys) {
    host[key] = nullptr;
  }
  // One after the other, so that one that hangs does not take the others along.
  ask_in_time("uname", report, report_identity);
  ask_in_time("localcli", report, report_major_version);
  ask_in_time("vsish", report, report_memory);
  report.document["host"]["uptime_seconds"] = HostUptime();
}

void report_host_version(const Request& /*request*/, Report& report) {
  report.document["host"] = nullptr;
  ask_in_time("uname", report, report_identity);
  const Json host = std::move(report.document["host"]);
  report.document["host"] = host.is_object() ? host["version"] : Json();
}

void report_software(const Request& request, Report& report) {
  if (request.package.empty()) {
    report_all_packages(report);
  } else {
    report_package(request.package, report);
  }
}

Words package_choices() {
  Report report;
  report_all_packages(report);
  Words names;
  for (const Json& package : report.document["software"]) {
    names.push_back(package["name"]);
  }
  return names;
}
