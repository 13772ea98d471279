// SPDX-License-Identifier: Apache-2.0
// What happens while the table is locked, seen from the calls that lock it.
#include <pthread.h>

#include <functional>
#include <string>

#include "tests/unit/smbios/loaded_table.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names that --wrap gives
extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Called with "lock" or "unlock" before each; set for one call of the library.
std::function<void(const char*)> g_on_mutex;

}  // namespace

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (g_on_mutex) {
    g_on_mutex("lock");
  }
  return __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  if (g_on_mutex) {
    g_on_mutex("unlock");
  }
  return __real_pthread_mutex_unlock(mutex);
}

namespace {

class Lock : public LoadedTable {
 protected:
  // Each locking and unlocking during a request for records, with the first
  // string of the first slot as it reads then.
  static Lines seen_during_request(uint32_t type) {
    const uint8_t* structure = structure_of(9);
    Lines seen;
    void* records = nullptr;
    g_on_mutex = [&](const char* call) {
      seen.push_back(std::string(call) + " " + SmBiosGetString(structure, 1));
    };
    SmBiosGetRecords(type, &records, nullptr);
    g_on_mutex = nullptr;
    free(records);
    return seen;
  }
};

TEST_F(Lock, IsHeldWhileTextsAreCleanedInTheTable) {
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17).string(4, "Slot\t1")));
  EXPECT_EQ(seen_during_request(9), Lines({"lock Slot\t1", "unlock Slot.1"}));
}

TEST_F(Lock, IsReleasedWithoutStructuresOfTheType) {
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17).string(4, "Slot")));
  EXPECT_EQ(seen_during_request(195), Lines({"lock Slot", "unlock Slot"}));
}

TEST_F(Lock, IsReleasedWithoutMemory) {
  load(SmbiosTable().add(SmbiosStructure(9, 1, 17).string(4, "Slot")));
  CallScript script;
  script.fail_calloc(1);
  EXPECT_EQ(seen_during_request(9), Lines({"lock Slot", "unlock Slot"}));
}

}  // namespace
