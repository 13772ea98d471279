// SPDX-License-Identifier: Apache-2.0
// The host's end of a channel: a SOCK_SEQPACKET socket connected to the node
// that the simulated BMC serves. The socket is bound to the abstract name
// "\0" + node path + "\0" + which folder that is, which makes the kernel keep the
// channel exclusive: it is taken from the open until the last copy of the
// descriptor is closed, by whatever call and in whatever process. The folder
// keeps hosts apart that have the same paths and share a network namespace. The
// same name tells a channel from every other descriptor, so nothing has to be
// remembered.
//
// Used inside other programs' processes: results and errno are those of the
// driver's device calls.
#ifndef TVUREV_LAB_SHIM_CHANNEL_SOCKET_H_
#define TVUREV_LAB_SHIM_CHANNEL_SOCKET_H_

#include <sys/types.h>
#include <sys/un.h>

#include <cstddef>

// A node's path is this and a number.
inline constexpr const char* kNodePrefix = "/vmfs/devices/char/vmkdriver/zemox-d0ccb";

// Connects to the BMC at a node. Returns a descriptor, or -1 with errno: EBUSY
// when the channel is taken or nobody serves it, ENOENT without the node.
int channel_open(const char* path, int flags);

// Finds out whether a descriptor is a channel, and copies its node's path.
// Leaves errno alone.
bool channel_path(int fd, char (&path)[sizeof(sockaddr_un::sun_path)]);

// Sends one packet. Returns its length, or -1 with errno. Waits while the BMC
// does not take packets; only a fault says EBUSY.
ssize_t channel_write(int fd, const char* path, const void* packet, size_t length);

// Waits for the next packet and puts it into the buffer of chif::kPacketMax bytes. Returns its
// length, 0 for an empty packet, or -1 with errno: EIO after the BMC hung up.
int channel_read(int fd, const char* path, void* buffer);

#endif  // TVUREV_LAB_SHIM_CHANNEL_SOCKET_H_
