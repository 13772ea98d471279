// SPDX-License-Identifier: Apache-2.0
// Process-wide state that is built once and never again can only be tested from
// its beginning in a process of its own.
#ifndef TVUREV_TESTS_UNIT_HOSTINFO_FRESH_PROCESS_H_
#define TVUREV_TESTS_UNIT_HOSTINFO_FRESH_PROCESS_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

// Runs body in a child process; its failures are the test's. body must have
// destroyed its CallScript when it returns.
template <typename Body>
void in_fresh_process(Body body) {
  fflush(nullptr);
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    body();
    exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS)
      << "failed in the child process, wait status " << status;
}

#endif  // TVUREV_TESTS_UNIT_HOSTINFO_FRESH_PROCESS_H_
