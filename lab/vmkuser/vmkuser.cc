// SPDX-License-Identifier: Apache-2.0
// Stands in for the hypervisor's user-world library on the simulated host: the
// one function of it that is looked up, filled in from a text file. Each line of
// "/etc/vmware/system-version" is a field's name, a blank and its value; what is
// missing stays empty.
#include <cstdio>
#include <cstdlib>
#include <cstring>

struct SystemVersion {
  char Product[32];
  char ProductVersion[128];
  char releaseUpdate[32];
  char releasePatch[32];
  int Build;
};

namespace {

constexpr const char* kFile = "/etc/vmware/system-version";

template <size_t size>
void set_text(char (&field)[size], const char* value) {
  snprintf(field, size, "%.*s", static_cast<int>(size) - 1, value);
}

void set_field(SystemVersion& version, const char* name, const char* value) {
  if (strcmp(name, "Product") == 0) {
    set_text(version.Product, value);
  } else if (strcmp(name, "ProductVersion") == 0) {
    set_text(version.ProductVersion, value);
  } else if (strcmp(name, "releaseUpdate") == 0) {
    set_text(version.releaseUpdate, value);
  } else if (strcmp(name, "releasePatch") == 0) {
    set_text(version.releasePatch, value);
  } else if (strcmp(name, "Build") == 0) {
    version.Build = static_cast<int>(strtol(value, nullptr, 10));
  }
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int VmkuserVersion_GetUniqueSystemVersion(
    SystemVersion* version);

int VmkuserVersion_GetUniqueSystemVersion(SystemVersion* version) {
  *version = {};
  FILE* file = fopen(kFile, "re");
  if (file == nullptr) {
    return -1;
  }
  char line[256];
  while (fgets(line, sizeof line, file) != nullptr) {
    line[strcspn(line, "\n")] = '\0';
    if (char* blank = strchr(line, ' '); blank != nullptr) {
      *blank = '\0';
      set_field(*version, line, blank + 1);
    }
  }
  fclose(file);
  return 0;
}
