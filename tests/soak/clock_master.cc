// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/clock_master.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <span>
#include <stdexcept>

#include "base/descriptor.h"
#include "tests/e2e/process.h"

namespace {

// Real time. A process that is not at rest may be waiting for us, so we look at
// our descriptors this often at least.
constexpr long kLookNs = 1'000'000;
// Only a process that hangs or spins takes as long, on the busiest machine.
constexpr std::chrono::seconds kPatience(120);

// 2026-01-01 00:00:00 UTC, and a host that has been up for a day: times of a life
// do not depend on when it is lived.
constexpr uint64_t kCalendarStart = 1'767'225'600ULL * 1'000'000'000;
constexpr uint64_t kUptimeStart = 86'400ULL * 1'000'000'000;

template <typename Word>
Word get(const Word& word) {
  return __atomic_load_n(&word, __ATOMIC_SEQ_CST);
}

long futex(uint32_t* word, int operation, uint32_t value, const timespec* timeout) {
  return syscall(SYS_futex, word, operation, value, timeout, nullptr, 0);
}

bool is_at_rest(const clock_slot& slot) {
  return get(slot.state) == SLOT_WAITING && get(slot.seen) == get(slot.wake);
}

uint64_t as_count(SimTime time) {
  return static_cast<uint64_t>(time.count());
}

}  // namespace

ClockMaster::ClockMaster(std::string path) : path_(std::move(path)) {
  const Descriptor fd(open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  void* page = MAP_FAILED;
  if (fd.valid() && ftruncate(fd.get(), sizeof(clock_page)) == 0) {
    page = mmap(nullptr, sizeof(clock_page), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
  }
  if (page == MAP_FAILED) {
    throw std::runtime_error(path_ + ": " + std::strerror(errno));
  }
  page_ = static_cast<clock_page*>(page);
  page_->realtime_at_0 = kCalendarStart;
  page_->monotonic_at_0 = kUptimeStart;
}

ClockMaster::~ClockMaster() {
  munmap(page_, sizeof(clock_page));
  unlink(path_.c_str());
}

std::vector<std::string> ClockMaster::environment(const std::string& library) const {
  return {"LD_PRELOAD=/run/lab/libmoxshim.so:" + library, "SOAKCLOCK_PAGE=" + path_};
}

SimTime ClockMaster::now() const {
  return SimTime(get(page_->now));
}

void ClockMaster::wake(clock_slot& slot) {
  __atomic_add_fetch(&slot.wake, 1, __ATOMIC_SEQ_CST);
  futex(&slot.wake, FUTEX_WAKE, 1, nullptr);
}

void ClockMaster::wake_where(uint32_t waits) {
  for (clock_slot& slot : page_->slots) {
    if (get(slot.state) != SLOT_FREE && (get(slot.waits) & waits) == waits) {
      wake(slot);
    }
  }
}

void ClockMaster::wake_all() {
  wake_where(WAITS_FOR_TIME);
}

void ClockMaster::await_change(uint32_t changes) {
  const timespec look = {0, kLookNs};
  if (futex(&page_->changes, FUTEX_WAIT, changes, &look) != 0 && errno == ETIMEDOUT &&
      forget_dead(false)) {
    wake_all();
  }
}

bool ClockMaster::has_slot(pid_t pid) const {
  return std::ranges::any_of(page_->slots, [pid](const clock_slot& slot) {
    return get(slot.state) != SLOT_FREE && get(slot.pid) == pid;
  });
}

void ClockMaster::await_start(pid_t pid) {
  const auto give_up = std::chrono::steady_clock::now() + kPatience;
  for (uint32_t changes = get(page_->changes); !has_slot(pid); changes = get(page_->changes)) {
    const timespec look = {0, kLookNs};
    futex(&page_->changes, FUTEX_WAIT, changes, &look);
    if (std::chrono::steady_clock::now() > give_up) {
      throw std::runtime_error("the daemon does not start, or without the clock");
    }
  }
}

bool ClockMaster::all_at_rest() {
  return std::ranges::all_of(page_->slots, [](const clock_slot& slot) {
    return get(slot.state) == SLOT_FREE || is_at_rest(slot);
  });
}

// A process that has ended cannot say so itself. Orphans are ours to reap.
bool ClockMaster::forget_dead(bool also_at_rest) {
  bool any = false;
  for (clock_slot& slot : page_->slots) {
    const pid_t pid = get(slot.pid);
    if (get(slot.state) == SLOT_FREE || pid == 0 || (is_at_rest(slot) && !also_at_rest) ||
        is_alive(pid)) {
      continue;
    }
    slot.pid = 0;
    slot.wake = slot.seen = 0;
    __atomic_store_n(&slot.state, SLOT_FREE, __ATOMIC_SEQ_CST);
    any = true;
  }
  return any;
}

void ClockMaster::settle(const Pump& pump) {
  const auto give_up = std::chrono::steady_clock::now() + kPatience;
  while (true) {
    const uint32_t changes = get(page_->changes);
    const bool rested = all_at_rest();
    // Looked at after that: what they did before they came to rest is here.
    const Pumped pumped = pump(rested);
    if (pumped == Pumped::kInput) {
      wake_all();
    } else if (pumped == Pumped::kLogOnly) {
      wake_where(WAITS_FOR_ROOM);
    } else if (rested) {
      return;
    } else {
      await_change(changes);
    }
    if (std::chrono::steady_clock::now() > give_up) {
      throw std::runtime_error("a process of the daemon does not come to rest");
    }
  }
}

void ClockMaster::step(SimTime limit, const Pump& pump) {
  uint64_t next = as_count(limit);
  for (const clock_slot& slot : page_->slots) {
    if (get(slot.state) != SLOT_FREE) {
      next = std::min(next, is_at_rest(slot) ? get(slot.deadline) : page_->now);
    }
  }
  __atomic_store_n(&page_->now, std::max(next, page_->now), __ATOMIC_SEQ_CST);
  for (clock_slot& slot : page_->slots) {
    if (get(slot.state) == SLOT_WAITING && get(slot.deadline) <= next) {
      ++steps_;
      wake(slot);
    }
  }
  settle(pump);
}

void ClockMaster::silence_names(bool silent) {
  __atomic_store_n(&page_->names_silent, silent ? 1U : 0U, __ATOMIC_SEQ_CST);
}

std::vector<pid_t> ClockMaster::processes() {
  forget_dead(true);
  std::vector<pid_t> pids;
  for (const clock_slot& slot : page_->slots) {
    if (get(slot.state) != SLOT_FREE) {
      pids.push_back(get(slot.pid));
    }
  }
  return pids;
}

bool ClockMaster::waits(pid_t pid, SimTime asked) const {
  return std::ranges::any_of(page_->slots, [&](const clock_slot& slot) {
    return get(slot.state) == SLOT_WAITING && get(slot.pid) == pid && slot.asked == as_count(asked);
  });
}
