// SPDX-License-Identifier: Apache-2.0
#include "ortinv/software_table.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "base/descriptor.h"
#include "base/file.h"
#include "base/text.h"
#include "hostinfo/settable_path.h"
#include "hostinfo/software_parse.h"
#include "log/log.h"

static_assert(sizeof(SwInstalledRec) == 1344);

namespace {

constexpr size_t kPathSize = 256;
constexpr size_t kLineSize = 4096;

constinit SettablePath g_image_database("/var/db/esximg/bulletins/");

// The table. Written by the build and the release only.
SwInstalledRec* g_table;
uint32_t g_table_size;  // records allocated; a look-up never goes beyond them
uint32_t swCount;       // records filled, also by direct calls of the parsers

// The lock exists between init_sw_installed_table and SwDestroyTable.
pthread_mutex_t g_lock = PTHREAD_MUTEX_INITIALIZER;
pthread_mutexattr_t g_lock_attributes;
bool g_lock_created;

struct Listing {
  dirent** entries = nullptr;
  int count = 0;

  explicit Listing(const char* directory)
      : count(scandir(directory, &entries, nullptr, alphasort)) {}
  ~Listing() {
    for (int i = 0; i < count; ++i) {
      free(entries[i]);
    }
    free(entries);
  }
  Listing(const Listing&) = delete;
  Listing& operator=(const Listing&) = delete;
};

// Opens regular files only: a pipe must not hold the caller up, and a directory
// is no description.
File open_description(const char* path) {
  Descriptor fd(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  struct stat status = {};
  if (!fd.valid() || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return {};
  }
  File file(fdopen(fd.get(), "r"));
  if (file != nullptr) {
    fd.release();
  }
  return file;
}

// What sets the two forms apart.
struct Form {
  bool (*is_skipped)(const char* name, const char* path);
  void (*parse_line)(std::string_view line, SwInstalledRec& record);
};

constexpr Form kComponentForm = {
    [](const char*, const char* path) { return holds(path, "unstable"); }, parse_component_line};
constexpr Form kBulletinForm = {
    [](const char* name, const char*) { return holds(name, "orig") || holds(name, ".sig"); },
    parse_bulletin_line};

// Returns whether there was a file, which then has its record.
bool parse_file(const char* name, const char* directory, const Form& form, SwInstalledRec& record) {
  if (name[0] == '.') {
    return false;
  }
  std::array<char, kPathSize> path = {};
  if (snprintf(path.data(), path.size(), "%s%s", directory, name) < 0 ||
      form.is_skipped(name, path.data())) {
    return false;
  }
  const File file = open_description(path.data());
  if (file == nullptr) {
    return false;
  }
  std::array<char, kLineSize> line = {};
  while (read_line(file.get(), line)) {
    form.parse_line(line.data(), record);
  }
  return true;
}

// Returns the number of records filled.
uint32_t parse_files(dirent** entries, int entry_count, SwInstalledRec* records,
                     const char* directory, const Form& form) {
  uint32_t filled = 0;
  if (records == nullptr || entries == nullptr || directory == nullptr) {
    return filled;
  }
  for (int i = 0; i < entry_count; ++i) {
    if (parse_file(entries[i]->d_name, directory, form, records[filled])) {
      ++filled;
    }
  }
  return filled;
}

SwInstalledRec* allocate_records(size_t count) {
  return static_cast<SwInstalledRec*>(calloc(count, sizeof(SwInstalledRec)));
}

void create_lock() {
  if (g_lock_created) {
    return;
  }
  pthread_mutexattr_init(&g_lock_attributes);
  pthread_mutexattr_settype(&g_lock_attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&g_lock, &g_lock_attributes);
  g_lock_created = true;
}

}  // namespace

int SwParseComponents(dirent** entries, int entry_count, SwInstalledRec* records,
                      const char* directory) {
  swCount += parse_files(entries, entry_count, records, directory, kComponentForm);
  return 0;
}

int SwParseBulletins(dirent** entries, int entry_count, SwInstalledRec* records,
                     const char* directory) {
  swCount += parse_files(entries, entry_count, records, directory, kBulletinForm);
  return 0;
}

int SwListBulletins(SwInstalledRec** records, uint32_t* count) {
  if (records == nullptr || count == nullptr) {
    return -1;
  }
  *records = nullptr;
  *count = 0;
  const Listing listing(g_image_database.get());
  if (listing.count < 1) {
    return -1;
  }
  *records = allocate_records(static_cast<size_t>(listing.count));
  if (*records == nullptr) {
    return -1;
  }
  *count =
      parse_files(listing.entries, listing.count, *records, g_image_database.get(), kBulletinForm);
  if (*count == 0) {
    free(*records);
    *records = nullptr;
  }
  return 0;
}

const char* ortinv_image_database() {
  return g_image_database.get();
}

int ortinv_set_image_database(const char* directory) {
  return g_image_database.set(directory, "/") ? 0 : -1;
}

void init_sw_installed_table() {
  create_lock();
  if (get_software_installed_table(nullptr) == nullptr) {
    UtilLog(" init_sw_installed_table(): get_software_installed_table() returned NULL table.\n");
  }
}

SwInstalledRec* get_software_installed_table(uint32_t* count) {
  SwFreeTable();
  const Listing listing(g_image_database.get());
  if (listing.count > 0) {
    DebugLog("swCount [%d]. Allocating mem...\n", listing.count);
    const auto size = static_cast<uint32_t>(listing.count);
    g_table = allocate_records(size);
    if (g_table != nullptr) {
      g_table_size = size;
      SwParseComponents(listing.entries, listing.count, g_table, g_image_database.get());
    }
  }
  if (count != nullptr) {
    *count = swCount;
  }
  return g_table;
}

int SwFindInstalled(const char* name, SwInstalledRec* record) {
  if (name == nullptr || record == nullptr || g_table == nullptr || swCount == 0) {
    return 0;
  }
  pthread_mutex_lock(&g_lock);
  int found = 0;
  const uint32_t filled = std::min(swCount, g_table_size);
  for (uint32_t i = 0; i < filled && found == 0; ++i) {
    if (strcmp(name, g_table[i].name) == 0) {
      *record = g_table[i];
      found = 1;
    }
  }
  pthread_mutex_unlock(&g_lock);
  return found;
}

uint32_t SwInstalledCount() {
  return swCount;
}

// Clears the pointer too, so that a rebuild that fails gives null and a second
// release does nothing.
void SwFreeTable() {
  free(g_table);
  g_table = nullptr;
  g_table_size = 0;
  swCount = 0;
}

int SwDestroyTable() {
  SwFreeTable();
  if (!g_lock_created) {
    return 0;
  }
  const int result = pthread_mutex_destroy(&g_lock);
  if (result != 0) {
    return result;  // held by someone: it goes on being the lock
  }
  g_lock = PTHREAD_MUTEX_INITIALIZER;
  g_lock_created = false;
  return pthread_mutexattr_destroy(&g_lock_attributes);
}
