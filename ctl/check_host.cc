// SPDX-License-Identifier: Apache-2.0
// What the host keeps for the daemon: its folders, the agent socket, the log.

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "base/descriptor.h"
#include "base/file.h"
#include "ctl/checking.h"
#include "ctl/debug_switches.h"
#include "wire/host_files.h"

namespace {

constexpr const char* kNoFiles = "no marker or state file can be made";
constexpr const char* kNoAgents = "no host agent can connect";

struct Folder {
  const char* path;
  const char* loss;
  bool made_at_start;
};
constexpr std::array<Folder, 4> kFolders = {{
    {host_files::kFolder, "no file of tvurev's can be made", false},
    {host_files::kMarkerFolder, kNoFiles, false},
    {"/opt/ortdv/sockets", kNoAgents, false},
    {host_files::kSocketFolder, kNoAgents, true},
}};

std::string target_of(const char* path) {
  std::array<char, PATH_MAX> target = {};
  const ssize_t length = readlink(path, target.data(), target.size());
  return length <= 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}

// Something is amiss with what is not there: a finding, unless the daemon makes it
// yet.
void check_absent(Checking& checking, const Folder& folder) {
  struct stat link = {};
  if (lstat(folder.path, &link) == 0) {
    checking.findings.add("folder-link-dangling",
                          {folder.path, target_of(folder.path), folder.loss});
  } else if (!folder.made_at_start || checking.view.past_gates()) {
    checking.findings.add("folder-missing", {folder.path, folder.loss});
  }
}

void check_rights(Checking& checking, const Folder& folder, const struct stat& status) {
  if (status.st_uid != 0) {
    checking.findings.add("folder-owner", {folder.path});
  }
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
    std::array<char, 8> mode = {};
    snprintf(mode.data(), mode.size(), "%04o", static_cast<unsigned>(status.st_mode & 07777));
    checking.findings.add("folder-mode", {folder.path, mode.data()});
  }
}

// Whether there is a folder, and what lies in it can be looked for.
bool check_folder(Checking& checking, const Folder& folder) {
  struct stat status = {};
  if (stat(folder.path, &status) != 0) {
    check_absent(checking, folder);
    return false;
  }
  if (!S_ISDIR(status.st_mode)) {
    checking.findings.add("folder-is-a-file", {folder.path, folder.loss});
    return false;
  }
  check_rights(checking, folder, status);
  return true;
}

void check_space(Checking& checking) {
  struct statvfs space = {};
  if (statvfs(host_files::kMarkerFolder, &space) != 0 || space.f_blocks == 0) {
    return;
  }
  if (space.f_bfree == 0 || (space.f_files != 0 && space.f_ffree == 0)) {
    checking.findings.add("disk-full", {host_files::kMarkerFolder, kNoFiles});
  }
}

void check_listeners(Checking& checking) {
  const View& view = checking.view;
  const Listeners listeners = find_listeners(host_files::kAgentSocket);
  if (listeners.visible ? listeners.processes.empty() : !view.agent) {
    checking.findings.add("socket-without-listener", {host_files::kAgentSocket});
    return;
  }
  for (const pid_t pid : listeners.processes) {
    if (view.processes.visible && !view.processes.holds(pid)) {
      checking.findings.add("socket-taken", {host_files::kAgentSocket, std::to_string(pid)});
      return;
    }
  }
  checking.findings.add("socket", {host_files::kAgentSocket});
}

// What the log socket says to a client; empty when it takes messages. Nothing is
// written.
const char* fault_of_log() {
  const Descriptor client(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const sockaddr_un address = {.sun_family = AF_UNIX, .sun_path = "/dev/log"};
  if (connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return errno == EPROTOTYPE ? "" : "log-missing";  // a stream's daemon is there too
  }
  pollfd entry = {.fd = client.get(), .events = POLLOUT, .revents = 0};
  return poll(&entry, 1, 0) == 1 && (entry.revents & POLLOUT) != 0 ? "" : "log-stalled";
}

}  // namespace

void check_folders(Checking& checking) {
  const size_t before = checking.findings.all().size();
  if (check_folder(checking, kFolders[0])) {
    if (check_folder(checking, kFolders[1])) {
      check_space(checking);
    }
    if (check_folder(checking, kFolders[2])) {
      check_folder(checking, kFolders[3]);
    }
  }
  if (checking.findings.all().size() == before) {
    checking.findings.add("folders", {host_files::kFolder});
  }
}

void check_socket(Checking& checking) {
  if (exists(host_files::kAgentSocket)) {
    check_listeners(checking);
  } else {
    checking.findings.add(checking.view.past_gates() ? "socket-missing" : "socket-absent",
                          {host_files::kAgentSocket});
  }
}

void check_log(Checking& checking) {
  std::vector<std::string> on;
  for (const DebugSwitch& debug_switch : debug_switches(checking.view)) {
    if (debug_switch.there && !debug_switch.counts) {
      checking.findings.add("debug-ignored", {debug_switch.path, debug_switch.why});
    } else if (debug_switch.there) {
      on.push_back(debug_switch.module);
    }
  }
  if (!on.empty()) {
    checking.findings.add("debug-on", {list_text(on)});
  }
  const char* fault = fault_of_log();
  checking.findings.add(*fault == '\0' ? "log" : fault, {"/dev/log"});
}
