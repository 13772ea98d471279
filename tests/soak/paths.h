// SPDX-License-Identifier: Apache-2.0
// Where things are on the sandbox's host.
#ifndef TVUREV_TESTS_SOAK_PATHS_H_
#define TVUREV_TESTS_SOAK_PATHS_H_

#include <unistd.h>

#include <string>
#include <string_view>

inline constexpr const char* kRunningFile = "/opt/ortdv/tmp/tvurevrunning.text";
inline constexpr const char* kBmcStopFile = "/opt/ortdv/tmp/tvurevbmcstop.text";
inline constexpr const char* kOrtStopFile = "/opt/ortdv/tmp/tvurevortstop.text";
inline constexpr const char* kRestartFile = "/opt/ortdv/tmp/tvurevrestart.text";
inline constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";
inline constexpr const char* kDebugSwitch = "/tmp/tvud.text";
inline constexpr const char* kSnmpFile = "/etc/vmware/snmp.xml";
inline constexpr const char* kLogSocket = "/dev/log";
// One line for each power command that was run.
inline constexpr const char* kPowerCommands = "/tmp/power-commands";

inline bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

// Throw std::runtime_error.
void write_file(const std::string& path, std::string_view text);
void touch(const std::string& path);
std::string read_file(const std::string& path);

#endif  // TVUREV_TESTS_SOAK_PATHS_H_
