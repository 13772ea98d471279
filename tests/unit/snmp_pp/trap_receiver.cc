// SPDX-License-Identifier: Apache-2.0
#include "trap_receiver.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

using Snmp_pp::CTarget;
using Snmp_pp::Pdu;
using Snmp_pp::Snmp;
using Snmp_pp::SnmpTarget;

TrapReceiver::TrapReceiver() : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  EXPECT_GE(socket_, 0);
  const timeval timeout = {60, 0};
  EXPECT_EQ(setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout)), 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
  EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
  destination_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

TrapReceiver::~TrapReceiver() {
  close(socket_);
}

Bytes TrapReceiver::receive() const {
  Bytes datagram(65536);
  const ssize_t size = recv(socket_, datagram.data(), datagram.size(), 0);
  EXPECT_GE(size, 0) << "no datagram came";
  datagram.resize(static_cast<size_t>(size < 0 ? 0 : size));
  return datagram;
}

bool TrapReceiver::empty() const {
  unsigned char octet = 0;
  return recv(socket_, &octet, 1, MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

Pdu sample_pdu(const char* notify_id) {
  Pdu pdu;
  pdu.set_notify_id(Snmp_pp::Oid(notify_id));
  pdu.set_notify_timestamp(Snmp_pp::TimeTicks(12345));
  EXPECT_TRUE(pdu.set_v1_trap_address(Snmp_pp::IpAddress("10.0.0.5")));
  return pdu;
}

CTarget target_of(const std::string& destination) {
  CTarget target;
  target.set_version(Snmp_pp::version1);
  target.set_address(Snmp_pp::GenAddress(destination.c_str()));
  return target;
}

int send_trap(const Pdu& pdu, const SnmpTarget& target) {
  int status = -99;
  Snmp session(status);
  EXPECT_EQ(status, Snmp_pp::SNMP_CLASS_SUCCESS);
  Pdu own_pdu(pdu);
  const std::unique_ptr<SnmpTarget> own_target(target.clone());
  return session.trap(own_pdu, *own_target);
}

Bytes datagram_of(const Pdu& pdu, const char* community) {
  const TrapReceiver receiver;
  CTarget target = target_of(receiver.destination());
  target.set_readcommunity(community);
  const int result = send_trap(pdu, target);
  EXPECT_EQ(result, Snmp_pp::SNMP_CLASS_SUCCESS) << Snmp::error_msg(result);
  if (result != Snmp_pp::SNMP_CLASS_SUCCESS) {
    return {};
  }
  Bytes datagram = receiver.receive();
  EXPECT_TRUE(receiver.empty());
  return datagram;
}
