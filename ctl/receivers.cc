// SPDX-License-Identifier: Apache-2.0
#include "ctl/receivers.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>

#include "base/descriptor.h"
#include "trap/receiver_address.h"
#include "trap/snmp_classes.h"

namespace {

constexpr int kPatienceMs = 1'400;
constexpr int kAnswerMs = 250;
constexpr in_port_t kTrapPort = 162;

// What the network says of one empty datagram: 0 where it says nothing.
int probe_address(const char* address, in_port_t port) {
  sockaddr_in receiver = {};
  receiver.sin_family = AF_INET;
  receiver.sin_port = htons(port);
  if (inet_pton(AF_INET, address, &receiver.sin_addr) != 1) {
    return EINVAL;
  }
  const Descriptor socket_fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  // Connected, so that an answer that nobody listens comes back as an error.
  if (!socket_fd.valid() ||
      connect(socket_fd.get(), reinterpret_cast<const sockaddr*>(&receiver), sizeof receiver) !=
          0 ||
      send(socket_fd.get(), "", 0, 0) < 0) {
    return errno;
  }
  pollfd entry = {.fd = socket_fd.get(), .events = 0, .revents = 0};
  int error = 0;
  socklen_t size = sizeof error;
  if (poll(&entry, 1, kAnswerMs) > 0) {
    getsockopt(socket_fd.get(), SOL_SOCKET, SO_ERROR, &error, &size);
  }
  return error;
}

std::string examine(const std::string& destination, bool probe) {
  const Snmp_pp::GenAddress address = receiver_address(destination.c_str());
  if (!address.valid()) {
    return std::string("why=") + receiver_fault(destination.c_str()).data() + "\n";
  }
  const std::string host = Snmp_pp::IpAddress(address).get_printable();
  const in_port_t port = Snmp_pp::UdpAddress(address).get_port();
  std::string text = "address=" + host + "\n";
  if (probe) {
    text +=
        "error=" + std::to_string(probe_address(host.c_str(), port == 0 ? kTrapPort : port)) + "\n";
  }
  return text;
}

}  // namespace

std::vector<Job> start_examining(const std::vector<std::string>& destinations, bool probe) {
  std::vector<Job> jobs;
  jobs.reserve(destinations.size());
  for (const std::string& destination : destinations) {
    jobs.push_back(start_job(kPatienceMs, [&] { return examine(destination, probe); }));
  }
  return jobs;
}

Receiver examined(const std::string& destination, const Job& job) {
  Receiver receiver;
  receiver.text = destination;
  receiver.address = value_of(job.text, "address");
  receiver.why =
      job.end == Job::End::kLate ? "no answer within a second" : value_of(job.text, "why");
  const std::string error = value_of(job.text, "error");
  receiver.probed = !error.empty();
  receiver.error = atoi(error.c_str());
  return receiver;
}
