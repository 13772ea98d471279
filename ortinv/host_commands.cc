// SPDX-License-Identifier: Apache-2.0
#include "ortinv/host_commands.h"

#include <ortinv/host_identity.h>
#include <ortinv/memory_info.h>
#include <ortinv/software_table.h>

#include <cstdint>
#include <memory>
#include <span>
#include <utility>

#include "ortinv/library_array.h"
#include "ortinv/sources.h"

namespace {

Json identity_json(Report& report) {
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
  return {{"product", version_text(identity.product)},
          {"version", version_text(identity.version)},
          {"full_version", version_text(identity.full_version)},
          {"short_version", version_text(identity.short_version)},
          {"build", has_version ? Json(identity.build) : Json()},
          {"system_type", identity.system_type},
          {"system_subtype", identity.system_subtype},
          {"kernel", text_or_null(identity.sysDescr)}};
}

Json major_version(Report& report) {
  if (!check_command("localcli", report)) {
    return {};
  }
  const char first = get_distro();
  if (first < '0' || first > '9') {
    report.add_problem("localcli",
                       "\"localcli system version get\" gave no version; run it by hand");
    return {};
  }
  return std::string(1, first);
}

Json memory_json(Report& report) {
  if (!check_command("vsish", report)) {
    return {};
  }
  HostMemInfo memory = {};
  update_mem_info(&memory);
  if (memory.total_physical <= 0) {
    report.add_problem(
        "vsish",
        "\"vsish -e get /memory/comprehensive\" gave no usable memory size; run it by hand");
    return {};
  }
  return {{"total_physical_mb", memory.total_physical},
          {"free_physical_mb", memory.free_physical},
          {"total_virtual_mb", memory.total_virtual},
          {"free_virtual_mb", memory.free_virtual}};
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

}  // namespace

void report_host(Report& report) {
  Json host = identity_json(report);
  host["major_version"] = major_version(report);
  host["memory"] = memory_json(report);
  host["uptime_seconds"] = HostUptime();
  report.document["host"] = std::move(host);
}

void report_software(const std::string& name, Report& report) {
  Json packages = Json::array();
  if (check_directory(ortinv_image_database(), "run ortinv on the host itself", report)) {
    if (name.empty()) {
      add_all_packages(packages);
      report.missing = packages.empty() ? "no package descriptions in the image database" : "";
    } else {
      init_sw_installed_table();
      if (Json package = package_named(name); !package.is_null()) {
        packages.push_back(std::move(package));
      } else {
        report.missing = "no installed package is named " + name;
      }
      SwDestroyTable();
    }
  }
  report.document["software"] = std::move(packages);
}
