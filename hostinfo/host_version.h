// SPDX-License-Identifier: Apache-2.0
// The version record of the hypervisor, as its user-world library fills it in.
// The library is looked up when it is first needed, so that this code also
// starts on a machine that lacks it. Internal to this folder.
#ifndef TVUREV_HOSTINFO_HOST_VERSION_H_
#define TVUREV_HOSTINFO_HOST_VERSION_H_

// Layout fixed by the platform.
struct HostVersion {
  char Product[32];
  char ProductVersion[128];
  char releaseUpdate[32];  // a decimal number as text
  char releasePatch[32];   // a decimal number as text
  int Build;
};
static_assert(sizeof(HostVersion) == 228);

// Asks VmkuserVersion_GetUniqueSystemVersion of "libvmkuser.so". Every text is
// terminated inside its field. Without the library all fields are empty and 0.
HostVersion read_host_version();

#endif  // TVUREV_HOSTINFO_HOST_VERSION_H_
