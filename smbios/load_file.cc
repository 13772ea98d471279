// SPDX-License-Identifier: Apache-2.0
// Tables from files and folders.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "base/file.h"
#include "ortinv/smbios_load.h"
#include "smbios/entry_point.h"
#include "smbios/load.h"

namespace {

using Content = std::vector<uint8_t>;

// A table of the greatest size behind an entry point somewhere in front of it.
constexpr size_t kFileLimit = SMB_TABLE_LIMIT + 65536;
constexpr size_t kStep = 65536;

// Reads up to the limit; more is no table. False with errno.
bool read_all(const std::string& path, Content& content) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.valid()) {
    return false;
  }
  while (content.size() < kFileLimit) {
    const size_t used = content.size();
    content.resize(std::min(used + kStep, kFileLimit));
    ssize_t got = -1;
    do {
      got = read(file.get(), &content[used], content.size() - used);
    } while (got < 0 && errno == EINTR);
    content.resize(used + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got <= 0) {
      return got == 0;
    }
  }
  return true;
}

int refuse_file(const std::string& path, std::span<char> reason) {
  const std::string what = "Cannot read " + path + ": ";
  return refuse(reason, what, strerror(errno));  // NOLINT(concurrency-mt-unsafe)
}

int load_folder(const std::string& folder, std::span<char> reason) {
  Content entry_point;
  Content table;
  for (const auto& [name, content] :
       {std::pair{"/smbios_entry_point", &entry_point}, std::pair{"/DMI", &table}}) {
    if (!read_all(folder + name, *content)) {
      return refuse_file(folder + name, reason);
    }
  }
  return SmBiosLoadTable(entry_point.data(), entry_point.size(), table.data(), table.size(),
                         reason.data(), reason.size());
}

bool is_folder(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

// A bare table has its entry point beside it.
int load_path(const std::string& path, std::span<char> reason) {
  if (is_folder(path)) {
    return load_folder(path, reason);
  }
  const size_t slash = path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name == "DMI" && exists((folder + "/smbios_entry_point").c_str())) {
    return load_folder(folder, reason);
  }
  Content dump;
  if (!read_all(path, dump)) {
    return refuse_file(path, reason);
  }
  return SmBiosLoadDump(dump.data(), dump.size(), reason.data(), reason.size());
}

}  // namespace

int SmBiosLoadFile(const char* path, char* reason, size_t reason_size) {
  const std::span<char> reason_field(reason, reason == nullptr ? 0 : reason_size);
  if (!may_load(reason_field)) {
    return -1;
  }
  if (path == nullptr) {
    return refuse(reason_field, "There is no path");
  }
  try {
    return load_path(path, reason_field);
  } catch (const std::bad_alloc&) {
    return refuse(reason_field, "There is no memory for the table");
  }
}
