// SPDX-License-Identifier: Apache-2.0
// What the host's tools and its platform's library say of memory, version and PCI
// devices.
//
// Input: the debug switches; which commands cannot be started; the platform's
// version record; then the output of each command up to a zero byte: memory,
// virtual memory, version, kernel, devices.
#include <algorithm>
#include <cstring>
#include <string>

// The identity is built once in a process: its flag must be reached.
#include "hostinfo/host_identity.cc"  // NOLINT(bugprone-suspicious-include)
#include "ortinv/memory_info.h"
#include "ortinv/pci_support_check.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr const char* kCommands[] = {
    "vsish -e get /memory/comprehensive",
    "vsish -e cat /sched/globalStats/memory/memStats | grep memory",
    "localcli system version get | awk '/Version:/{print $2}'",
    "uname -a",
    "/sbin/localcli hardware pci list",
};
constexpr int32_t kUntouched = -77;

HostVersion g_platform_version;

int platform_call(HostVersion* version) {
  *version = g_platform_version;
  return 0;
}

template <size_t size>
void tell_field(const char (&field)[size], FakeHost& host) {
  require(memchr(field, 0, size) != nullptr, "a text ends in its field");
  host.tell(field);
}

void ask_for_memory(FakeHost& host) {
  HostMemInfo memory = {kUntouched, kUntouched, kUntouched, kUntouched};
  update_mem_info(&memory);
  const bool started = host.commands.contains(kCommands[0]) && host.commands.contains(kCommands[1]);
  constexpr int32_t kMost = INT32_MAX / 1024;
  for (const int32_t figure :
       {memory.total_physical, memory.free_physical, memory.total_virtual, memory.free_virtual}) {
    require(started ? figure <= kMost && figure >= -kMost - 1 : figure == kUntouched,
            "figures are megabytes of 32 bits, or stay as they were");
    host.tell(std::to_string(figure));
  }
}

void ask_for_identity(FakeHost& host) {
  g_distro_built = 0;
  HostIdentity identity = {};
  getDistro(&identity);
  tell_field(identity.product, host);
  tell_field(identity.version, host);
  tell_field(identity.full_version, host);
  tell_field(identity.system_type, host);
  tell_field(identity.system_subtype, host);
  tell_field(identity.short_version, host);
  tell_field(identity.sysDescr, host);
  HostIdentity again = {};
  getDistro(&again);
  require(memcmp(&identity, &again, sizeof again) == 0, "the identity is kept");
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const uint8_t missing = input.byte();
  const auto version = input.take(sizeof g_platform_version);
  memset(&g_platform_version, 0, sizeof g_platform_version);
  std::ranges::copy(version, reinterpret_cast<uint8_t*>(&g_platform_version));
  for (size_t command = 0; command < std::size(kCommands); ++command) {
    const std::string_view output = input.text_until(0);
    if ((missing >> command & 1) == 0) {
      host.commands[kCommands[command]] = output;
    }
  }
  ask_for_memory(host);
  ask_for_identity(host);
  host.tell(std::string(1, get_distro()));
  for (const int32_t generation : {4, 5, 6}) {
    const int supported = system_is_supported(generation);
    require(supported == 0 || supported == 1, "a server is supported or not");
    host.tell(std::to_string(supported));
  }
  return host.story;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
void* __real_dlopen(const char* name, int flags);
void* __real_dlsym(void* library, const char* name);
void* __wrap_dlopen(const char* name, int flags);
void* __wrap_dlsym(void* library, const char* name);

void* __wrap_dlopen(const char* name, int flags) {
  return strstr(name, "vmkuser") != nullptr ? &g_platform_version : __real_dlopen(name, flags);
}
void* __wrap_dlsym(void* library, const char* name) {
  return library == &g_platform_version ? reinterpret_cast<void*>(platform_call)
                                        : __real_dlsym(library, name);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
