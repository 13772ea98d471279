// SPDX-License-Identifier: Apache-2.0
// Sockets of this machine by their path: the system log's, the agents' and the
// BMC's channels.
#ifndef TVUREV_LAB_SUPERVISOR_LOCAL_SOCKET_H_
#define TVUREV_LAB_SUPERVISOR_LOCAL_SOCKET_H_

#include <string>

#include "base/descriptor.h"

// Connects a socket of this type (SOCK_STREAM, ...), or serves a path that has
// no node yet: binds without blocking, and listens unless the type has no
// connections. No descriptor with errno when it cannot.
Descriptor connect_local(int type, const std::string& path);
Descriptor serve_local(int type, const std::string& path);

// Whether the other end has read everything that was written.
bool is_all_read(int fd);

// Whether the other end is closed; what it sent may still be there.
bool has_hung_up(int fd);

#endif  // TVUREV_LAB_SUPERVISOR_LOCAL_SOCKET_H_
