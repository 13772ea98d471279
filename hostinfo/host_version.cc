// SPDX-License-Identifier: Apache-2.0
#include "hostinfo/host_version.h"

#include <dlfcn.h>

#include <array>
#include <cstddef>

namespace {

constexpr std::array<const char*, 2> kLibraryNames = {"libvmkuser.so", "libvmkuser.so.1"};

using GetUniqueSystemVersion = int (*)(HostVersion*);

template <size_t size>
void terminate(char (&text)[size]) {
  text[size - 1] = '\0';
}

GetUniqueSystemVersion find_platform_call() {
  for (const char* name : kLibraryNames) {
    // Never closed: the call may be needed for as long as the process lives.
    void* library = dlopen(name, RTLD_NOW);
    if (library != nullptr) {
      return reinterpret_cast<GetUniqueSystemVersion>(
          dlsym(library, "VmkuserVersion_GetUniqueSystemVersion"));
    }
  }
  return nullptr;
}

}  // namespace

HostVersion read_host_version() {
  static const GetUniqueSystemVersion platform_call = find_platform_call();
  HostVersion version = {};
  if (platform_call != nullptr) {
    platform_call(&version);
  }
  terminate(version.Product);
  terminate(version.ProductVersion);
  terminate(version.releaseUpdate);
  terminate(version.releasePatch);
  return version;
}
