// SPDX-License-Identifier: Apache-2.0
// What a trap asks of the kernel, in processes of their own: nothing but
// memory, the time, and socket, sendto and close.
#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <vector>

#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

#if defined(__SANITIZE_ADDRESS__)
#define SNMP_PP_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SNMP_PP_TEST_SANITIZED 1
#endif
#endif

// What a sanitizer's own checks call: it probes memory through a pipe.
#if defined(SNMP_PP_TEST_SANITIZED)
const std::vector<long> kOwnCalls = {SYS_pipe2, SYS_write, SYS_sigaltstack};
#else
const std::vector<long> kOwnCalls = {};
#endif

// From here on every call but these kills the process with SIGSYS.
bool allow_only(std::vector<long> calls) {
  calls.insert(calls.end(), kOwnCalls.begin(), kOwnCalls.end());
  std::vector<sock_filter> program;
  program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
  for (const long call : calls) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

// Runs the function in a child and returns how the child ended.
template <typename Function>
int status_of_child(Function function) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(function());
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

constexpr int kNoFilter = 99;

// A whole trap, from texts to the datagram, as the daemon sends it.
int whole_trap(const std::string& destination) {
  Pdu pdu;
  pdu.set_notify_id(Oid("1.3.6.1.4.1.99.0.7"));
  pdu.set_notify_timestamp(TimeTicks(12345));
  pdu.set_v1_trap_address(IpAddress("10.0.0.5"));
  CTarget target;
  target.set_address(GenAddress(destination.c_str()));
  int status = -99;
  Snmp session(status);
  return status == SNMP_CLASS_SUCCESS ? session.trap(pdu, target) : status;
}

TEST(SystemCalls, ATrapNeedsOnlyItsSocketMemoryAndTheTime) {
  const TrapReceiver receiver;
  const int status = status_of_child([&receiver] {
    if (!allow_only({SYS_socket, SYS_sendto, SYS_close, SYS_brk, SYS_mmap, SYS_munmap, SYS_mremap,
                     SYS_mprotect, SYS_madvise, SYS_futex, SYS_getrandom, SYS_clock_gettime,
                     SYS_gettimeofday, SYS_exit_group})) {
      return kNoFilter;
    }
    return whole_trap(receiver.destination());
  });
  ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(receiver.receive()), to_hex(message_of({})));
}

TEST(SystemCalls, TheFilterOfTheseTestsStopsOtherCalls) {
  const int status = status_of_child([] {
    if (!allow_only({SYS_exit_group})) {
      return kNoFilter;
    }
    return access("/", F_OK);
  });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGSYS);
}

// A daemon's socket may well be descriptor 1 or 2.
TEST(SystemCalls, ATrapGoesOutWithTheStandardDescriptorsClosed) {
  const TrapReceiver receiver;
  const int status = status_of_child([&receiver] {
    for (const int fd : {0, 1, 2}) {
      close(fd);
    }
    int first_status = -99;
    int second_status = -99;
    const Snmp first(first_status);
    const Snmp second(second_status);
    return first_status + second_status + whole_trap(receiver.destination());
  });
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(to_hex(receiver.receive()), to_hex(message_of({})));
  EXPECT_TRUE(receiver.empty());
}

}  // namespace
}  // namespace Snmp_pp
