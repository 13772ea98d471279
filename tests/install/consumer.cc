// SPDX-License-Identifier: Apache-2.0
// A C++ program that uses the installed library.
#include <ortinv/ortinv.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

// std::to_string has a table that exists once in a process: the static library
// must not bring another one along.
bool check(const char* what, bool holds) {
  static int checks = 0;
  std::printf("%s: %s (%s)\n", holds ? "ok" : "FAILED", what, std::to_string(++checks).c_str());
  return holds;
}

// The table's strings, when this machine has the device; else the answer
// without one.
bool check_smbios() {
  if (SmBiosInit() != 0) {
    void* records = nullptr;
    return check("no records without a table", SmBiosGetRecords(1, &records, nullptr) == -1) &&
           check("no location without a table", SmbGetPciLocation(0, 1, 0, 0) == nullptr);
  }
  void* records = nullptr;
  uint32_t count = 0;
  bool good = check("system information", SmBiosGetRecords(1, &records, &count) == 0 && count > 0);
  if (good) {
    const std::unique_ptr<SmbSystemInfoRec, void (*)(void*)> systems(
        static_cast<SmbSystemInfoRec*>(records), &std::free);
    good = check("manufacturer", systems->manufacturer[0] != '\0');
  }
  return check("table is released", SmBiosTerm() == 0) && good;
}

bool check_software() {
  init_sw_installed_table();
  uint32_t count = 0;
  const SwInstalledRec* table = get_software_installed_table(&count);
  SwInstalledRec record = {};
  bool good = check("count", count == SwInstalledCount());
  if (table != nullptr && count > 0) {
    good = check("first name is found", SwFindInstalled(table->name, &record) == 1) && good;
  }
  return check("table is destroyed", SwDestroyTable() == 0) && good;
}

}  // namespace

int main(int argc, char** argv) {
  bool good = check("version", argc == 2 && std::string_view(ortinv_version()) == argv[1]);
  good = check_smbios() && good;
  good = check_software() && good;
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
