// SPDX-License-Identifier: Apache-2.0
#include "ortinv/support_check.h"

#include <cstdio>

#include "base/file.h"
#include "bmc/generation.h"
#include "log/log.h"
#include "wire/chif.h"
#include "wire/host_files.h"

namespace {

using host_files::kSupportedGeneration;
constexpr const char* kStatusFile = host_files::kBmcStatus;

void write_status_file(int generation) {
  const File file = open_to_write(kStatusFile);
  if (file != nullptr) {
    DebugLog("Generating file [%s]...\n", kStatusFile);
    fprintf(file.get(), "Mox%d\r\n", generation);
  }
}

void log_firmware(const MoxStatus& status, int generation) {
  const unsigned version = get_u16(status, chif::mox_status::kFirmwareVersion);
  const uint32_t date = get_u32(status, chif::mox_status::kFirmwareDate);
  UtilLog("Mox%d: %d.%d (%d/%d/%d)\n", generation, static_cast<int>(version >> 8),
          static_cast<int>(version & 0xFF),
          static_cast<int>((date >> chif::mox_status::kYearShift) + chif::mox_status::kFirstYear),
          static_cast<int>((date >> chif::mox_status::kMonthShift) & chif::mox_status::kMonthMask),
          static_cast<int>((date >> chif::mox_status::kDayShift) & chif::mox_status::kDayMask));
}

int supported_by_bmc() {
  const BmcGeneration answer = query_generation();
  if (answer.result == GenerationQuery::kNoChannel) {
    return 0;
  }
  int supported = 0;
  if (answer.result == GenerationQuery::kAnswered) {
    const int generation = answer.generation;
    DebugLog("utils: get moxStatus Success.  moxStatus.application is [%d]\n", generation);
    // Whatever it is, also the 0 of a BMC that did not answer: later starts believe
    // the file (docs/oddities.md: generation-0-is-kept).
    write_status_file(generation);
    if (generation == kSupportedGeneration) {
      supported = 1;
      DebugLog("utils: Detected Mox6. System IS supported...\n");
      log_firmware(answer.status, generation);
    } else {
      DebugLog("utils: System is NOT supported...\n");
    }
  }
  DebugLog("utils: returning system supported flag = [%d].\n", supported);
  return supported;
}

}  // namespace

int SystemSupported() {
  DebugLog("utils: check if system is supported...\n");
  DebugLog("utils: Looking for file [%s]...\n", kStatusFile);
  const StatusFile file = read_status_file();
  if (file.kind == StatusFileKind::kDoesNotCount || file.kind == StatusFileKind::kUnreadable) {
    return supported_by_bmc();
  }
  if (file.kind == StatusFileKind::kEmpty || file.generation != kSupportedGeneration) {
    return 0;
  }
  DebugLog("utils: Detected Mox6. System IS supported...\n");
  return 1;
}
