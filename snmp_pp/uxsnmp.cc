// SPDX-License-Identifier: Apache-2.0
#include "snmp_pp/uxsnmp.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <span>

#include "snmp_pp/config_snmp_pp.h"
#include "snmp_pp/v1_encoder.h"
#include "snmp_pp/v1_trap.h"

namespace Snmp_pp {
namespace {

int status_of_socket_error(int error) {
  switch (error) {
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
      return SNMP_CLASS_RESOURCE_UNAVAIL;
    case EHOSTDOWN:
      return SNMP_CLASS_TL_FAILED;
    default:
      return SNMP_CLASS_TL_UNSUPPORTED;
  }
}

int status_of_bind_error(int error) {
  switch (error) {
    case EADDRINUSE:
      return SNMP_CLASS_TL_IN_USE;
    case ENOBUFS:
      return SNMP_CLASS_RESOURCE_UNAVAIL;
    case EAFNOSUPPORT:
      return SNMP_CLASS_TL_UNSUPPORTED;
    case ENETUNREACH:
      return SNMP_CLASS_TL_FAILED;
    case EACCES:
      return SNMP_CLASS_TL_ACCESS_DENIED;
    default:
      return SNMP_CLASS_INTERNAL_ERROR;
  }
}

sockaddr_in socket_address(unsigned short port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  return address;
}

sockaddr_in destination_of(const GenAddress& address) {
  unsigned short port = kDefaultTrapPort;
  if (address.get_type() == Address::type_udp) {
    port = UdpAddress(address).get_port();
  }
  sockaddr_in destination = socket_address(port);
  std::memcpy(&destination.sin_addr.s_addr, address.octets().data(), address.octets().size());
  return destination;
}

// Encodes the Pdu unless it is encoded already, for an earlier receiver: what
// they get differs in the community only. An agent address that is not set is looked up
// for every trap.
int encode(Pdu& pdu) {
  TrapBuffer& buffer = pdu.trap_buffer();
  if (buffer.pdu_size != 0 && pdu.v1_trap_address().valid()) {
    return SNMP_CLASS_SUCCESS;
  }
  const std::optional<V1Trap> trap = make_v1_trap(pdu);
  return trap ? encode_trap_pdu(*trap, pdu.bindings(), buffer) : SNMP_CLASS_INVALID_NOTIFYID;
}

}  // namespace

Snmp::Snmp(int& status, unsigned short port)
    : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  if (socket_ < 0) {
    status = status_of_socket_error(errno);
    return;
  }
  status = SNMP_CLASS_SUCCESS;
  if (port == 0) {
    return;
  }
  const sockaddr_in local = socket_address(port);
  if (bind(socket_, reinterpret_cast<const sockaddr*>(&local), sizeof(local)) != 0) {
    const int error = errno;
    close(socket_);
    socket_ = -1;
    errno = error;
    status = status_of_bind_error(error);
  }
}

Snmp::~Snmp() {
  if (socket_ >= 0) {
    const int error = errno;
    close(socket_);
    errno = error;
  }
}

int Snmp::trap(Pdu& pdu, SnmpTarget& target) {
  if (!pdu.valid()) {
    return SNMP_CLASS_INVALID_PDU;
  }
  const GenAddress& address = target.address();
  if (!target.valid()) {
    return SNMP_CLASS_INVALID_TARGET;
  }
  if (address.get_type() != Address::type_ip && address.get_type() != Address::type_udp) {
    return SNMP_CLASS_TL_UNSUPPORTED;
  }
  const int status = encode(pdu);
  if (status != SNMP_CLASS_SUCCESS) {
    return status;
  }
  const std::span<const unsigned char> message =
      complete_message(target.trap_community(), pdu.trap_buffer());
  if (message.empty()) {
    return SNMP_ERROR_TOO_BIG;
  }
  const sockaddr_in destination = destination_of(address);
  const ssize_t sent = sendto(socket_, message.data(), message.size(), 0,
                              reinterpret_cast<const sockaddr*>(&destination), sizeof(destination));
  return sent < 0 ? SNMP_CLASS_TL_FAILED : SNMP_CLASS_SUCCESS;
}

const char* Snmp::error_msg(int status) {
  switch (status) {
    case SNMP_ERROR_TOO_BIG:
      return "The message is too big";
    case SNMP_CLASS_SUCCESS:
      return "Success";
    case SNMP_CLASS_ERROR:
      return "The message could not be encoded";
    case SNMP_CLASS_RESOURCE_UNAVAIL:
      return "Out of descriptors or memory";
    case SNMP_CLASS_INTERNAL_ERROR:
      return "Internal error";
    case SNMP_CLASS_UNSUPPORTED:
      return "Not supported";
    case SNMP_CLASS_INVALID:
      return "Invalid value";
    case SNMP_CLASS_INVALID_PDU:
      return "Invalid PDU";
    case SNMP_CLASS_INVALID_TARGET:
      return "Invalid target address";
    case SNMP_CLASS_INVALID_NOTIFYID:
      return "Invalid trap OID";
    case SNMP_CLASS_INVALID_OID:
      return "Invalid OID";
    case SNMP_CLASS_INVALID_ADDRESS:
      return "Invalid address";
    case SNMP_CLASS_TL_UNSUPPORTED:
      return "Transport not supported";
    case SNMP_CLASS_TL_IN_USE:
      return "Local port in use";
    case SNMP_CLASS_TL_FAILED:
      return "Sending failed";
    case SNMP_CLASS_TL_ACCESS_DENIED:
      return "Local port not permitted";
    default:
      return "Unknown error";
  }
}

}  // namespace Snmp_pp
