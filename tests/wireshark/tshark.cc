// SPDX-License-Identifier: Apache-2.0
#include "tests/wireshark/tshark.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include "lab/capture/record_header.h"
#include "lab/supervisor/child.h"
#include "tests/unit/lab/temporary_directory.h"

namespace {

constexpr time_t kFirstSecond = 1'795'000'000;
constexpr long kApart = 1'000'000;
constexpr long kSecond = 1'000'000'000;

Bytes record_of(uint8_t direction, uint32_t source, const Bytes& packet) {
  const auto header = make_record_header(direction, source);
  Bytes bytes(header.begin(), header.end());
  bytes.insert(bytes.end(), packet.begin(), packet.end());
  return bytes;
}

std::string record_all(const std::string& path, LinkType type, const std::vector<Bytes>& records) {
  CaptureFile file;
  std::string error = file.open(path, type);
  timespec when = {.tv_sec = kFirstSecond, .tv_nsec = 0};
  for (const Bytes& record : records) {
    if (error.empty()) {
      error = file.record(when, record, record.size());
    }
    when.tv_nsec += kApart;
    when.tv_sec += when.tv_nsec / kSecond;
    when.tv_nsec %= kSecond;
  }
  return error;
}

std::string read_all(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

Shown parse_line(const std::string& line, const std::vector<std::string>& fields) {
  constexpr std::string_view kPrefix = "chif.";
  std::istringstream values(line);
  Shown shown;
  std::getline(values, shown.line, '\t');
  std::string value;
  for (const std::string& field : fields) {
    if (std::getline(values, value, '\t') && !value.empty()) {
      const bool ours = field.starts_with(kPrefix);
      shown.fields.push_back(field.substr(ours ? kPrefix.size() : 0) + "=" + value);
    }
  }
  return shown;
}

// Its own settings and plugins, not the user's.
std::string command_for(const TemporaryDirectory& directory,
                        const std::vector<std::string>& fields) {
  std::string command = "HOME=" + directory.path() + " WIRESHARK_CONFIG_DIR=" + directory.path() +
                        " tshark -2 -X lua_script:" DISSECTOR " -r " + (directory / "packets") +
                        " -T fields -E separator=/t -E occurrence=a -E 'aggregator=;'"
                        " -e _ws.col.Info";
  for (const std::string& field : fields) {
    command += " -e " + field;
  }
  return command + " >" + (directory / "out") + " 2>" + (directory / "err");
}

}  // namespace

void PrintTo(const Shown& shown, std::ostream* stream) {
  *stream << "\n  " << shown.line;
  for (const std::string& field : shown.fields) {
    *stream << "\n    " << field;
  }
}

Bytes to_bmc(uint32_t channel, const Bytes& packet) {
  return record_of(record_header::kWritten, channel, packet);
}

Bytes from_bmc(uint32_t channel, const Bytes& packet) {
  return record_of(record_header::kRead, channel, packet);
}

Bytes from_agent(uint32_t process, const Bytes& received) {
  return record_of(record_header::kRead, process, received);
}

Output show(LinkType type, const std::vector<Bytes>& records,
            const std::vector<std::string>& fields) {
  const TemporaryDirectory directory;
  Output output;
  output.errors = record_all(directory / "packets", type, records);
  if (!output.errors.empty()) {
    return output;
  }
  output.status = exit_status_of(std::system(command_for(directory, fields).c_str()));
  output.errors = read_all(directory / "err");
  std::ifstream lines(directory / "out");
  for (std::string line; std::getline(lines, line);) {
    output.records.push_back(parse_line(line, fields));
  }
  return output;
}
