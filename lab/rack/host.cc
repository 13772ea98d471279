// SPDX-License-Identifier: Apache-2.0
#include "lab/rack/host.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "lab/sim/notification.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kSampleHost = "/run/lab/host";
constexpr const char* kSampleAddress = "192.0.2.20";
constexpr int kHostsOfAByte = 250;
// The session is looked for from the top, short queries from channel 4 down; two
// are enough for both, and sixteen would be a lot to watch.
constexpr int kLastServedChannel = 1;

std::string read_whole(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void replace_all(std::string* text, const std::string& what, const std::string& by) {
  for (size_t at = 0; (at = text->find(what, at)) != std::string::npos; at += by.size()) {
    text->replace(at, what.size(), by);
  }
}

// The files of the sample host, with an address of its own at vmk0.
void make_root(const std::string& root, const std::string& address) {
  for (const char* folder : {"usr", "proc", "dev", "etc", "tmp", "run/lab", "var/log",
                             "vmfs/devices/char/vmkdriver", "opt/ortdv/tmp", "opt/ortdv/sockets"}) {
    fs::create_directories(root + "/" + folder);
  }
  fs::copy(kSampleHost, root, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  const std::string localcli = root + "/sbin/localcli";
  std::string answers = read_whole(localcli);
  replace_all(&answers, kSampleAddress, address);
  fs::permissions(localcli, fs::perms::owner_all);
  std::ofstream(localcli) << answers;
  std::ofstream(root + "/vmfs/devices/zemox-d0ccb0").flush();
}

Program daemon_program(const std::string& root, const std::string& address,
                       const std::vector<std::string>& preload) {
  // clang-format off
  Program program = {.arguments = {
      "bwrap", "--bind", root, "/", "--ro-bind", "/usr", "/usr", "--symlink", "usr/bin", "/bin",
      "--symlink", "usr/lib", "/lib", "--symlink", "usr/lib64", "/lib64",
      "--ro-bind", "/proc", "/proc", "--dev-bind", "/dev", "/dev",
      "--ro-bind", "/sbin/tvurev", "/sbin/tvurev", "--setenv", "RACK_ADDRESS", address},
      .output = Program::kMerged};
  // clang-format on
  std::string libraries;
  for (const std::string& library : preload) {
    program.arguments.insert(program.arguments.end(), {"--ro-bind", library, library});
    libraries += (libraries.empty() ? "" : ":") + library;
  }
  program.arguments.insert(program.arguments.end(), {"--setenv", "LD_PRELOAD", libraries, "--chdir",
                                                     "/", "--", "/sbin/tvurev"});
  return program;
}

// Follows the daemon's session.
void notice(RackHost* host, const Happening& happening) {
  if (happening.what == Happening::What::kReceived &&
      classify(happening.packet) == PacketKind::kConnect) {
    host->session = happening.channel;
    ++host->connects;
  } else if (happening.what == Happening::What::kClosed && happening.channel == host->session) {
    host->session = -1;
  }
}

long proportional_kib(const std::string& pid) {
  std::istringstream lines(read_whole("/proc/" + pid + "/smaps_rollup"));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("Pss:")) {
      return std::atol(line.c_str() + strlen("Pss:"));
    }
  }
  return 0;
}

}  // namespace

std::string address_of_host(int number) {
  const int index = number - 1;
  return "198.18." + std::to_string(index / kHostsOfAByte) + "." +
         std::to_string(index % kHostsOfAByte + 1);
}

int host_of_address(const std::string& address) {
  int high = 0;
  int low = 0;
  const bool ours = std::sscanf(address.c_str(), "198.18.%d.%d", &high, &low) == 2;
  return ours ? high * kHostsOfAByte + low : 0;
}

std::string start_host(RackHost* host, int number, const std::vector<std::string>& preload) {
  const std::string root = "/run/rack/" + std::to_string(number);
  host->number = number;
  host->address = address_of_host(number);
  try {
    make_root(root, host->address);
  } catch (const fs::filesystem_error& error) {
    return error.what();
  }
  const auto earlier = host->bmc.on_happening;
  host->bmc.on_happening = [host, earlier](const Happening& happening) {
    notice(host, happening);
    if (earlier) {
      earlier(happening);
    }
  };
  std::string error =
      host->bmc.open_channels(root + "/vmfs/devices/char/vmkdriver", 0, kLastServedChannel);
  return !error.empty() ? error : host->daemon.start(daemon_program(root, host->address, preload));
}

std::string say(RackHost* host, uint32_t specific, const std::string& text) {
  SentNotification notification;
  notification.uptime = host->said;
  notification.trap_oid = {1, 3, 6, 1, 4, 1, 32473, 1, 0, specific};
  notification.bindings.push_back({.name = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 0},
                                   .type = agentx::type::kInteger,
                                   .value = word_value(host->said + 1)});
  notification.bindings.push_back(
      {.name = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 2, 0},
       .type = agentx::type::kOctetString,
       .value =
           octets_value(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()))});
  const std::string error =
      host->bmc.execute(PushEvent{notification_packet(build_notify(notification))});
  host->said += error.empty();
  return error.empty() ? "" : "host " + std::to_string(host->number) + ": " + error;
}

long memory_of_host(const RackHost& host) {
  const std::string first = std::to_string(host.daemon.pid());
  long sum = proportional_kib(first);
  std::istringstream children(read_whole("/proc/" + first + "/task/" + first + "/children"));
  for (std::string pid; children >> pid;) {
    sum += proportional_kib(pid);
  }
  return sum;
}
