// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/trap_daemon.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr const char* kEveryAddress = "0.0.0.0";
constexpr const char* kPort = ":00A2";  // 162

bool is_ipv6(const std::string& address) {
  return address.find(':') != std::string::npos;
}

// Both tables, one after the other.
std::string socket_tables() {
  std::string text;
  for (const char* path : {"/proc/net/udp", "/proc/net/udp6"}) {
    std::ifstream file(path);
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
}

// The address and port as the kernel writes them: "050071CB:00A2".
std::string kernel_text(const std::string& address) {
  std::array<uint32_t, 4> words = {};
  inet_pton(is_ipv6(address) ? AF_INET6 : AF_INET, address.c_str(), words.data());
  std::string text;
  for (size_t i = 0; i < (is_ipv6(address) ? words.size() : 1); ++i) {
    std::array<char, 9> word = {};
    std::snprintf(word.data(), word.size(), "%08X", words[i]);
    text += word.data();
  }
  return text + kPort;
}

// The words of the lines whose local port is 162: slot, local address, remote
// address, state, queues.
std::vector<std::array<std::string, 5>> trap_sockets(std::string_view table) {
  std::vector<std::array<std::string, 5>> sockets;
  std::istringstream lines{std::string(table)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::array<std::string, 5> socket;
    for (std::string& word : socket) {
      words >> word;
    }
    if (socket[1].ends_with(kPort)) {
      sockets.push_back(socket);
    }
  }
  return sockets;
}

}  // namespace

Program trap_daemon(const std::vector<std::string>& addresses,
                    const std::vector<std::string>& options) {
  Program program = {
      .arguments = {"snmptrapd", "-f", "-Lo", "-On", "-n", "-C", "--disableAuthorization=yes"},
      .output = Program::kMerged};
  std::vector<std::string>& arguments = program.arguments;
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (const std::string& address : addresses) {
    arguments.push_back(is_ipv6(address) ? "udp6:[" + address + "]:162"
                                         : "udp:" + address + ":162");
  }
  return program;
}

bool trap_port_is_open(std::string_view socket_table, const std::string& address) {
  return std::ranges::any_of(trap_sockets(socket_table),
                             [&](const auto& socket) { return socket[1] == kernel_text(address); });
}

bool trap_ports_are_open(const std::vector<std::string>& addresses) {
  const std::string tables = socket_tables();
  return addresses.empty() ? trap_port_is_open(tables, kEveryAddress)
                           : std::ranges::all_of(addresses, [&](const std::string& address) {
                               return trap_port_is_open(tables, address);
                             });
}

bool trap_ports_are_empty(std::string_view socket_table) {
  // "sent:received", in hexadecimal.
  return std::ranges::all_of(trap_sockets(socket_table),
                             [](const auto& socket) { return socket[4].ends_with(":00000000"); });
}

bool trap_ports_are_empty() {
  return trap_ports_are_empty(socket_tables());
}
