// SPDX-License-Identifier: Apache-2.0
// The soak test's clock moves the time on while everybody rests, and only then.
#include "tests/soak/clock_master.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "base/descriptor.h"

namespace {

using std::chrono::seconds;

// The page as a process of the daemon sees it, and one that this test plays.
class ClockMasterTest : public testing::Test {
 protected:
  void SetUp() override {
    const Descriptor fd(open(path_.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(fd.valid());
    void* page = mmap(nullptr, sizeof(clock_page), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    ASSERT_NE(page, MAP_FAILED);
    page_ = static_cast<clock_page*>(page);
    process().pid = getpid();
  }
  void TearDown() override { munmap(page_, sizeof(clock_page)); }

  clock_slot& process() { return page_->slots[0]; }

  void rest_until(SimTime deadline) {
    process().deadline = static_cast<uint64_t>(deadline.count());
    process().seen = process().wake;
    process().state = SLOT_WAITING;
  }

  void step_until(SimTime limit, SimTime next_deadline) {
    clock_.step(limit, [&](bool) {
      rest_until(next_deadline);
      return Pumped::kNothing;
    });
  }

  std::string path_ = testing::TempDir() + "clock_master_test." + std::to_string(getpid());
  ClockMaster clock_ = ClockMaster(path_);
  clock_page* page_ = nullptr;
};

TEST_F(ClockMasterTest, GoesToTheNextDeadline) {
  rest_until(seconds(5));
  step_until(seconds(60), seconds(9));
  EXPECT_EQ(clock_.now(), seconds(5));
  step_until(seconds(60), seconds(90));
  EXPECT_EQ(clock_.now(), seconds(9));
}

TEST_F(ClockMasterTest, GoesNoFurtherThanItsLimit) {
  rest_until(seconds(90));
  step_until(seconds(60), seconds(90));
  EXPECT_EQ(clock_.now(), seconds(60));
}

TEST_F(ClockMasterTest, StandsStillWhileAProcessRuns) {
  process().state = SLOT_RUNNING;
  step_until(seconds(60), seconds(5));
  EXPECT_EQ(clock_.now(), seconds(0));
}

TEST_F(ClockMasterTest, StandsStillWhileAProcessHasNotSeenThatItWasWoken) {
  rest_until(seconds(5));
  clock_.wake_all();
  step_until(seconds(60), seconds(5));
  EXPECT_EQ(clock_.now(), seconds(0));
}

}  // namespace
