// SPDX-License-Identifier: Apache-2.0
#include "bmc/generation.h"

#include <cstdio>

#include "base/file.h"
#include "bmc/channel.h"
#include "log/log.h"
#include "wire/host_files.h"

StatusFile read_status_file() {
  // Another user's file could keep the daemon from running, or make it run.
  if (!belongs_to_root(host_files::kBmcStatus)) {
    DebugLog("utils: File not Found.  Pulling info from Mox...\n");
    return {StatusFileKind::kDoesNotCount, 0};
  }
  DebugLog("utils: Found file\n");
  const File file = open_to_read(host_files::kBmcStatus);
  if (file == nullptr) {
    DebugLog("utils: Failed to open file [%s]. Will pull info directly from mox...\n",
             host_files::kBmcStatus);
    return {StatusFileKind::kUnreadable, 0};
  }
  std::array<char, 128> line = {};
  int generation = 0;
  if (!read_line(file.get(), line)) {
    return {StatusFileKind::kEmpty, 0};
  }
  sscanf(line.data(), "Mox%d", &generation);  // a line that does not parse leaves 0
  DebugLog("utils: Read from file Mox status [%d]\n", generation);
  return {StatusFileKind::kRead, generation};
}

BmcGeneration query_generation() {
  BmcGeneration answer = {
      .result = GenerationQuery::kNoChannel, .length = 0, .generation = 0, .status = {}};
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    UtilLog("get moxStatus Failed: openMP() failed.\n");
    return answer;
  }
  std::array<uint8_t, chif::header::kSize> request = {};
  const int result = getResponse(fd, chif::kCmdMoxStatus, request, answer.status, &answer.length);
  close_channel(fd);
  if (result != 0) {
    UtilLog(" getResponse() for moxStatus Failed!\n");
    answer.result = GenerationQuery::kFailed;
    return answer;
  }
  const auto application =
      static_cast<int8_t>(get_u8(answer.status, chif::mox_status::kApplication));
  answer.generation = application;  // NOLINT(bugprone-signed-char-misuse): it is signed
  answer.result = GenerationQuery::kAnswered;
  return answer;
}
