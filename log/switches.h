// SPDX-License-Identifier: Apache-2.0
// The switch files of the debug output, all under /tmp, named MODULE.text: four that
// count when root owns them, and those by which the modules are chosen of which
// DebugLog writes.
#ifndef TVUREV_LOG_SWITCHES_H_
#define TVUREV_LOG_SWITCHES_H_

#include <array>

// Read at start (log/debug_flags.h).
inline constexpr const char* kUtilitiesSwitch = "/tmp/ortdebug.text";
inline constexpr const char* kDaemonSwitch = "/tmp/tvud.text";
inline constexpr const char* kChifSwitch = "/tmp/chif.text";
inline constexpr const char* kAgentxSwitch = "/tmp/agentx.text";

struct ModuleSwitch {
  const char* switch_file;
  const char* keyword;        // "" is in every message
  const char* other_keyword;  // null where there is only one
};

// Tested in this order. Keywords overlap, since operators count on what each file
// shows (docs/oddities.md: module-filter-overlaps): "ide" matches any word that
// holds those letters, and "pci" passes what "pcie" would.
inline constexpr std::array<ModuleSwitch, 18> kModuleSwitches = {{
    {"/tmp/ortAll.text", "", nullptr},
    {"/tmp/ortd.text", "ortd", nullptr},
    {"/tmp/entity.text", "entity", nullptr},
    {"/tmp/talnic.text", "talNic", nullptr},
    {"/tmp/talnic2.text", "talnic", nullptr},
    {"/tmp/talide.text", "ide", nullptr},
    {"/tmp/talsas.text", "sas", nullptr},
    {"/tmp/talfca.text", "fca", nullptr},
    {"/tmp/talseusb.text", "usb", nullptr},
    {"/tmp/talsepci.text", "pci", nullptr},
    {"/tmp/pciedisk.text", "pcie", nullptr},
    {"/tmp/iscsi.text", "iscsi", nullptr},
    {"/tmp/talhost.text", "talHost", nullptr},
    {"/tmp/talhoswver.text", "talHoSwVer", nullptr},
    {"/tmp/vbq.text", "bb", "vbq"},
    {"/tmp/smbios.text", "smbios", nullptr},
    {"/tmp/utils.text", "utils", nullptr},
    {"/tmp/mox.text", "moxApi", nullptr},
}};

#endif  // TVUREV_LOG_SWITCHES_H_
