// Looks at the host from inside: whether its services are ready, and whether
// they have taken everything that was sent to them.
#ifndef TVUREV_LAB_TIMELINE_PROBES_H_
#define TVUREV_LAB_TIMELINE_PROBES_H_

#include <string>
#include <string_view>

// Whether a syslog daemon reads "/dev/log"; sends nothing.
bool syslog_is_ready();

// Sends a line to the syslog daemon.
void send_syslog(const std::string& text);

// Whether no datagram waits unread at UDP port 162. The text is that of
// "/proc/net/udp" or "/proc/net/udp6".
bool trap_ports_are_empty(std::string_view socket_table);
bool trap_ports_are_empty();

// Connects to the daemon's socket for local agents; -1 while nobody listens.
int connect_as_agent();

// Whether the other end has read everything that was written to a local socket,
// and whether it has closed it.
bool is_all_read(int fd);
bool is_closed_by_peer(int fd);

#endif  // TVUREV_LAB_TIMELINE_PROBES_H_
