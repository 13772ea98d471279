// SPDX-License-Identifier: Apache-2.0
// The first two gates: the driver, and the BMC with what is remembered of it.

#include <ortinv/variables.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "base/file.h"
#include "bmc/generation.h"
#include "ctl/checking.h"
#include "wire/host_files.h"

namespace {

int number_in(const std::string& lines, const char* key) {
  return atoi(value_of(lines, key).c_str());
}

int count_channels() {
  int channels = 0;
  for (int channel = 0; channel <= host_files::kHighestChannel; ++channel) {
    const std::string path = host_files::kChannelNode + std::to_string(channel);
    channels += exists(path.c_str()) ? 1 : 0;
  }
  return channels;
}

void check_status_file(Checking& checking) {
  const StatusFile file = read_status_file();
  const char* path = host_files::kBmcStatus;
  switch (file.kind) {
    case StatusFileKind::kDoesNotCount:
      checking.findings.add(exists(path) ? "status-file-other-owner" : "status-file-absent",
                            {path});
      return;
    case StatusFileKind::kUnreadable:
      checking.findings.add_for_later("status-file-unreadable", {path, strerror(errno)},
                                      "This one is passed over, and the BMC asked.");
      return;
    case StatusFileKind::kEmpty:
      checking.add_gate("status-file-unreadable", {path, "it has no first line"});
      return;
    case StatusFileKind::kRead:
      break;
  }
  if (file.generation == host_files::kSupportedGeneration) {
    checking.findings.add("status-file", {path});
  } else {
    checking.add_gate("status-file-other-generation", {path, std::to_string(file.generation)});
  }
}

void check_mode(Checking& checking, const std::string& answers) {
  const char* variable = ortinv_mode_variable();
  const std::string value = value_of(answers, "value");
  switch (number_in(answers, "mode")) {
    case kOrtinvReadThere:
      if (value == "0") {
        checking.add_gate("mode-off", {variable});
      } else {
        checking.findings.add("mode", {variable, value});
      }
      return;
    case kOrtinvReadMissing:
      checking.add_gate("mode-missing", {variable});
      return;
    case kOrtinvReadRefused:
      checking.add_gate("mode-unreadable",
                        {variable, "it answers with status " + value_of(answers, "status")});
      return;
    case kOrtinvReadNoChannel:
      checking.add_gate("mode-unreadable", {variable, "no channel is free"});
      return;
    default:
      checking.add_gate("mode-unreadable", {variable, "the query fails"});
  }
}

// Whether the status file lets the daemon pass without asking.
bool passes_by_file() {
  const StatusFile file = read_status_file();
  return file.kind == StatusFileKind::kRead && file.generation == host_files::kSupportedGeneration;
}

void check_generation(Checking& checking, const std::string& answers) {
  const int generation = number_in(answers, "generation");
  if (generation == host_files::kSupportedGeneration) {
    checking.findings.add("bmc", {value_of(answers, "firmware")});
  } else if (passes_by_file()) {
    checking.findings.add_for_later("bmc-other-generation", {std::to_string(generation)},
                                    "The status file is believed before it.");
  } else {
    checking.add_gate("bmc-other-generation", {std::to_string(generation)});
  }
}

}  // namespace

bool check_driver(Checking& checking) {
  if (!exists(host_files::kDriverNode)) {
    checking.add_gate("driver-missing", {host_files::kDriverNode});
  } else {
    checking.findings.add("driver", {host_files::kDriverNode});
  }
  const int channels = count_channels();
  if (channels == 0) {
    checking.findings.add("channels-missing", {std::string(host_files::kChannelNode) + "0 to " +
                                               std::to_string(host_files::kHighestChannel)});
    return false;
  }
  checking.findings.add("channels", {std::to_string(channels)});
  return true;
}

// Each of the two opens a channel of its own and closes it again.
std::string ask_bmc() {
  const BmcGeneration answer = query_generation();
  std::string text = "result=" + std::to_string(static_cast<int>(answer.result)) +
                     "\nlength=" + std::to_string(answer.length) +
                     "\ngeneration=" + std::to_string(answer.generation) + "\n";
  if (answer.result != GenerationQuery::kAnswered || answer.length == 0) {
    return text;
  }
  const unsigned version = get_u16(answer.status, chif::mox_status::kFirmwareVersion);
  text += "firmware=" + std::to_string(version >> 8) + "." + std::to_string(version & 0xFF) + "\n";
  uint8_t value = 0;
  uint8_t status = 0;
  const int read =
      ortinv_read_variable(ortinv_mode_variable(), &value, kOrtinvModeSize, nullptr, &status);
  return text + "mode=" + std::to_string(read) + "\nvalue=" + std::to_string(value) +
         "\nstatus=" + std::to_string(status) + "\n";
}

void check_bmc(Checking& checking, const Job& answers) {
  check_status_file(checking);
  if (answers.end != Job::End::kAnswered) {
    checking.findings.add("bmc-silent");
    return;
  }
  const auto result = static_cast<GenerationQuery>(number_in(answers.text, "result"));
  if (result == GenerationQuery::kNoChannel) {
    checking.add_gate("channels-busy");
  } else if (result == GenerationQuery::kFailed) {
    checking.findings.add("bmc-query-failed");
  } else if (number_in(answers.text, "length") == 0) {
    checking.findings.add("bmc-silent");
  } else {
    check_generation(checking, answers.text);
    check_mode(checking, answers.text);
  }
}

void check_no_bmc(Checking& checking, std::string_view why) {
  check_status_file(checking);
  checking.findings.add("bmc-not-asked", {why});
}
