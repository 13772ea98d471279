#include "tests/e2e/trap_daemon.h"

#include <arpa/inet.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

constexpr const char* kConfiguration = "/tmp/snmptrapd.conf";
constexpr const char* kMark = "TRAP ";
constexpr const char* kFormat = "TRAP %a %N %w/%q @%T %P: %v\n";

// "050071CB:00A2", as /proc/net/udp writes the socket's address.
std::string kernel_text(const std::string& address) {
  in_addr binary = {};
  inet_pton(AF_INET, address.c_str(), &binary);
  std::array<char, 16> text = {};
  snprintf(text.data(), text.size(), "%08X:00A2", binary.s_addr);
  return text.data();
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

}  // namespace

void TrapDaemon::start(const std::string& address) {
  address_ = address;
  std::ofstream(kConfiguration) << "disableAuthorization yes\n";
  process_.start(
      {.arguments = {"/usr/sbin/snmptrapd", "-f", "-Le", "-n", "-On", "-C", "-c", kConfiguration,
                     "-F", kFormat, address + ":162"},
       .environment = {"PATH=/usr/sbin:/usr/bin:/bin", "HOME=/", "LC_ALL=C", "TZ=UTC", "MIBS="},
       .extra_descriptors = 0});
}

bool TrapDaemon::is_ready() const {
  std::ifstream file("/proc/net/udp");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str().find(kernel_text(address_)) != std::string::npos;
}

bool TrapDaemon::has_printed(size_t count) {
  process_.pump();
  traps_.clear();
  std::istringstream text(process_.err());
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with(kMark) && !text.eof()) {
      line = replaced(line.substr(std::string(kMark).size()), "\t", " | ");
      line = replaced(line, "/.", "/");
      traps_.push_back(replaced(line, "TRAP, SNMP v1, community ", ""));
    }
  }
  return traps_.size() >= count;
}
