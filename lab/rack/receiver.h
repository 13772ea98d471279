// SPDX-License-Identifier: Apache-2.0
// A trap receiver of a rack: the real snmptrapd, how many traps of which host it
// printed, and what the kernel knows of its socket.
#ifndef TVUREV_LAB_RACK_RECEIVER_H_
#define TVUREV_LAB_RACK_RECEIVER_H_

#include <string>
#include <string_view>
#include <vector>

#include "lab/supervisor/child.h"

// What the kernel says of a UDP socket.
struct SocketCounts {
  long waiting_bytes = 0;  // as the socket's buffer counts them, with their overhead
  long dropped = 0;        // datagrams that found the buffer full
};

// The socket at port 162 of an IPv4 address, from the text of "/proc/net/udp".
SocketCounts socket_counts(std::string_view table, const std::string& address);

// The datagrams that every program of the network namespace sent so far, from the
// text of "/proc/net/snmp".
long datagrams_sent(std::string_view table);

// The processor time of a program and of the children that it has reaped, in
// seconds, from the text of its "/proc/PID/stat".
double processor_seconds(std::string_view stat);

struct ReceiverSettings {
  long buffer = 0;      // bytes to ask the kernel for; 0: its default
  std::string handler;  // a command to run for every trap; none when empty
};

struct Receiver {
  std::string address;
  Child snmptrapd;
  long printed = 0;
  SocketCounts socket;

  // By host number: the last running number seen.
  std::vector<long> last;
  long misplaced = 0;  // traps that came twice, out of order or from a strange address
  std::string first_misplaced;
};

// Returns an empty text, or what went wrong.
std::string start_receiver(Receiver* receiver, const std::string& address, int hosts,
                           const ReceiverSettings& settings);

// Counts what it printed since the last call. A line that is no trap is passed over.
void count_traps(Receiver* receiver);

// Counts one printed line:
//
//   198.18.0.1 UDP: [198.18.0.1]:40000->[192.0.2.7]:162 ... .1.3.6.1.4.1.32473.1.1.1.0 = 7 ...
//
// agent address, where the datagram came from, bindings; ours has the running number.
void count_trap(Receiver* receiver, const std::string& line);

#endif  // TVUREV_LAB_RACK_RECEIVER_H_
