// SPDX-License-Identifier: Apache-2.0
// The session's socket, its status values, and the order of a trap's checks.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <set>
#include <utility>

#include "network_calls.h"
#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

using testing::ElementsAre;

std::set<int> open_descriptors() {
  std::set<int> open;
  for (int fd = 0; fd < 1024; ++fd) {
    if (fcntl(fd, F_GETFD) >= 0) {
      open.insert(fd);
    }
  }
  return open;
}

TEST(Session, OpensAndClosesOneSocket) {
  NetworkCalls calls;
  {
    int status = -99;
    const Snmp session(status);
    EXPECT_EQ(status, SNMP_CLASS_SUCCESS);
    EXPECT_THAT(calls.calls, ElementsAre("socket"));
  }
  EXPECT_THAT(calls.calls, ElementsAre("socket", "close"));
}

TEST(Session, BindsToTheLocalPortItIsGiven) {
  NetworkCalls calls;
  calls.swallow = true;
  int status = -99;
  const Snmp session(status, 5555);
  EXPECT_EQ(status, SNMP_CLASS_SUCCESS);
  EXPECT_THAT(calls.calls, ElementsAre("socket", "bind 0.0.0.0:5555"));
}

TEST(Session, MapsTheErrorsOfSocket) {
  for (const auto& [error, expected] : std::initializer_list<std::pair<int, int>>{
           {EMFILE, SNMP_CLASS_RESOURCE_UNAVAIL},
           {ENFILE, SNMP_CLASS_RESOURCE_UNAVAIL},
           {ENOBUFS, SNMP_CLASS_RESOURCE_UNAVAIL},
           {EHOSTDOWN, SNMP_CLASS_TL_FAILED},
           {EAFNOSUPPORT, SNMP_CLASS_TL_UNSUPPORTED},
           {EACCES, SNMP_CLASS_TL_UNSUPPORTED},
           {EPROTONOSUPPORT, SNMP_CLASS_TL_UNSUPPORTED},
       }) {
    NetworkCalls calls;
    calls.socket_error = error;
    {
      int status = -99;
      const Snmp session(status);
      EXPECT_EQ(status, expected) << error;
      EXPECT_EQ(errno, error);
    }
    EXPECT_THAT(calls.calls, ElementsAre("socket"));
  }
}

TEST(Session, MapsTheErrorsOfBindAndClosesTheSocket) {
  for (const auto& [error, expected] : std::initializer_list<std::pair<int, int>>{
           {EADDRINUSE, SNMP_CLASS_TL_IN_USE},
           {ENOBUFS, SNMP_CLASS_RESOURCE_UNAVAIL},
           {EAFNOSUPPORT, SNMP_CLASS_TL_UNSUPPORTED},
           {ENETUNREACH, SNMP_CLASS_TL_FAILED},
           {EACCES, SNMP_CLASS_TL_ACCESS_DENIED},
           {EINVAL, SNMP_CLASS_INTERNAL_ERROR},
       }) {
    NetworkCalls calls;
    calls.bind_error = error;
    {
      int status = -99;
      const Snmp session(status, 5555);
      EXPECT_EQ(status, expected) << error;
      EXPECT_EQ(errno, error);
    }
    EXPECT_THAT(calls.calls, ElementsAre("socket", "bind 0.0.0.0:5555", "close"));
  }
}

TEST(Session, FindsNoDescriptorWhenTheProcessHasNoneLeft) {
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
  const int next = dup(0);
  ASSERT_GE(next, 0);
  close(next);
  rlimit lowered = saved;
  lowered.rlim_cur = static_cast<rlim_t>(next);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
  int status = -99;
  const Snmp session(status);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &saved), 0);
  EXPECT_EQ(status, SNMP_CLASS_RESOURCE_UNAVAIL);
}

TEST(Session, FindsATakenPortInUse) {
  const int taken = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  ASSERT_GE(taken, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t size = sizeof(address);
  ASSERT_EQ(bind(taken, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(taken, reinterpret_cast<sockaddr*>(&address), &size), 0);
  const std::set<int> before = open_descriptors();
  {
    int status = -99;
    const Snmp session(status, ntohs(address.sin_port));
    EXPECT_EQ(status, SNMP_CLASS_TL_IN_USE);
    EXPECT_EQ(open_descriptors(), before);
  }
  close(taken);
}

TEST(Session, ThatFailedSendsNothing) {
  const TrapReceiver receiver;
  Pdu pdu = sample_pdu();
  CTarget target = target_of(receiver.destination());
  NetworkCalls calls;
  calls.socket_error = EMFILE;
  int status = -99;
  Snmp session(status);
  EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_TL_FAILED);
  EXPECT_EQ(errno, EBADF);
  EXPECT_TRUE(receiver.empty());
}

TEST(Session, LeaksNoDescriptorOver200Traps) {
  const TrapReceiver receiver;
  const CTarget target = target_of(receiver.destination());
  const std::set<int> before = open_descriptors();
  for (int trap = 0; trap < 200; ++trap) {
    EXPECT_EQ(send_trap(sample_pdu(), target), SNMP_CLASS_SUCCESS);
    EXPECT_EQ(send_trap(sample_pdu("junk"), target), SNMP_CLASS_INVALID_NOTIFYID);
    EXPECT_EQ(to_hex(receiver.receive()), to_hex(message_of({})));
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST(Trap, GoesToPort162WithoutAPort) {
  NetworkCalls calls;
  calls.swallow = true;
  EXPECT_EQ(send_trap(sample_pdu(), target_of("192.0.2.1")), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(send_trap(sample_pdu(), target_of(" 192.0.2.1/1162")), SNMP_CLASS_SUCCESS);
  EXPECT_THAT(calls.calls, ElementsAre("socket", "sendto 192.0.2.1:162", "close", "socket",
                                       "sendto 192.0.2.1:1162", "close"));
  EXPECT_TRUE(calls.close_on_exec);
  EXPECT_TRUE(calls.look_ups.empty());
}

TEST(Trap, ReportsAnyFailureOfTheSendWithItsErrno) {
  for (const int error : {EACCES, ENETUNREACH, EPERM, EINTR, EMSGSIZE}) {
    NetworkCalls calls;
    calls.send_error = error;
    Pdu pdu = sample_pdu();
    CTarget target = target_of("192.0.2.1");
    {
      int status = -99;
      Snmp session(status);
      EXPECT_EQ(session.trap(pdu, target), SNMP_CLASS_TL_FAILED);
    }
    EXPECT_EQ(errno, error);
    EXPECT_THAT(calls.calls, ElementsAre("socket", "sendto 192.0.2.1:162", "close"));
  }
}

// Valid, but of a kind that UDP cannot reach.
class ForeignAddress : public IpAddress {
 public:
  ForeignAddress() : IpAddress("10.0.0.5") {}
  using IpAddress::operator=;
  addr_type get_type() const override { return type_invalid; }
};

TEST(Trap, ChecksTheTargetThenTheKindOfAddressThenTheNotifyIdThenTheSize) {
  NetworkCalls calls;
  CTarget target;
  Pdu bad_id = sample_pdu("junk");
  EXPECT_EQ(send_trap(bad_id, target), SNMP_CLASS_INVALID_TARGET);
  target.set_address(ForeignAddress());
  EXPECT_EQ(send_trap(bad_id, target), SNMP_CLASS_TL_UNSUPPORTED);
  target.set_address(IpAddress("10.0.0.5"));
  target.set_readcommunity(std::string(5000, 'c').c_str());
  EXPECT_EQ(send_trap(bad_id, target), SNMP_CLASS_INVALID_NOTIFYID);
  EXPECT_EQ(send_trap(sample_pdu(), target), SNMP_ERROR_TOO_BIG);
  for (const std::string& call : calls.calls) {
    EXPECT_NE(call.substr(0, 6), "sendto");
  }
}

TEST(Trap, LeavesNoOlderAddressAfterAnInvalidOne) {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  target.set_address(GenAddress("256.1.1.1"));
  EXPECT_EQ(send_trap(sample_pdu(), target), SNMP_CLASS_INVALID_TARGET);
  EXPECT_TRUE(receiver.empty());
}

TEST(ErrorMessage, HasATextOfItsOwnForEveryResult) {
  std::set<std::string> texts;
  const std::array<int, 16> results = {1,   0,   -1,  -2,  -3,  -4,  -10, -11,
                                       -12, -15, -17, -18, -20, -21, -22, -23};
  for (const int result : results) {
    texts.insert(Snmp::error_msg(result));
  }
  EXPECT_EQ(texts.size(), results.size());
  EXPECT_EQ(texts.count("Unknown error"), 0U);
  EXPECT_STREQ(Snmp::error_msg(SNMP_CLASS_SUCCESS), "Success");
  EXPECT_STREQ(Snmp::error_msg(SNMP_CLASS_INVALID_TARGET), "Invalid target address");
  EXPECT_STREQ(Snmp::error_msg(-999), "Unknown error");
}

}  // namespace
}  // namespace Snmp_pp
