// SPDX-License-Identifier: Apache-2.0
#include "ortinv/memory_info.h"

#include <sys/sysinfo.h>

#include <array>
#include <cstdio>

#include "base/file.h"
#include "base/text.h"
#include "log/log.h"

static_assert(sizeof(HostMemInfo) == 16);

namespace {

constexpr int kKilobytesPerMegabyte = 1024;

struct Kilobytes {
  int total_physical;
  int free_physical;
  int total_virtual;
  int free_virtual;
};

// A number that does not parse leaves its counter as it was.
void read_physical(const char* line, Kilobytes& counters) {
  if (holds(line, "Physical memory estimate:")) {
    sscanf(line, "   Physical memory estimate:%d ", &counters.total_physical);
    DebugLog("talHostMem: total Phys Mem in KB [%d]\n", counters.total_physical);
  }
  if (holds(line, "Free:")) {
    sscanf(line, "   Free:%d ", &counters.free_physical);
    DebugLog("talHostMem: Free Phys Mem in KB  [%d]\n", counters.free_physical);
  }
}

void read_virtual(const char* line, Kilobytes& counters) {
  if (holds(line, "reserved-memory:")) {
    sscanf(line, "   reserved-memory:%d ", &counters.total_virtual);
    DebugLog("talHostMem: total Virtual Mem in KB [%d]\n", counters.total_virtual);
  }
  if (holds(line, "available-memory:")) {
    sscanf(line, "   available-memory:%d ", &counters.free_virtual);
    DebugLog("talHostMem: Free Virtual Mem in KB  [%d]\n", counters.free_virtual);
  }
}

// Returns false, after a log line, when the command could not be started.
bool read_counters(const char* command, void (*read_figures)(const char*, Kilobytes&),
                   Kilobytes& counters) {
  const Command output = start_command(command);
  if (output == nullptr) {
    DebugLog("talHostMem: update_mem_info(): vsish command FAILED!.\n");
    return false;
  }
  std::array<char, 1024> line = {};
  while (read_line(output.get(), line)) {
    read_figures(line.data(), counters);
  }
  return true;
}

}  // namespace

void update_mem_info(HostMemInfo* record) {
  if (record == nullptr) {
    return;
  }
  Kilobytes counters = {};
  if (!read_counters("vsish -e get /memory/comprehensive", read_physical, counters) ||
      !read_counters("vsish -e cat /sched/globalStats/memory/memStats | grep memory", read_virtual,
                     counters)) {
    return;
  }
  record->total_physical = counters.total_physical / kKilobytesPerMegabyte;
  record->free_physical = counters.free_physical / kKilobytesPerMegabyte;
  record->total_virtual = counters.total_virtual / kKilobytesPerMegabyte;
  record->free_virtual = counters.free_virtual / kKilobytesPerMegabyte;
}

long HostUptime() {
  struct sysinfo info = {};
  return sysinfo(&info) == 0 ? info.uptime : 0;
}
