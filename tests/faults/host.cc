// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/host.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tests/e2e/process.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kWorldFile = "/run/faults-world";
constexpr const char* kDaemon = "/sbin/tvurev";
constexpr std::chrono::seconds kStuckTime(15);
constexpr int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr int64_t kMicrosecondsPerMillisecond = 1'000;
constexpr rlim_t kDescriptors = 256;

constexpr const char* kSettings =
    "<config>\n<enable>true</enable>\n<targets>192.0.2.7@162 public;198.51.100.9@162 ops;"
    "traps.example@162 public</targets>\n</config>\n";

std::string error_of(const std::string& what) {
  return what + ": " + std::strerror(errno);
}

FaultWorld* map_world() {
  const Descriptor fd(open(kWorldFile, O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!fd.valid() || ftruncate(fd.get(), sizeof(FaultWorld)) != 0) {
    return nullptr;
  }
  void* page = mmap(nullptr, sizeof(FaultWorld), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
  return page == MAP_FAILED ? nullptr : static_cast<FaultWorld*>(page);
}

template <typename Value>
Value load(const Value& value) {
  return __atomic_load_n(&value, __ATOMIC_SEQ_CST);
}

void write_text(const char* path, const char* text) {
  std::ofstream(path, std::ios::trunc) << text;
}

void remove_traces() {
  std::error_code error;
  for (const char* folder : {"/opt/ortdv/tmp", "/opt/ortdv/sockets"}) {
    for (const auto& entry : fs::directory_iterator(folder, error)) {
      fs::remove_all(entry.path(), error);
    }
  }
  for (const char* file : {"/var/log/host-commands.log", "/dev/log"}) {
    fs::remove(file, error);
  }
}

void reap_all() {
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

// Whether a process waits, still, and has looked at the probe.
bool has_seen(const FaultSlot& slot, uint32_t probe, int64_t now) {
  return load(slot.waiting) != 0 && load(slot.until_us) > now && load(slot.probe_seen) == probe;
}

}  // namespace

Host::~Host() {
  kill_all();
}

std::string Host::reset() {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const rlimit descriptors = {kDescriptors, kDescriptors};
  setrlimit(RLIMIT_NOFILE, &descriptors);
  remove_traces();
  write_text("/etc/vmware/snmp.xml", kSettings);
  write_text("/etc/hosts", "127.0.0.1 localhost\n203.0.113.5 traps.example\n");
  // A burst of log lines must not meet a full queue: how full it is depends on
  // who runs when.
  write_text("/proc/sys/net/unix/max_dgram_qlen", "512");
  world = world != nullptr ? world : map_world();
  if (world == nullptr) {
    return error_of(kWorldFile);
  }
  std::string error = syslog.open();
  for (size_t i = 0; i < receivers.size() && error.empty(); ++i) {
    error = receivers[i].open(kReceivers[i]);
  }
  return error.empty() ? bmc.open_channels() : error;
}

std::string Host::start(const std::string& fault) {
  memset(static_cast<void*>(world), 0, sizeof *world);
  stuck = false;
  return daemon.start(
      {.arguments = {kDaemon},
       .environment = {std::string("LD_PRELOAD=") + FAULT_LIBRARY + ":/run/lab/libmoxshim.so",
                       std::string("FAULT_WORLD=") + kWorldFile, "FAULT=" + fault}});
}

bool Host::pump(int timeout_ms) {
  std::vector<pollfd> descriptors = bmc.descriptors();
  for (const TrapReceiver& receiver : receivers) {
    descriptors.push_back({receiver.fd(), POLLIN, 0});
  }
  descriptors.push_back({syslog.fd(), POLLIN, 0});
  daemon.add_descriptors(&descriptors);
  const bool any = poll(descriptors.data(), descriptors.size(), timeout_ms) > 0;
  for (TrapReceiver& receiver : receivers) {
    receiver.pump();
  }
  syslog.pump();
  bmc.step(0);
  daemon.pump();
  return any;
}

std::vector<const FaultSlot*> Host::living_slots() const {
  std::vector<const FaultSlot*> slots;
  for (const FaultSlot& slot : world->slots) {
    if (load(slot.used) != 0 && (load(slot.pid) == 0 || is_alive(load(slot.pid)))) {
      slots.push_back(&slot);
    }
  }
  return slots;
}

const FaultSlot* Host::living(int kind) const {
  const auto slots = living_slots();
  const auto found = std::ranges::find(slots, kind, &FaultSlot::kind);
  return found == slots.end() ? nullptr : *found;
}

// A process that waits may have something to do already that it has not seen.
// So each is asked to look once more, and only then, with nothing come in
// between, nothing is on its way.
bool Host::is_quiet() {
  const auto slots = living_slots();
  const int64_t now = world->now_us;
  if (slots.empty() && daemon.running()) {
    return false;  // it has not come to main yet
  }
  if (!std::ranges::all_of(slots, [&](const FaultSlot* slot) {
        return load(slot->waiting) != 0 && load(slot->until_us) > now;
      })) {
    return false;
  }
  if (pump(0)) {
    return false;
  }
  const uint32_t probe = __atomic_add_fetch(&world->probe, 1, __ATOMIC_SEQ_CST);
  for (const FaultSlot* slot : slots) {
    while (!has_seen(*slot, probe, now)) {
      if (load(slot->waiting) == 0 || !is_alive(slot->pid)) {
        return false;
      }
      usleep(50);
    }
  }
  return !pump(0) && living_slots() == slots &&
         std::ranges::all_of(slots, [&](auto* slot) { return has_seen(*slot, probe, now); });
}

// Up to a moment. False when no process waits for time to pass, or for less.
bool Host::advance(int64_t limit_us) {
  int64_t next = INT64_MAX;
  for (const FaultSlot* slot : living_slots()) {
    next = std::min(next, load(slot->until_us));
  }
  __atomic_store_n(&world->now_us, std::min(next, limit_us), __ATOMIC_SEQ_CST);
  return next != INT64_MAX;
}

Wait Host::run_until(const std::function<bool()>& done, int64_t seconds) {
  return run(done, seconds * kMicrosecondsPerSecond);
}

Wait Host::let_pass(int64_t ms) {
  return run([] { return false; }, ms * kMicrosecondsPerMillisecond);
}

Wait Host::run(const std::function<bool()>& done, int64_t microseconds) {
  const int64_t limit = world->now_us + microseconds;
  auto last_quiet = std::chrono::steady_clock::now();
  if (stuck) {
    return Wait::kStuck;
  }
  while (!done()) {
    if (is_quiet()) {
      last_quiet = std::chrono::steady_clock::now();
      if (done()) {
        return Wait::kDone;
      }
      if (world->now_us >= limit) {
        return Wait::kLimit;
      }
      if (!advance(limit)) {
        return Wait::kStalled;
      }
    } else if (!pump(0)) {
      usleep(50);
    }
    if (std::chrono::steady_clock::now() - last_quiet > kStuckTime) {
      stuck = true;
      return Wait::kStuck;
    }
  }
  return Wait::kDone;
}

// Nothing is done, and no time passes: the limit is over at once.
Wait Host::settle() {
  return let_pass(0);
}

void Host::kill_all() {
  if (world != nullptr) {
    for (const FaultSlot* slot : living_slots()) {
      if (slot->pid > 0) {
        kill(slot->pid, SIGKILL);
      }
    }
  }
  daemon.end();
  // What was killed ends soon; what a shell started may take longer.
  for (int look = 0; look < 1000 && !children_of(getpid()).empty(); ++look) {
    reap_all();
    usleep(1000);
  }
}
