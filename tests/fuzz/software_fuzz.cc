// SPDX-License-Identifier: Apache-2.0
// The image database's files through both parsers, the table and the look-up.
//
// Input: the debug switches; then the files: name and content, each up to a zero
// byte.
#include <cstdlib>
#include <cstring>
#include <string>

#include "ortinv/software_table.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr const char* kFolder = "/var/db/esximg/bulletins/";
constexpr size_t kFilesMax = 8;
constexpr size_t kNameMax = 200;

void read_folder(Input& input, FakeHost& host) {
  while (!input.empty() && host.folder.size() < kFilesMax) {
    const std::string name(input.text_until(0).substr(0, kNameMax));
    if (name.find('/') == std::string::npos) {
      host.files[kFolder + name] = input.text_until(0);
      host.folder.push_back(name);
    }
  }
}

template <size_t size>
void tell_field(const char (&field)[size], FakeHost& host) {
  require(memchr(field, 0, size) != nullptr, "a text ends in its field");
  host.tell(field);
}

void tell_records(const SwInstalledRec* records, uint32_t count, FakeHost& host) {
  require(count <= host.folder.size(), "a file has one record at most");
  for (uint32_t index = 0; index < count; ++index) {
    const SwInstalledRec& record = records[index];
    tell_field(record.name, host);
    tell_field(record.version, host);
    tell_field(record.installDate, host);
    tell_field(record.releaseDate, host);
    tell_field(record.vendor, host);
    tell_field(record.acceptanceLevel, host);
    tell_field(record.summary, host);
    tell_field(record.description, host);
    tell_field(record.kind, host);
    const std::string kind = record.kind;
    require(kind.empty() || kind == "module" || kind == "driver", "there are two kinds");
  }
}

void look_up(const SwInstalledRec* records, uint32_t count, FakeHost& host) {
  for (uint32_t index = 0; index < count; ++index) {
    SwInstalledRec found = {};
    require(SwFindInstalled(records[index].name, &found) == 1 &&
                strcmp(found.name, records[index].name) == 0,
            "what is in the table is found");
  }
  SwInstalledRec found = {};
  host.tell(std::to_string(SwFindInstalled("\x01", &found)));
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  read_folder(input, host);
  init_sw_installed_table();
  uint32_t count = 0;
  const SwInstalledRec* table = get_software_installed_table(&count);
  require(SwInstalledCount() == count, "the table is counted");
  tell_records(table, count, host);
  look_up(table, count, host);
  SwInstalledRec* bulletins = nullptr;
  const int result = SwListBulletins(&bulletins, &count);
  require(result == 0 || (result == -1 && bulletins == nullptr && count == 0),
          "bulletins are listed or there are none");
  tell_records(bulletins, count, host);
  free(bulletins);
  require(SwDestroyTable() == 0, "the table is released");
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
