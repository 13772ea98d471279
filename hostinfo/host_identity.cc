// SPDX-License-Identifier: Apache-2.0
#include "ortinv/host_identity.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <span>

#include "base/file.h"
#include "base/text.h"
#include "hostinfo/host_version.h"
#include "log/log.h"

static_assert(sizeof(HostIdentity) == 1068);

namespace {

// Written by getDistro only, and only until it has been built.
HostIdentity g_distro_id;
int g_distro_built;

bool is_graphic(char character) {
  return character >= '!' && character <= '~';
}

// The first character is never cut: kept on purpose because an empty text
// means that there is no version (docs/oddities.md: host-version-first-character).
void cut_trailing_non_graphic(char* text) {
  size_t length = strlen(text);
  while (length > 1 && !is_graphic(text[length - 1])) {
    text[--length] = '\0';
  }
}

// A text that holds no number counts as 0.
int number_in(const char* text) {
  int number = 0;
  sscanf(text, "%d", &number);
  return number;
}

void read_kernel_description(std::span<char> sys_descr) {
  DebugLog("talHost getDistro(): Calling popen() for uname cmd...\n");
  const Command uname = start_command("uname -a");
  std::array<char, 256> line = {};
  if (uname == nullptr || !read_line(uname.get(), line)) {
    return;
  }
  const size_t length = strlen(line.data());
  if (length > 0) {
    line[length - 1] = '\0';
  }
  copy_text(sys_descr, line.data());
  DebugLog("talHost getDistro():  g_distro_id.sysDescr is [%s]\n", sys_descr.data());
}

void log_version(const HostVersion& version) {
  DebugLog("talHost getDistro(): Product:        [%s]\n", version.Product);
  DebugLog("talHost getDistro(): ProductVersion: [%s]\n", version.ProductVersion);
  DebugLog("talHost getDistro(): releaseUpdate:  [%s]\n", version.releaseUpdate);
  DebugLog("talHost getDistro(): releasePatch:   [%s]\n", version.releasePatch);
  DebugLog("talHost getDistro(): Build           [%d]\n", version.Build);
}

// Holds either version text whole: the longest possible is 212 characters.
using VersionText = std::array<char, 256>;

VersionText long_version_text(const HostVersion& from, int update, int patch) {
  VersionText text = {};
  if (update < 1 && patch > 0) {
    snprintf(text.data(), text.size(), "%s %s Build-%d Patch %d", from.Product, from.ProductVersion,
             from.Build, patch);
  } else if (update < 1) {
    snprintf(text.data(), text.size(), "%s %s Build-%d", from.Product, from.ProductVersion,
             from.Build);
  } else if (patch < 1) {
    snprintf(text.data(), text.size(), "%s %s Build-%d Update %d", from.Product,
             from.ProductVersion, from.Build, update);
  } else {
    snprintf(text.data(), text.size(), "%s %s Build-%d Update %d Patch %d", from.Product,
             from.ProductVersion, from.Build, update, patch);
  }
  return text;
}

VersionText short_version_text(const HostVersion& from, int update, int patch) {
  VersionText text = {};
  if (update < 1 && patch < 1) {
    snprintf(text.data(), text.size(), "%s Build-%d", from.ProductVersion, from.Build);
  } else if (update < 1) {
    snprintf(text.data(), text.size(), "%s Build-%d Patch %d", from.ProductVersion, from.Build,
             patch);
  } else if (patch > 0) {
    snprintf(text.data(), text.size(), "%s Build-%d Update %d Patch %d", from.ProductVersion,
             from.Build, update, patch);
  } else {
    snprintf(text.data(), text.size(), "%s Build-%d Update %d", from.ProductVersion, from.Build,
             update);
  }
  return text;
}

void read_version(HostIdentity& identity) {
  DebugLog("talHost getDistro(): Calling VmkuserVersion_GetUniqueSystemVersion()...\n");
  const HostVersion version = read_host_version();
  log_version(version);
  copy_text(identity.product, version.Product);
  const int update = number_in(version.releaseUpdate);
  const int patch = number_in(version.releasePatch);
  copy_text(identity.short_version, short_version_text(version, update, patch).data());
  const VersionText long_version = long_version_text(version, update, patch);
  copy_text(identity.full_version, long_version.data());
  cut_trailing_non_graphic(identity.full_version);
  copy_text(identity.version, long_version.data());
  cut_trailing_non_graphic(identity.version);
  identity.build = static_cast<uint32_t>(version.Build);
}

}  // namespace

char get_distro() {
  std::array<char, 128> line = {};
  const Command version = start_command("localcli system version get | awk '/Version:/{print $2}'");
  if (version == nullptr) {
    DebugLog("utils: %s: popen FAILED!.\n", "get_distro");
    return line[0];
  }
  if (!read_line(version.get(), line)) {
    DebugLog("utils: %s: get ESXi version FAILED!\n", "get_distro");
  }
  return line[0];
}

void getDistro(HostIdentity* record) {
  DebugLog("talHost getDistro() start... \n");
  if (g_distro_built != 0) {
    if (record == nullptr) {
      return;
    }
    DebugLog("talHost getDistro() already initialized. Copying global distro to requestor... \n");
    *record = g_distro_id;
    return;
  }
  DebugLog("talHost getDistro() not yet initialized... \n");
  g_distro_id = {};
  if (record == nullptr) {
    return;
  }
  read_kernel_description(g_distro_id.sysDescr);
  read_version(g_distro_id);
  copy_text(g_distro_id.system_type, "Server");
  copy_text(g_distro_id.system_subtype, "Server_3");
  g_distro_built = 1;
  *record = g_distro_id;
  DebugLog("talHost getDistro(): Done.  Return.\n");
}
