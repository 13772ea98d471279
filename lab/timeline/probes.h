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

// Connects to the daemon's socket for local agents and writes the bytes.
// Returns the connected descriptor, or -1 while nobody listens.
int send_as_agent(const std::string& bytes);

#endif  // TVUREV_LAB_TIMELINE_PROBES_H_
