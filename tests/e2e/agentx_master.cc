// SPDX-License-Identifier: Apache-2.0
#include "tests/e2e/agentx_master.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "lab/supervisor/child.h"
#include "lab/supervisor/local_socket.h"
#include "wire/agentx.h"

namespace {

constexpr const char* kPath = "/tmp/agentx-master";
constexpr std::chrono::seconds kLimit(60);
constexpr int kPauseMs = 5;

constexpr uint8_t kNetworkByteOrder = 0x10;
constexpr uint8_t kResponse = 18;

bool is_big_endian(const Bytes& pdu) {
  return (pdu[agentx::header::kFlags] & kNetworkByteOrder) != 0;
}

size_t payload_length(const Bytes& pdu) {
  size_t length = 0;
  for (size_t i = 0; i < 4; ++i) {
    const size_t offset = agentx::header::kPayloadLength + (is_big_endian(pdu) ? i : 3 - i);
    length = length << 8 | pdu[offset];
  }
  return length;
}

// Success, in the byte order and with the numbers of the request.
Bytes response_to(const Bytes& request) {
  Bytes response(request.begin(), request.begin() + agentx::header::kPayloadLength);
  response[agentx::header::kType] = kResponse;
  response[agentx::header::kFlags] &= kNetworkByteOrder;
  const Bytes length = is_big_endian(request) ? Bytes{0, 0, 0, 8} : Bytes{8, 0, 0, 0};
  response.insert(response.end(), length.begin(), length.end());
  response.insert(response.end(), 8, 0);  // sysUpTime, error, index
  return response;
}

// Cuts the complete PDUs off the front of what was received, answering each.
void take_pdus(Bytes* received, int fd, std::vector<Bytes>* pdus) {
  while (received->size() >= agentx::header::kSize &&
         received->size() >= agentx::header::kSize + payload_length(*received)) {
    const auto end = received->begin() +
                     static_cast<std::ptrdiff_t>(agentx::header::kSize + payload_length(*received));
    pdus->emplace_back(received->begin(), end);
    received->erase(received->begin(), end);
    const Bytes response = response_to(pdus->back());
    send(fd, response.data(), response.size(), MSG_NOSIGNAL);
  }
}

void receive(int fd, Bytes* received) {
  std::array<uint8_t, 4096> buffer = {};
  ssize_t length = 0;
  while ((length = recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
    received->insert(received->end(), buffer.begin(), buffer.begin() + length);
  }
}

// Serves the one client until it ended.
void serve(const Descriptor& listener, Child* client, std::vector<Bytes>* pdus) {
  const auto end = std::chrono::steady_clock::now() + kLimit;
  Descriptor connection;
  Bytes received;
  while (client->running() && std::chrono::steady_clock::now() < end) {
    std::vector<pollfd> descriptors = {{listener.get(), POLLIN, 0}, {connection.get(), POLLIN, 0}};
    client->add_descriptors(&descriptors);
    poll(descriptors.data(), descriptors.size(), kPauseMs);
    if (!connection.valid()) {
      connection = Descriptor(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }
    if (connection.valid()) {
      receive(connection.get(), &received);
      take_pdus(&received, connection.get(), pdus);
    }
    client->pump();
  }
}

}  // namespace

Capture capture_agentxtrap(const std::vector<std::string>& arguments) {
  Capture capture;
  unlink(kPath);
  const Descriptor listener = serve_local(SOCK_STREAM, kPath);
  if (!listener.valid()) {
    capture.error = std::string(kPath) + ": " + strerror(errno);
    return capture;
  }
  Program program = {.arguments = {"agentxtrap", "-x", kPath}};
  program.arguments.insert(program.arguments.end(), arguments.begin(), arguments.end());
  Child client;
  capture.error = client.start(program);
  serve(listener, &client, &capture.pdus);
  if (capture.error.empty() && client.status() != 0) {
    capture.error =
        "agentxtrap ended with " + std::to_string(client.status()) + ": " + client.err();
  }
  for (const Bytes& pdu : capture.pdus) {
    if (pdu[agentx::header::kType] == agentx::kNotify) {
      capture.notify = pdu;
    }
  }
  if (capture.error.empty() && capture.notify.empty()) {
    capture.error = "agentxtrap sent no notification";
  }
  return capture;
}
