// SPDX-License-Identifier: Apache-2.0
#include "lab/rack/receiver.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "lab/rack/host.h"
#include "lab/supervisor/trap_daemon.h"

namespace {

constexpr std::string_view kNumber = ".1.3.6.1.4.1.32473.1.1.1.0 = ";

std::string kernel_text(const std::string& address) {
  in_addr number = {};
  inet_pton(AF_INET, address.c_str(), &number);
  std::array<char, 16> text = {};
  std::snprintf(text.data(), text.size(), "%08X:00A2", number.s_addr);
  return text.data();
}

void misplace(Receiver* receiver, const std::string& line) {
  if (receiver->misplaced++ == 0) {
    receiver->first_misplaced = line;
  }
}

}  // namespace

SocketCounts socket_counts(std::string_view table, const std::string& address) {
  constexpr size_t kLocal = 1;
  constexpr size_t kQueues = 4;
  constexpr size_t kDrops = 12;
  constexpr size_t kColumns = 13;
  const std::string wanted = kernel_text(address);
  std::istringstream lines{std::string(table)};
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::array<std::string, kColumns> fields;
    for (std::string& field : fields) {
      words >> field;
    }
    if (fields[kLocal] == wanted) {
      const size_t colon = fields[kQueues].find(':');
      return {std::strtol(fields[kQueues].c_str() + colon + 1, nullptr, 16),
              std::atol(fields[kDrops].c_str())};
    }
  }
  return {};
}

long datagrams_sent(std::string_view table) {
  constexpr int kOutDatagrams = 4;
  // The second line of this start has the numbers, the first their names.
  const size_t names = table.find("\nUdp: ");
  const size_t numbers = names == std::string_view::npos ? names : table.find("\nUdp: ", names + 1);
  if (numbers == std::string_view::npos) {
    return 0;
  }
  std::istringstream words{std::string(table.substr(numbers))};
  std::string word;
  for (int i = 0; i <= kOutDatagrams; ++i) {
    words >> word;
  }
  return std::atol(word.c_str());
}

double processor_seconds(std::string_view stat) {
  constexpr int kState = 3;  // the first field behind the name, which may hold anything
  constexpr int kUserTime = 14;
  constexpr int kChildrensSystemTime = 17;
  const size_t name_end = stat.rfind(')');
  if (name_end == std::string_view::npos) {
    return 0;
  }
  std::istringstream words{std::string(stat.substr(name_end + 1))};
  std::string word;
  double ticks = 0;
  for (int field = kState; field <= kChildrensSystemTime && words >> word; ++field) {
    ticks += field >= kUserTime ? std::atof(word.c_str()) : 0;
  }
  return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::string start_receiver(Receiver* receiver, const std::string& address, int hosts,
                           const ReceiverSettings& settings) {
  receiver->address = address;
  receiver->last.assign(static_cast<size_t>(hosts) + 1, 0);
  std::vector<std::string> options = {"-OnQ", "-F", "%a %b %v\n"};
  if (settings.buffer > 0) {
    options.push_back("--serverRecvBuf=" + std::to_string(settings.buffer));
  }
  if (!settings.handler.empty()) {
    options.push_back("--traphandle=default " + settings.handler);
  }
  return receiver->snmptrapd.start(trap_daemon({address}, options));
}

void count_traps(Receiver* receiver) {
  receiver->snmptrapd.pump();
  for (const std::string& line : receiver->snmptrapd.take_lines()) {
    if (line.starts_with("198.18.")) {
      count_trap(receiver, line);
    }
  }
}

void count_trap(Receiver* receiver, const std::string& line) {
  ++receiver->printed;
  const std::string agent = line.substr(0, line.find(' '));
  const auto host = static_cast<size_t>(host_of_address(agent));
  const size_t number = line.find(kNumber);
  if (host == 0 || host >= receiver->last.size() || number == std::string::npos ||
      line.find(" UDP: [" + agent + "]:") == std::string::npos) {
    misplace(receiver, line);
    return;
  }
  const long running = std::atol(line.c_str() + number + kNumber.size());
  if (running <= receiver->last[host]) {
    misplace(receiver, line);
  }
  receiver->last[host] = std::max(receiver->last[host], running);
}
