// SPDX-License-Identifier: Apache-2.0
// The network calls of the classes under test, recorded and, where a test asks
// for it, answered in place of the C library (--wrap). Names are never looked
// up for real: a name without an answer here does not resolve.
#ifndef TVUREV_TESTS_UNIT_SNMP_PP_NETWORK_CALLS_H_
#define TVUREV_TESTS_UNIT_SNMP_PP_NETWORK_CALLS_H_

#include <map>
#include <string>
#include <vector>

// Records from construction to destruction; one at a time.
class NetworkCalls {
 public:
  NetworkCalls();
  NetworkCalls(const NetworkCalls&) = delete;
  NetworkCalls& operator=(const NetworkCalls&) = delete;
  ~NetworkCalls();

  // Answers to a look-up, as dotted quads: the first is the one returned first.
  std::map<std::string, std::vector<std::string>> names;
  // What gethostname says; empty makes it fail.
  std::string host_name = "the-host";
  // The errno with which the call fails; 0 lets it through.
  int socket_error = 0;
  int bind_error = 0;
  int send_error = 0;
  // Swallow bind and sendto: nothing leaves the process, 0 respectively the
  // length is returned.
  bool swallow = false;

  // The calls so far: "socket", "bind 0.0.0.0:5555", "sendto 127.0.0.1:162",
  // "close".
  std::vector<std::string> calls;
  // The names looked up, in order.
  std::vector<std::string> look_ups;
  // Whether the socket of the last sendto was close-on-exec.
  bool close_on_exec = false;
  // What the last sendto carried.
  std::vector<unsigned char> sent;
};

#endif  // TVUREV_TESTS_UNIT_SNMP_PP_NETWORK_CALLS_H_
