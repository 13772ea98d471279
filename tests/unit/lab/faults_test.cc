// SPDX-License-Identifier: Apache-2.0
#include "lab/shim/faults.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>

#include "tests/unit/lab/temporary_directory.h"

TEST(Faults, WithoutAFileEveryCallProceeds) {
  const TemporaryDirectory directory;
  errno = 77;
  EXPECT_EQ(take_fault((directory / "faults").c_str(), "write"), -1);
  EXPECT_EQ(errno, 77);
}

TEST(Faults, AreCountedDownForTheirOwnCall) {
  const TemporaryDirectory directory;
  const std::string path = directory / "faults";
  ASSERT_EQ(add_fault(path.c_str(), "write", EBUSY, 2), 0);
  ASSERT_EQ(add_fault(path.c_str(), "read", EIO, 1), 0);
  ASSERT_EQ(add_fault(path.c_str(), "write", EPIPE, 1), 0);
  EXPECT_EQ(take_fault(path.c_str(), "write"), EBUSY);
  EXPECT_EQ(take_fault(path.c_str(), "read"), EIO);
  EXPECT_EQ(take_fault(path.c_str(), "read"), -1);
  EXPECT_EQ(take_fault(path.c_str(), "write"), EBUSY);
  EXPECT_EQ(take_fault(path.c_str(), "write"), EPIPE);
  EXPECT_EQ(take_fault(path.c_str(), "write"), -1);
}

TEST(Faults, StayWhenTheyAreForAlways) {
  const TemporaryDirectory directory;
  const std::string path = directory / "faults";
  ASSERT_EQ(add_fault(path.c_str(), "read", 0, -1), 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(take_fault(path.c_str(), "read"), 0);
  }
}

TEST(Faults, IgnoreLinesThatAreNone) {
  const TemporaryDirectory directory;
  const std::string path = directory / "faults";
  std::ofstream(path) << "nonsense\nwrite\nwrite 5 1\n";
  EXPECT_EQ(take_fault(path.c_str(), "write"), 5);
  EXPECT_EQ(take_fault(path.c_str(), "write"), -1);
}

TEST(Faults, CannotBeAddedWithoutAFolder) {
  EXPECT_EQ(add_fault("/nonexistent/faults", "write", EBUSY, 1), -1);
  EXPECT_EQ(errno, ENOENT);
}
