// SPDX-License-Identifier: Apache-2.0
#include "ctl/report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <deque>
#include <filesystem>
#include <utility>
#include <vector>

#include "base/descriptor.h"
#include "base/file.h"
#include "ctl/archive.h"
#include "ctl/commands.h"
#include "ctl/format.h"
#include "ctl/masking.h"
#include "ctl/states.h"
#include "wire/host_files.h"

namespace {

constexpr size_t kLogLines = 500;
constexpr std::array<const char*, 4> kLogFiles = {"/var/log/syslog.log", "/var/log/syslog",
                                                  "/var/log/messages", "/var/run/log/syslog.log"};

// The daemon's last lines of the host's log.
std::string log_lines() {
  std::deque<std::string> lines;
  for (const char* path : kLogFiles) {
    const File file = open_to_read(path);
    std::array<char, 2048> line = {};
    while (file != nullptr && read_line(file.get(), line)) {
      const std::string text = line.data();
      if (text.find("ortdv") != std::string::npos || text.find("tvurev") != std::string::npos) {
        lines.push_back(text);
      }
      if (lines.size() > kLogLines) {
        lines.pop_front();
      }
    }
    if (!lines.empty()) {
      break;
    }
  }
  std::string text;
  for (const std::string& line : lines) {
    text += line;
  }
  return text.empty() ? "The log cannot be read here, or holds no line of tvurev's.\n" : text;
}

// Names, modes and times of the marker files, and the first bytes of each.
std::string marker_files() {
  constexpr size_t kShown = 4096;
  std::string text;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(host_files::kMarkerFolder, error)) {
    struct stat status = {};
    if (lstat(entry.path().c_str(), &status) != 0) {
      continue;
    }
    std::array<char, 32> rights = {};
    snprintf(rights.data(), rights.size(), "%06o uid %u", status.st_mode, status.st_uid);
    text += entry.path().string() + ": " + rights.data() + ", " + std::to_string(status.st_size) +
            " bytes, changed " + time_text(status.st_mtime) + "\n";
    if (S_ISREG(status.st_mode)) {
      text += text_of_file(entry.path().c_str()).substr(0, kShown) + "\n";
    }
  }
  return error ? host_files::kMarkerFolder + (": " + error.message()) + "\n" : text;
}

std::string versions() {
  utsname host = {};
  uname(&host);
  return std::string("tvurevctl ") + TVUREV_VERSION + "\nhost " + host.nodename + "\nsystem " +
         host.sysname + " " + host.release + " " + host.version + " " + host.machine + "\n";
}

std::string name_of_report(time_t now) {
  utsname host = {};
  uname(&host);
  tm parts = {};
  gmtime_r(&now, &parts);
  std::array<char, 32> time = {};
  strftime(time.data(), time.size(), "%Y%m%dT%H%M%SZ", &parts);
  std::string name =
      std::string("tvurev-report-") + std::string(host.nodename).substr(0, 40) + "-" + time.data();
  std::ranges::replace(name, '/', '_');
  return name;
}

std::vector<ArchivedFile> collect(const std::string& folder, const ReportOptions& options) {
  const CheckReport check = run_check(options.check);
  const Outcome status = run_status(options.show_communities);
  const std::string settings = text_of_file(host_files::kSnmpSettings);
  std::vector<ArchivedFile> files = {{"check.txt", text_of(check, false)},
                                     {"check.json", json_of(check)},
                                     {"status.txt", text_of(status)},
                                     {"status.json", json_of(status)},
                                     {"snmp.xml", settings},
                                     {"files.txt", marker_files()},
                                     {"version.txt", versions()},
                                     {"log.txt", log_lines()}};
  for (ArchivedFile& file : files) {
    if (!options.show_communities) {
      file.text = file.name == "snmp.xml" ? masked_settings(settings)
                                          : masked_by(settings, std::move(file.text));
    }
    file.name = folder + "/" + file.name;
  }
  return files;
}

// Empty, or what went wrong.
std::string write_archive(const std::string& path, const std::string& bytes) {
  const Descriptor file(
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file.valid()) {
    return strerror(errno);
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t now = write(file.get(), bytes.data() + written, bytes.size() - written);
    if (now <= 0) {
      const int error = errno;
      unlink(path.c_str());
      return strerror(error);
    }
    written += static_cast<size_t>(now);
  }
  return "";
}

}  // namespace

Outcome run_report(const ReportOptions& options) {
  Outcome outcome("report");
  const time_t now = time(nullptr);
  const std::string name = name_of_report(now);
  const std::string folder = options.output.empty() ? "." : options.output;
  const std::string path =
      (std::filesystem::absolute(folder).lexically_normal() / (name + ".tgz")).string();
  const std::string fault = write_archive(path, make_archive(collect(name, options), now));
  if (!fault.empty()) {
    return outcome.end(kExitNotDone, path + " cannot be written: " + fault + ".");
  }
  outcome.add("report", "path", path);
  return outcome.end(kExitDone, path);
}
