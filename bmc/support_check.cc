// SPDX-License-Identifier: Apache-2.0
#include "ortinv/support_check.h"

#include <array>
#include <cstdio>

#include "base/file.h"
#include "bmc/channel.h"
#include "log/log.h"
#include "wire/chif.h"

namespace {

constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";
constexpr int kSupportedGeneration = 6;

// The response to the status query, as far as it is read.
using MoxStatus = std::array<uint8_t, chif::mox_status::kSize>;

int supported_by_file(FILE* file) {
  std::array<char, 128> line = {};
  int generation = 0;
  if (!read_line(file, line)) {
    return 0;
  }
  sscanf(line.data(), "Mox%d", &generation);  // a line that does not parse leaves 0
  DebugLog("utils: Read from file Mox status [%d]\n", generation);
  if (generation != kSupportedGeneration) {
    return 0;
  }
  DebugLog("utils: Detected Mox6. System IS supported...\n");
  return 1;
}

// Asks once (docs/oddities.md: one-failed-query-ends-it).
bool query_status(int fd, MoxStatus& status) {
  std::array<uint8_t, chif::header::kSize> request = {};
  const int result = getResponse(fd, chif::kCmdMoxStatus, request, status, nullptr);
  close_channel(fd);
  if (result != 0) {
    UtilLog(" getResponse() for moxStatus Failed!\n");
    return false;
  }
  return true;
}

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
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    UtilLog("get moxStatus Failed: openMP() failed.\n");
    return 0;
  }
  MoxStatus status = {};
  int supported = 0;
  if (query_status(fd, status)) {
    const auto application = static_cast<int8_t>(get_u8(status, chif::mox_status::kApplication));
    const int generation = application;  // NOLINT(bugprone-signed-char-misuse): it is signed
    DebugLog("utils: get moxStatus Success.  moxStatus.application is [%d]\n", generation);
    // Whatever it is, also the 0 of a BMC that did not answer: later starts believe
    // the file (docs/oddities.md: generation-0-is-kept).
    write_status_file(generation);
    if (generation == kSupportedGeneration) {
      supported = 1;
      DebugLog("utils: Detected Mox6. System IS supported...\n");
      log_firmware(status, generation);
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
  // Another user's file could keep the daemon from running, or make it run.
  if (!belongs_to_root(kStatusFile)) {
    DebugLog("utils: File not Found.  Pulling info from Mox...\n");
    return supported_by_bmc();
  }
  DebugLog("utils: Found file\n");
  const File file = open_to_read(kStatusFile);
  if (file == nullptr) {
    DebugLog("utils: Failed to open file [%s]. Will pull info directly from mox...\n", kStatusFile);
    return supported_by_bmc();
  }
  return supported_by_file(file.get());
}
